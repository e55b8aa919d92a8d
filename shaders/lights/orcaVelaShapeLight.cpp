// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaShapeLight.h"

#include "orcaLightStrength.h"
#include "orcaVector.h"
#include "orcaVelaLight.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

using P = ShapeLightParameters;

constexpr const char* name = "vela_shapelight";
constexpr float pi = std::numbers::pi_v<float>;

/// Where the sample begins.
struct MeshPoint {
    miVector normal; ///< unit, internal space
    miScalar area;   ///< of the whole mesh, square scene units

    /// False for a light without a mesh.
    [[nodiscard]] bool find(miState* state) {
        return mi_query(miQ_EMITTER_NORMAL, state, miNULLTAG, &normal) &&
               mi_query(miQ_EMITTER_AREA, state, miNULLTAG, &area);
    }
};

miScalar samplesOf(miState* state) {
    miTag light = miNULLTAG;
    int u = 1, v = 1;
    if (mi_query(miQ_INST_ITEM, nullptr, state->light_instance, &light)) {
        mi_query(miQ_LIGHT_AREA_SAMPLES_U, nullptr, light, &u);
        mi_query(miQ_LIGHT_AREA_SAMPLES_V, nullptr, light, &v);
    }
    return static_cast<miScalar>(std::max(1, u * v));
}

/// Weight of a sample over the radiance, so that the mean over the samples of the weight times N.L is the
/// form factor. The share of the mesh that one sample stands for counts as a disc that faces the point, so
/// that it never covers more than the hemisphere, however near it is.
miScalar weightOf(miState* state, const MeshPoint& point, miScalar cosine) {
    const miScalar facing = point.area * cosine;
    const auto distance = static_cast<miScalar>(state->dist);
    return facing / (pi * distance * distance + facing / samplesOf(state));
}

/// The lamp's radiance. Nothing for units that it has not.
std::optional<miScalar> radiance(miState* state, P* record, miScalar area, bool twoSided) {
    const auto strength = lampStrength(state, record, name, twoSided ? 2.0f * pi : pi, area);
    if (!strength) return std::nullopt;
    return strength->photometric ? strength->value * pi / area : strength->value;
}

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaShapeLight_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaVelaShapeLight(miColor* result, miState* state, ShapeLightParameters* record) {
    return asLight(state, name, [&](VelabaseState& vela, const PassRecords& passes) -> miBoolean {
        MeshPoint point;
        if (!point.find(state)) {
            orcaWarning(std::string(name) +
                        "(): the light needs the shape of an object (object \"instance\").");
            return miFALSE;
        }
        const bool twoSided = parameterValue(state, record, &P::twoSided) != 0;
        const auto strength = radiance(state, record, point.area, twoSided);
        if (!strength) return miFALSE;

        const LightTextureSpace textureSpace(state, vela, state->tex_list[0]);
        const miColor color = lampColor(state, record);
        if (state->type != miRAY_LIGHT) {
            *result = color * *strength;
            return showLamp(*result, vela);
        }
        const miScalar cosine = dot(state->dir, point.normal);
        // Samples behind the lamp count as well: all of them are averaged.
        const miScalar weight =
            state->dist > 0.0 ? weightOf(state, point, twoSided ? std::abs(cosine) : std::max(0.0f, cosine))
                              : 0.0f;
        *result = withAlpha(color * (*strength * weight), color.a);
        return deliverSample(*result, state, record, vela, passes, weight);
    });
}

} // extern "C"

#include "declared/orcaVelaShapeLight.h"
