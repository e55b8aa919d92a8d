// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orca::render {

/// Rendered pixels, inclusive, lower left origin.
struct PixelWindow {
    int xl, yl, xh, yh;
    [[nodiscard]] int width() const { return xh - xl + 1; }
    [[nodiscard]] int height() const { return yh - yl + 1; }
};

} // namespace orca::render
