// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/vectors.h"
#include "geometry/scene_geometry.h"
#include "support/scene_builder.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <vector>

namespace orca::test {

inline void expectNear(const miVector& actual, const miVector& expected, float tolerance = 1e-5f) {
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.z, expected.z, tolerance);
}

/// A scene and its geometry, looked at with single rays.
struct Geometry : SceneBuilder {
    geometry::SceneGeometry& build(const scene::GroupElement& root, int threads = 1) {
        built.reset();
        built = std::make_unique<geometry::SceneGeometry>(database, log, root.tag, options, threads);
        coordinates.assign(static_cast<std::size_t>(built->maxTextureSpaces()) + 1, {});
        return *built;
    }

    struct Seen {
        geometry::Hit hit;
        const geometry::MeshInstance* meshInstance;
        geometry::SurfacePoint surface;
    };
    std::optional<Seen> look(geometry::Ray ray) {
        Seen seen{};
        if (!built->intersect(ray, seen.hit)) return {};
        seen.meshInstance = &built->meshInstances()[seen.hit.meshInstance];
        built->surfaceAt(ray, seen.hit, seen.surface, coordinates.data());
        return seen;
    }
    std::optional<Seen> look(const miVector& origin, const miVector& direction, float time = 0.0f,
                             geometry::RayClass rayClass = geometry::RayClass::Eye) {
        geometry::Ray ray{origin, direction};
        ray.time = time;
        ray.rayClass = rayClass;
        return look(ray);
    }
    /// Down the z axis from z = 10.
    std::optional<Seen> lookDownAt(float x, float y, float time = 0.0f) {
        return look({x, y, 10}, {0, 0, -1}, time);
    }

    miOptions options = [] {
        miOptions plain{};
        plain.face = 'a';
        return plain;
    }();
    std::unique_ptr<geometry::SceneGeometry> built;
    std::vector<miVector> coordinates;
};

} // namespace orca::test
