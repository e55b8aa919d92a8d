// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orca::render {

/// Pixels, inclusive, counted from the lower left of the display; negative in its overscan.
struct PixelWindow {
    int xl, yl, xh, yh;
    [[nodiscard]] int width() const { return xh - xl + 1; }
    [[nodiscard]] int height() const { return yh - yl + 1; }
    friend bool operator==(const PixelWindow&, const PixelWindow&) = default;
};

} // namespace orca::render
