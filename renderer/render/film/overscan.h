// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/film/pixel_window.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace orca::render {

/// The pixels that two windows share; nothing for none.
[[nodiscard]] inline std::optional<PixelWindow> intersection(const PixelWindow& a, const PixelWindow& b) {
    const PixelWindow shared{std::max(a.xl, b.xl), std::max(a.yl, b.yl), std::min(a.xh, b.xh),
                             std::min(a.yh, b.yh)};
    if (shared.width() < 1 || shared.height() < 1) return {};
    return shared;
}

/// The regions of a picture with overscan: first the display, then the strips below, above, left and right of
/// it that are not empty. Whatever compares pixels with their neighbours stays inside a region, so that the
/// display has the same pixels as without overscan.
/// @param bounds contain the display
[[nodiscard]] inline std::vector<PixelWindow> overscanRegions(const PixelWindow& display,
                                                              const PixelWindow& bounds) {
    std::vector<PixelWindow> regions{display};
    const PixelWindow strips[] = {{bounds.xl, bounds.yl, bounds.xh, display.yl - 1},
                                  {bounds.xl, display.yh + 1, bounds.xh, bounds.yh},
                                  {bounds.xl, display.yl, display.xl - 1, display.yh},
                                  {display.xh + 1, display.yl, bounds.xh, display.yh}};
    for (const PixelWindow& strip : strips)
        if (strip.width() > 0 && strip.height() > 0) regions.push_back(strip);
    return regions;
}

} // namespace orca::render
