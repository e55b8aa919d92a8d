// SPDX-License-Identifier: Apache-2.0
#include "orcaUseBackground.h"

#include "orcaAreaLight.h"
#include "orcaCamera.h"
#include "orcaFlatMaterial.h"
#include "orcaImagePlanes.h"
#include "orcaLightLoop.h"
#include "orcaLightProtocol.h"
#include "orcaMatte.h"
#include "orcaTracing.h"
#include "orcaUtilities.h"
#include "orcaVector.h"

namespace {

using P = UseBackgroundParameters;

/// The ray was cast by another surface of this shader: the background already contains the reflection or
/// shadow of this one.
bool seenByPlate(const miState* state, const VelabaseState& vela) {
    if (!vela.plateState) return false;
    // The parent of a shadow ray is the light's state, whose parent is the surface; segments are chained.
    for (const miState* s = state->parent; s; s = s->parent) {
        if (s == vela.plateState) return true;
        if (state->type != miRAY_SHADOW) return false;
        if (s->type != miRAY_LIGHT && s->type != miRAY_SHADOW) return false;
    }
    return false;
}

// --- the background

/// Direction from the camera to the point, so that mirrors show the background at its place in the picture.
miVector directionOfView(miState* state) {
    const bool straight = state->reflection_level == 0 && state->refraction_level == 0;
    if (straight || !state->camera) return state->dir;
    miVector direction{0.0f, 0.0f, -1.0f};
    if (state->camera->orthographic) {
        mi_vector_from_camera(state, &direction, &direction);
        return normalized(direction);
    }
    miVector camera, point;
    origin_from_camera(state, &camera);
    mi_point_to_world(state, &point, &state->point);
    direction = point - camera;
    mi_vector_from_world(state, &direction, &direction);
    return normalized(direction);
}

miColor environment(miState* state) {
    const miTag shader = state->environment != miNULLTAG ? state->environment
                         : state->camera                 ? state->camera->environment
                                                         : miNULLTAG;
    miColor color = BLACK;
    if (shader == miNULLTAG) return color;
    miState beyond = *state;
    beyond.type = miRAY_ENVIRONMENT;
    beyond.dist = 0.0;
    beyond.instance = miNULLTAG;
    return mi_call_shader_x(&color, miSHADER_ENVIRONMENT, &beyond, shader, nullptr) ? color : BLACK;
}

miColor background(miState* state) {
    const Restored<miVector> direction(state->dir);
    state->dir = directionOfView(state);
    miColor color = BLACK;
    return imageplane_compute_intersection(&color, state, miNULLTAG) ? color : environment(state);
}

// --- shadows

/// Light on the surface, without and with shadows.
struct Lighting {
    miColor unshadowed = BLACK;
    miColor arriving = BLACK;

    void add(const miColor& all, const miColor& rest, miScalar weight) {
        unshadowed += all * weight;
        arriving += rest * weight;
    }
};

constexpr miColor notSet{-1.0f, -1.0f, -1.0f, -1.0f};

bool isSet(const miColor& c) {
    return c.r != notSet.r || c.g != notSet.g || c.b != notSet.b || c.a != notSet.a;
}

/// Mean over the samples of one light. Lights that do not set their unshadowed colour count as unshadowed.
void addLight(Lighting& lighting, miState* state, VelabaseState& vela, const PassRecords& passes,
              miTag light) {
    const LightLoop scope(state, vela, passes, light, miFALSE, false); // its pass values are dropped
    Lighting sum;
    miColor color;
    miVector direction;
    miScalar nDotL;
    int samples = 0;
    miInteger counter = 0;
    const auto next = [&] {
        resetLightSample(vela);
        vela.lightData.unshadowedColor = notSet;
        return mi_sample_light(&color, &direction, &nDotL, state, light, &counter);
    };
    for (; next(); ++samples) {
        const LightData& data = vela.lightData;
        const miColor& all = isSet(data.unshadowedColor) ? data.unshadowedColor : color;
        if (vela.areaLight) nDotL = arealight_lambertian_reflect(state, &direction, vela.areaLight);
        if (data.isAmbient) sum.add(all, color, 1.0f);
        else if (data.emitDiffuse && nDotL > 0.0f) sum.add(all, color, nDotL);
    }
    if (samples == 0) return;
    lighting.add(sum.unshadowed, sum.arriving, 1.0f / static_cast<float>(samples));
}

miScalar share(miScalar arriving, miScalar unshadowed) {
    return unshadowed > VELA_EPS ? std::clamp(arriving / unshadowed, 0.0f, 1.0f) : 1.0f;
}

/// Share of the background that shadows do not remove, per channel: 1 where there is no shadow, and on sides
/// that no light reaches, which are dark in the background already.
miColor remaining(miState* state, VelabaseState& vela, const PassRecords& passes, P* record) {
    const miScalar mask = parameterValue(state, record, &P::shadowMask);
    if (mask == 0.0f) return WHITE;
    Lighting lighting;
    int count = 0;
    miTag* lights = nullptr;
    wantAllLights(state); // a ratio, not a sum
    if (mi_instance_lightlist(&count, &lights, state))
        for (int i = 0; i < count; ++i) addLight(lighting, state, vela, passes, lights[i]);

    const miColor ambient = parameterValue(state, record, &P::ambientColor);
    lighting.add(ambient, ambient, 1.0f);
    miColor gathered = BLACK;
    if (state->options->finalgather && mi_compute_avg_radiance(&gathered, state, 'f', nullptr))
        lighting.add(gathered, gathered, 1.0f); // fills the shadows

    const miColor left{share(lighting.arriving.r, lighting.unshadowed.r),
                       share(lighting.arriving.g, lighting.unshadowed.g),
                       share(lighting.arriving.b, lighting.unshadowed.b), 1.0f};
    return withAlpha(WHITE - (WHITE - left) * mask, 1.0f);
}

class UseBackgroundClass : public FlatMaterial<P, ShaderHelper<P>> {
public:
    using FlatMaterial::FlatMaterial;

