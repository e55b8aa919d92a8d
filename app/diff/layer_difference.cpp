// SPDX-License-Identifier: Apache-2.0
#include "diff/layer_difference.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orca::app {

namespace {

float distance(float a, float b) {
    if (a == b || (std::isnan(a) && std::isnan(b))) return 0.0f;
    const float apart = std::abs(a - b);
    return std::isfinite(apart) ? apart : std::numeric_limits<float>::infinity();
}

} // namespace

bool haveSameShape(const PictureLayer& a, const PictureLayer& b) {
    return a.channels == b.channels && a.left == b.left && a.top == b.top && a.width == b.width &&
           a.height == b.height;
}

LayerDifference differenceOf(const PictureLayer& a, const PictureLayer& b, const Tolerance& tolerance) {
    LayerDifference difference;
    difference.pixels = static_cast<std::size_t>(a.width) * static_cast<std::size_t>(a.height);
    difference.perPixel.reserve(difference.pixels);
    double squares = 0.0, peak = 1.0;
    std::size_t finite = 0;
    for (int y = 0; y < a.height; ++y)
        for (int x = 0; x < a.width; ++x) {
            float most = 0.0f;
            bool differs = false;
            for (std::size_t c = 0; c < a.channels.size(); ++c) {
                const float p = a.pixel(x, y)[c], q = b.pixel(x, y)[c];
                const float apart = distance(p, q), size = std::max(std::abs(p), std::abs(q));
                differs |= apart > tolerance.absolute && !(apart <= tolerance.relative * size);
                most = std::max(most, apart);
                if (apart > difference.largest) {
                    difference.largest = apart;
                    difference.x = a.left + x;
                    difference.y = a.top + y;
                    difference.channel = c;
                }
                if (!std::isfinite(p) || !std::isfinite(q)) continue;
                squares += double{apart} * double{apart};
                peak = std::max(peak, double{size});
                ++finite;
            }
            difference.differing += differs ? 1 : 0;
            difference.perPixel.push_back(most);
        }
    difference.rms = finite > 0 ? std::sqrt(squares / static_cast<double>(finite)) : 0.0;
    if (difference.rms > 0.0) difference.psnr = 20.0 * std::log10(peak / difference.rms);
    return difference;
}

} // namespace orca::app
