// SPDX-License-Identifier: Apache-2.0
#include "orcaRayProfile.h"

#include "orcaColor.h"

#include <algorithm>
#include <cmath>

miScalar RayProfile::Part::integral(miScalar distance) const {
    const miScalar length = distance - from, depth = thinning * length;
    return depth > 1e-6f ? importance * -std::expm1(-depth) / thinning : importance * length;
}

void RayProfile::add(const VolumeStep& step, const miColor& before) {
    const miScalar sum = count_ > 0 ? parts_[count_ - 1].sumAfter : 0.0f;
    if (count_ == mostParts) {
        Part& last = parts_[count_ - 1];
        const miScalar share = (step.to - step.from) / (step.to - last.from);
        last.extinction = last.extinction * (1.0f - share) + step.mix.extinction * share;
        last.to = step.to;
        last.sumAfter = last.sumBefore + last.integral(last.to);
        return;
    }
    Part& part = parts_[count_++];
    part = {step.from,
            step.to,
            before,
            step.mix.extinction,
            luminance(before * step.mix.scattering),
            luminance(step.mix.extinction),
            sum,
            sum};
    part.sumAfter += part.integral(part.to);
}

const RayProfile::Part* RayProfile::partAt(miScalar distance) const {
    const Part* const end = parts_ + count_;
    const Part* const after = std::upper_bound(
        parts_, end, distance, [](miScalar place, const Part& part) { return place < part.from; });
    return after == parts_ ? nullptr : after - 1;
}

miColor RayProfile::transmittanceUpTo(miScalar distance) const {
    const Part* const part = partAt(distance);
    if (!part) return WHITE;
    return part->before * transmittanceOf(part->extinction * (std::min(distance, part->to) - part->from));
}

miScalar RayProfile::importanceAt(miScalar distance) const {
    const Part* const part = partAt(distance);
    if (!part || distance > part->to) return 0.0f;
    return part->importance * std::exp(-part->thinning * (distance - part->from));
}

miScalar RayProfile::sumUpTo(miScalar distance) const {
    const Part* const part = partAt(distance);
    if (!part) return 0.0f;
    return distance >= part->to ? part->sumAfter : part->sumBefore + part->integral(distance);
}

miScalar RayProfile::distanceOfSum(miScalar sum) const {
    const Part* part = std::upper_bound(parts_, parts_ + count_, sum,
                                        [](miScalar s, const Part& p) { return s < p.sumAfter; });
    if (part == parts_ + count_) --part;
    const miScalar rest = std::max(0.0f, sum - part->sumBefore);
    if (!(part->importance > 0.0f)) return part->to;
    const miScalar linear = rest / part->importance, depth = part->thinning * linear;
    const miScalar length =
        depth > 1e-6f ? -std::log1p(-std::min(depth, 0.999999f)) / part->thinning : linear;
    return std::min(part->from + length, part->to);
}
