// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace orca::render {

/// What a store shader has kept of a hit.
struct ContourHit {
    std::uint64_t path; ///< kinds of the rays that led here; the same for hits that can be compared
    int level;          ///< surfaces before it on the path
    float distance;     ///< from the camera along the path, scene units
    miTag material;
    std::size_t info; ///< first byte in the sample's infos
};

/// The hits of an eye ray and of the rays that followed from it.
struct ContourSample {
    float x = 0.0f, y = 0.0f;     ///< raster position, pixels
    std::vector<ContourHit> hits; ///< by level
    std::vector<std::max_align_t> infos;

    /// Null for a hit of no sample.
    [[nodiscard]] void* infoOf(const ContourHit* hit) {
        return hit ? reinterpret_cast<std::byte*>(infos.data()) + hit->info : nullptr;
    }
    /// Null where no hit has this path.
    [[nodiscard]] const ContourHit* find(std::uint64_t path) const {
        for (const ContourHit& hit : hits)
            if (hit.path == path) return &hit;
        return nullptr;
    }
};

/// Hits of two samples between which a line passes; one of them may be null.
struct ContourPair {
    const ContourHit *first, *second;
    int level;
};

/// A piece of a line.
struct ContourSegment {
    miContour_endpoint from, to;
};

} // namespace orca::render
