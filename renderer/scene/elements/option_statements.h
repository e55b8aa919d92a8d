// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/option_statement.h"

#include <span>
#include <string_view>

namespace orca::scene {

/// All statements.
[[nodiscard]] std::span<const OptionStatement> optionStatements();
/// The statement of exactly these words, which must exist.
[[nodiscard]] const OptionStatement& optionStatement(std::string_view words);

} // namespace orca::scene
