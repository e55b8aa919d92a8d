// SPDX-License-Identifier: Apache-2.0
#include "orcaPhotometry.h"

#include <algorithm>

std::optional<miScalar> candela(miInteger units, miScalar intensity, miScalar solidAngle, miScalar area) {
    switch (units) {
    case UNITS_LUMEN: return intensity / solidAngle;
    case UNITS_CANDELA: return intensity;
    case UNITS_NIT:
        if (area > 0.0f) return intensity * area;
        return std::nullopt;
    default: return std::nullopt;
    }
}

miColor blackBodyColor(miScalar kelvin) {
    const double t = 1000.0 / std::clamp(static_cast<double>(kelvin), 1667.0, 25000.0);
    const double x = kelvin < 4000.0f ? ((-0.2661239 * t - 0.2343589) * t + 0.8776956) * t + 0.179910
                                      : ((-3.0258469 * t + 2.1070379) * t + 0.2226347) * t + 0.240390;
    const double y = kelvin < 2222.0f   ? ((-1.1063814 * x - 1.34811020) * x + 2.18555832) * x - 0.20219683
                     : kelvin < 4000.0f ? ((-0.9549476 * x - 1.37418593) * x + 2.09137015) * x - 0.16748867
                                        : ((3.0817580 * x - 5.87338670) * x + 3.75112997) * x - 0.37001483;
    const double X = x / y, Z = (1.0 - x - y) / y; // of luminance 1
    const double r = std::max(0.0, 3.2404542 * X - 1.5371385 - 0.4985314 * Z);
    const double g = std::max(0.0, -0.9692660 * X + 1.8760108 + 0.0415560 * Z);
    const double b = std::max(0.0, 0.0556434 * X - 0.2040259 + 1.0572252 * Z);
    const double luminance = 0.2126 * r + 0.7152 * g + 0.0722 * b;
    return {static_cast<float>(r / luminance), static_cast<float>(g / luminance),
            static_cast<float>(b / luminance), 1.0f};
}
