// SPDX-License-Identifier: Apache-2.0
#include "velaSheen.h"

#include "velaAlbedo.h"

#include "orcaVector.h"

#include <algorithm>
#include <cmath>

namespace vela {

float sheenShare(const miVector& view, const miVector& light, float roughness) noexcept {
    if (!(view.z > 0.0f) || !(light.z > 0.0f)) return 0.0f;
    const miVector half = normalized(view + light);
    const float inverse = 1.0f / std::max(roughness, leastSheenRoughness);
    const float sineSquared = std::max(0.0f, 1.0f - half.z * half.z);
    // The density has a factor 1 / pi, which the share takes away.
    const float density = 0.5f * (2.0f + inverse) * std::pow(sineSquared, 0.5f * inverse);
    return density * light.z / (4.0f * (light.z + view.z - light.z * view.z));
}

} // namespace vela
