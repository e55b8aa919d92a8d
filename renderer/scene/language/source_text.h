// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <optional>
#include <string>

namespace orca::scene {

/// Content of a file, "-" being standard input. Nothing when there is no such file. Throws std::runtime_error
/// with the reason alone when it is a device, longer than the machine's memory, cannot be read, or when
/// `stop` (may be null) is set.
[[nodiscard]] std::optional<std::string> readWholeFile(const std::string& path,
                                                       const std::atomic<bool>* stop);

/// The same of a text, without a byte-order mark; UTF-16 is a reason, too.
[[nodiscard]] std::optional<std::string> readSourceText(const std::string& path,
                                                        const std::atomic<bool>* stop);

} // namespace orca::scene
