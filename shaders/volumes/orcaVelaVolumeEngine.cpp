// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaVolumeEngine.h"

#include "orcaColor.h"
#include "orcaFrameBufferRecords.h"
#include "orcaGathering.h"
#include "orcaGuards.h"
#include "orcaParameters.h"
#include "orcaScatteredLight.h"
#include "orcaUtilities.h"
#include "orcaVelaState.h"
#include "orcaVolumeShadows.h"

#include <algorithm>

namespace {

using P = VolumeEngineParameters;

constexpr float hiddenBelow = 1e-5f; // transmittance below which nothing behind is seen

std::span<const miTag> primitivesOf(miState* state, P* record) {
    const int count = *mi_eval_integer(&record->n_primitives);
    const int first = *mi_eval_integer(&record->i_primitives);
    return {arrayElements(record->primitives, first), static_cast<std::size_t>(std::max(0, count))};
}

MarchSettings marchSettings(miState* state, P* record) {
    constexpr float finest = 1e-6f;
    return {std::max(0.0f, parameterValue(state, record, &P::stepSize)),
            std::max(finest, parameterValue(state, record, &P::tolerance))};
}

bool isLightPath(const miState* state) {
    return state->type == miRAY_LIGHT || state->type == miRAY_SHADOW;
}

/// From the eye or the surface, or, for light, from what it illuminates.
VolumeRay rayOf(miState* state, P* record) {
    const auto given = static_cast<float>(state->dist);
    const float length = given > 0.0f ? given : parameterValue(state, record, &P::maxDistance);
    if (state->type == miRAY_LIGHT) return {state, state->point, -state->dir, length};
    if (state->type == miRAY_SHADOW) return {state, state->org, -state->dir, length};
    return {state, state->org, state->dir, length};
}

/// In segment mode each segment of a shadow ray is dimmed, in the other modes the light as a whole.
void attenuateLight(miColor& light, miState* state, P* record, VelabaseState& vela) {
    const bool bySegments = state->options->shadow == miSHADOW_SEGMENTS && state->options->trace;
    if (bySegments != (state->type == miRAY_SHADOW)) return;
    const VolumeRay ray = rayOf(state, record);
    const MarchSettings settings = marchSettings(state, record).forLight();
    if (VolumeLightPath* const path = askingVolume(vela, state, record)) {
        constexpr float middle = 0.5f;
        path->transmittance *= transmittanceAlong(*path->media, ray, settings, middle);
        return;
    }
    VolumeSet set;
    set.collect(ray, primitivesOf(state, record));
    if (!set.media().empty()) dimLight(light, state, vela, settings, set, ray);
}

/// What media emit, and what they hide.
miColor marchAlong(const VolumeRay& ray, const VolumeSet& set, const MarchSettings& settings, float jitter,
                   VolumeLayers& light, RayProfile& profile) {
    VolumeMarch march(set, ray, settings, jitter);
    VolumeStep step;
    miColor depth{}, before = WHITE;
    while (march.next(step)) {
        profile.add(step, before);
        const float length = step.to - step.from;
        depth += step.mix.extinction * length;
        const miColor after = transmittanceOf(depth);
        const miColor passing = before * stepIntegral(step.mix.extinction, length);
        const float density = step.mix.density[0] + step.mix.density[1] + step.mix.density[2];
        for (int layer = 0; layer < VOLUME_LAYER_COUNT; ++layer) {
            light.of[layer] += withAlpha(step.mix.emission[layer] * passing, 0.0f);
            if (density > 0.0f) light.of[layer].a += (before.a - after.a) * step.mix.density[layer] / density;
        }
        before = after;
        if (largestChannel(after) < hiddenBelow) break;
    }
    return before;
}

void crossVolumes(miColor& color, miState* state, P* record, VelabaseState& vela) {
    const VolumeRay ray = rayOf(state, record);
    VolumeSet set;
    set.collect(ray, primitivesOf(state, record));
    if (set.media().empty() && set.fogs().empty()) return;

    double place[2] = {0.5, 0.5};
    int instance = 0;
    constexpr miUint one = 1;
    mi_sample(place, &instance, state, 2, &one);
    VolumePasses passes(state);
    VolumeLayers light;
    RayProfile profile;
    const miColor transmittance =
        marchAlong(ray, set, marchSettings(state, record), static_cast<float>(place[0]), light, profile);
    passes.add(light);
    constexpr int mostSamples = 1024, mostOrders = 16, samplesOfGather = 2;
    int samples = std::clamp(parameterValue(state, record, &P::lightSamples), 0, mostSamples);
    if (isGathering(state)) samples = std::min(samples, samplesOfGather);
    const ScatteredLightSettings settings{
        samples, std::clamp(parameterValue(state, record, &P::scatterOrders), 0, mostOrders),
        static_cast<float>(place[1]), record};
    const ScatteredLight scattered(set, ray, profile, settings, vela);
    scattered.addScattered(light, passes);
    scattered.addFogs(light, passes);

    const miColor own = light.sum();
    color = color * transmittance + own;
    passes.finish(transmittance, vela);
    if (state->type != miRAY_ENVIRONMENT) vela.volumeLight = {state->org, state->dir, own};
}

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaVolumeEngine_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean orcaVelaVolumeEngine(miColor* result, miState* state, VolumeEngineParameters* record) {
    VelabaseState* const vela = velabaseState(state);
    if (!vela) {
        orcaWarning("vela_volumeengine(): Internal state error.");
        return miFALSE;
    }
    const Restored<miUint> flags(vela->flags);
    vela->flags |= VELA_BIT_VOLUMEFOG;
    if (isLightPath(state)) attenuateLight(*result, state, record, *vela);
    else crossVolumes(*result, state, record, *vela);
    return miTRUE;
}

} // extern "C"

#include "declared/orcaVelaVolumeEngine.h"
