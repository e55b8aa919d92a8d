// SPDX-License-Identifier: Apache-2.0
#include "velaClosure.h"

#include "orcaColor.h"

#include <algorithm>

namespace vela {

miColor Closure::entering(float cosine) const noexcept {
    if (!above) return WHITE;
    const miColor here = above->albedoAt(cosine), mean = above->meanAlbedo();
    const auto factor = [](float a, float b) {
        return b < 0.9999f ? std::max(0.0f, 1.0f - a) / (1.0f - b) : 0.0f;
    };
    return {factor(here.r, mean.r), factor(here.g, mean.g), factor(here.b, mean.b), 1.0f};
}

} // namespace vela
