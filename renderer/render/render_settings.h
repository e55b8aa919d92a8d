// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <functional>

namespace orca::render {

/// How a picture is rendered; nothing here changes its pixels.
struct RenderSettings {
    int threads = 0;                            ///< 0: all processors
    const std::atomic<bool>* stop = nullptr;    ///< set by a signal; the render ends soon after
    std::function<void(double share)> progress; ///< called from one thread at a time, 0 to 1
};

} // namespace orca::render
