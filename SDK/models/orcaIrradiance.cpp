// SPDX-License-Identifier: Apache-2.0
#include "orcaIrradiance.h"

#include "orcaColor.h"
#include "orcaGuards.h"
#include "orcaUserData.h"
#include "orcaVelaState.h"

#include <algorithm>

namespace {

constexpr miUint1 frontFace = 'f';

miIrrad_options optionsOf(const GatherSettings& settings) {
    miIrrad_options options{};
    options.size = sizeof(options);
    options.finalgather_rays = settings.rays;
    options.finalgather_maxradius = settings.maxRadius;
    options.finalgather_minradius = settings.minRadius;
    options.finalgather_view = static_cast<miCBoolean>(settings.view != 0);
    options.finalgather_filter = static_cast<miUint1>(settings.filter);
    options.globillum_accuracy = -1;
    options.caustic_accuracy = -1;
    return options;
}

/// Rays for a path of this throughput: all of them above the upper bound, falling to one at the cut-off.
int raysForThroughput(int rays, float throughput, const VelabaseState& vela) {
    const float range = vela.throughputUpper - vela.throughputCutoff;
    if (throughput >= vela.throughputUpper || range <= 0.0f) return std::max(1, rays);
    const float share = std::clamp((throughput - vela.throughputCutoff) / range, 0.0f, 1.0f);
    return std::max(1, static_cast<int>(static_cast<float>(rays) * share));
}

/// Incoming light from the renderer's gather. The throughput has been set for it.
miColor gathered(miState* state, VelabaseState& vela) {
    unsigned settingsTag = miNULLTAG;
    const auto* settings = static_cast<const GatherSettings*>(
        velaObjectData(state->instance, GATHER_SETTINGS_KIND, &settingsTag));
    const Unpin settingsPin(settings ? settingsTag : miNULLTAG);
    if (settings && parameterBytes(settings) < static_cast<int>(sizeof *settings))
        settings = nullptr; // raw words that only begin like settings

    miColor incoming = BLACK;
    if (settings) {
        miIrrad_options options = optionsOf(*settings);
        options.finalgather_rays = raysForThroughput(settings->rays, largestChannel(vela.throughput), vela);
        vela.throughput *= 1.0f / static_cast<float>(options.finalgather_rays);
        mi_compute_avg_radiance(&incoming, state, frontFace, &options);
    } else {
        vela.throughput *= 1.0f / static_cast<float>(std::max(1, state->options->finalgather_rays));
        mi_compute_avg_radiance(&incoming, state, frontFace, nullptr);
    }
    return incoming;
}

} // namespace

void compute_irradiance(miColor* result, miColor* irradianceColor, const miColor* color,
                        const miColor* transparency, miColor* irradianceOverride, miState* state, float scale,
                        float boost) {
    VelabaseState* const vela = velabaseState(state);
    const miColor weight = *mi_eval_color(irradianceColor) * *color * scale;
    *result = BLACK;
    if (!vela || allBelow(weight, VELA_EPS)) return;

    miColor incoming;
    if (mi_is_connected(state, irradianceOverride)) {
        incoming = *mi_eval_color(irradianceOverride);
    } else {
        const Restored<miColor> throughput(vela->throughput);
        vela->throughput = (WHITE - *transparency) * weight * throughput.before();
        if (boost > 1.0f) vela->throughput *= boost;
        if (largestChannel(vela->throughput) < vela->throughputCutoff) return;
        incoming = gathered(state, *vela);
    }
    *result = withAlpha(weight * incoming, 0.0f);
}

using orcaGatherSettings = GatherSettings;
#include "declared/orcaGatherSettings.h"