    miBoolean operator()(SurfaceShaderReturnType* result, miState* state, P* record) const {
        VelabaseState* const vela = velabaseState(state);
        if (!vela) {
            orcaWarning("vela_usebackground(): Internal state error.");
            return miFALSE;
        }
        const miInteger matteMode = parameterValue(state, record, &P::matteMode);
        if (state->type == miRAY_SHADOW) {
            const bool passes = matteMode != MATTE_BLACK_HOLE && seenByPlate(state, *vela);
            result->transparency = passes ? WHITE : BLACK;
            return miTRUE;
        }
        *result = {};
        if (matteMode == MATTE_BLACK_HOLE) {
            makeBlackHole(*result);
            return miTRUE;
        }
        setMatte(*result, matteMode, parameterValue(state, record, &P::matteOpacity));
        if (seenByPlate(state, *vela)) return miTRUE;

        const PassRecords passes(state);
        const Restored<const miState*> plateState(vela->plateState);
        vela->plateState = state;
        const miColor left = remaining(state, *vela, passes, record);
        const miColor plate = withAlpha(background(state) * left, 0.0f);
        result->reflection = withAlpha(reflected(state, *vela, passes, record), 0.0f);
        result->color = plate + result->reflection;

        writePasses(state, passes, *result, plate);
        writeShadow(state, passes, parameterValue(state, record, &P::shadowBuffer), WHITE - left);
        return miTRUE;
    }

private:
    /// Objects only: the surroundings are in the background.
    static miColor reflected(miState* state, VelabaseState& vela, const PassRecords& passes, P* record) {
        const miColor weight = parameterValue(state, record, &P::specularColor) *
                               std::max(0.0f, parameterValue(state, record, &P::reflectivity));
        const ReflectionSettings settings{parameterValue(state, record, &P::reflectionLimit),
                                          parameterValue(state, record, &P::reflectionBlur),
                                          parameterValue(state, record, &P::reflectionBlurSamples), false};
        const TraceContext context{&vela, &passes, mirrored(state->dir, state->normal)};
        return compute_reflection(weight, settings, state, context);
    }

    /// The reflected objects have been accumulated to the beauty already.
    void writePasses(miState* state, const PassRecords& passes, const SurfaceShaderReturnType& result,
                     const miColor& plate) const {
        if (!passes || !this->writesPasses()) return;
        this->writePass(state, passes, PASS_REFLECTION, withAlpha(result.reflection, 1.0f));
        writePicture(state, passes, plate);
    }

    /// The share that is removed, not the one that remains: it is black where the background does not change,
    /// so that it filters correctly at edges.
    void writeShadow(miState* state, const PassRecords& passes, miInteger buffer,
                     const miColor& taken) const {
        if (!passes || !this->writesPasses()) return;
        const PassTypeRun& run = (*passes.types)[PASS_CUSTOM];
        if (buffer < 0 || buffer >= run.count) return;
        TraceLevelSlot& slot = passes.records[run.first + buffer].levelSlots[traceLevel(state)];
        if (!closedToWrites(state, slot)) slot.levelResult = withAlpha(taken, 1.0f);
    }
};

} // namespace

ORCA_EXPORT_SHADER(orcaVelaUseBackground, SurfaceShaderReturnType, UseBackgroundClass,
                   UseBackgroundParameters, "orcaUseBackground", __LINE__)

#include "declared/orcaVelaUseBackground.h"
