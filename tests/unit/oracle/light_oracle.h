// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The point and the directional light once more, in double precision: what a call answers, leaves in the
/// light data and delivers to each record.

#include "oracle/pipeline_oracle.h"
#include "orcaVelaDirectionalLight.h"
#include "orcaVelaPointLight.h"
#include "pass_scene.h"

#include <algorithm>

namespace reference {

constexpr double epsilon = 1e-5;

/// Something coloured, soft and placed anywhere that shadow rays meet: its
/// transmission by the ray.
struct Occluder {
    V3 axis[3];
    double place[3];
    double sharpness;
    bool clear, opaque;

    [[nodiscard]] Rgba operator()(V3 origin, V3 direction) const {
        if (clear) return grey(1);
        if (opaque) return {0, 0, 0, 1};
        double t[3];
        for (int i = 0; i < 3; ++i)
            t[i] = std::clamp(0.5 + sharpness *
                                        (dot(axis[i], direction) + 0.2 * dot(axis[i], origin) - place[i]),
                              0.0, 1.0);
        return {t[0], t[1], t[2], 0.5};
    }
};

struct LightScenario {
    bool directional;
    PointLightParameters point; ///< also holds what both lights have
    DirectionalLightParameters directionalOwn;
    int rayType, parentType;
    miVector place, origin, normal, lightOrigin;
    double distance, parentDistance;
    miColor throughput;
    float cutoff, upper;
    int maxTraceDepth, level;
    bool skipShadows, shadowMaps, rayTracing, moving, fog;
    int area; ///< 0 none, 1 rectangle, 2 disc, 3 sphere
    miVector edgeU, edgeV, discNormal;
    Occluder occluder;
    std::string mask;
};

/// The records that every case has.
inline const std::vector<ScenePass> lightPasses = {{PASS_BEAUTY, "a", FB_SHADOWED},
                                                   {PASS_DIFFUSE, "b", FB_SHADOWED},
                                                   {PASS_DIFFUSE, "c"},
                                                   {PASS_DIFFUSE_NO_SHADOW, "d"},
                                                   {PASS_SHADOW, "e"},
                                                   {PASS_RAW_SHADOW, "f"}};

/// What a record's occluders let through where the picture's let `t` through.
inline Rgba recordTransmission(std::size_t record, Rgba t) {
    return record % 2 ? t : t * t;
}

struct LightOutcome {
    bool lit = true;
    Rgba result;
    bool lightRay = false;
    double shadowFraction = 0;
    Rgba unshadowed;
    std::vector<Rgba> delivered;
    bool volumeKept = false;
    std::size_t shadowRays = 0;
    V3 texture;
};

[[nodiscard]] LightOutcome light(const LightScenario& c);

} // namespace reference
