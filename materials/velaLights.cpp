// SPDX-License-Identifier: Apache-2.0
#include "velaShading.h"
#include "velaSheen.h"

#include "orcaAreaLight.h"
#include "orcaColor.h"
#include "orcaGathering.h"
#include "orcaLevelSlots.h"
#include "orcaLightLoop.h"
#include "orcaLightProtocol.h"
#include "orcaVector.h"
#include "orcaWriteMode.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vela {

namespace {

constexpr float pi = std::numbers::pi_v<float>;

/// An area light as directions from a point.
class SeenArea {
public:
    SeenArea(const miVector& point, const AreaLightRecord& light)
        : light_(light), toCenter_(light.center - point), solidAngle_(solidAngleOfAreaLight(point, light)) {
        const miVector across = cross(light.edgeU, light.edgeV);
        const float quarter = length(across);
        normal_ = normalized(across);
        area_ = quarter * (light.shape == AREA_DISC ? pi : 4.0f);
    }

    [[nodiscard]] float solidAngle() const noexcept { return solidAngle_; }

    /// Direction to a place of the light; uniform over its area.
    [[nodiscard]] miVector direction(float s, float t) const noexcept {
        float u = 2.0f * s - 1.0f, v = 2.0f * t - 1.0f;
        if (light_.shape == AREA_DISC) {
            const float radius = std::sqrt(s), angle = 2.0f * pi * t;
            u = radius * std::cos(angle);
            v = radius * std::sin(angle);
        }
        return normalized(toCenter_ + light_.edgeU * u + light_.edgeV * v);
    }
    /// Density of `direction` over solid angle; 0 for directions that miss the light.
    [[nodiscard]] float density(const miVector& direction) const noexcept {
        const float slope = dot(direction, normal_);
        const float distance = std::abs(slope) > 1e-6f ? dot(toCenter_, normal_) / slope : 0.0f;
        if (!(distance > 0.0f)) return 0.0f;
        const miVector place = direction * distance - toCenter_;
        const auto along = [&](const miVector& edge) {
            const float squared = dot(edge, edge);
            return squared > 0.0f ? dot(place, edge) / squared : 2.0f;
        };
        const float u = along(light_.edgeU), v = along(light_.edgeV);
        const bool inside =
            light_.shape == AREA_DISC ? u * u + v * v <= 1.0f : std::abs(u) <= 1.0f && std::abs(v) <= 1.0f;
        return inside ? distance * distance / (area_ * std::abs(slope)) : 0.0f;
    }

private:
    const AreaLightRecord& light_;
    miVector toCenter_, normal_;
    float area_, solidAngle_;
};

/// Mean share of a layer over the light's solid angle: directions to the light and directions of the layer,
/// with the weights of Veach and Guibas, "Optimally Combining Sampling Techniques for Monte Carlo Rendering"
/// (1995).
miColor meanShare(miState* state, const FacetLayer& layer, const SeenArea& area, miUint samples) {
    miColor sum = BLACK;
    const auto add = [&](const miVector& local, float toLight, float ofLayer) {
        if (toLight + ofLayer > 0.0f) sum += layer.lobe.share(local) * (1.0f / (toLight + ofLayer));
    };
    double point[3];
    int instance = 0;
    while (mi_sample(point, &instance, state, 3, &samples)) {
        const auto u = static_cast<float>(point[0]), v = static_cast<float>(point[1]),
                   w = static_cast<float>(point[2]);
        const miVector toLight = area.direction(u, v);
        const miVector local = layer.frame.toLocal(toLight);
        add(local, area.density(toLight), layer.lobe.density(local));
        const miVector mirrored = layer.lobe.direction(u, v, w);
        const float density = area.density(layer.frame.fromLocal(mirrored));
        if (density > 0.0f) add(mirrored, density, layer.lobe.density(mirrored));
    }
    return sum * (1.0f / (area.solidAngle() * static_cast<float>(samples)));
}

/// Rays that miss everything bring something.
bool hasSurroundings(const miState* state) {
    return state->environment != miNULLTAG || (state->camera && state->camera->environment != miNULLTAG);
}

class LightGathering {
public:
    LightGathering(const ShadingCall& call, const Closure& closure, const Effort& effort,
                   ComponentListener* listener, bool raysFollow, SharedLights& shared)
        : call_(call),
          closure_(closure),
          listener_(listener),
          raysFollow_(raysFollow),
          raysFindDomes_(raysFollow && hasSurroundings(call.state)),
          shared_(shared) {
        const int fewer = traceLevel(call.state) > 0 || isGathering(call.state) ? 4 : 1;
        samples_ = static_cast<miUint>(std::max(1, effort.highlightSamples / fewer));
    }

    LightResult operator()() {
        int count = 0;
        miTag* lights = nullptr;
        if (!mi_instance_lightlist(&count, &lights, call_.state)) return all_;
        for (int i = 0; i < count; ++i) light(lights[i]);
        if (listener_) listener_->heard = true;
        return all_;
    }

private:
    void light(miTag tag) {
        sums_ = {};
        tag_ = tag;
        domeNoted_ = false;
        LightLoop loop(call_.state, call_.vela, call_.passes, tag, miFALSE, call_.skipsShadows());
        LightSample sample;
        while (loop.next(sample)) shade(sample);
        const miInteger mode = listener_ ? listener_->writeMode : miInteger{WRITE_NONE};
        const miUint flags = listener_ ? listener_->writeFlags : 0u;
        const miScalar scale = listener_ ? listener_->writeScale : 1.0f;
        loop.end(mode, flags, scale);
        all_.add(sums_, loop.samples() > 1 ? 1.0f / static_cast<float>(loop.samples()) : 1.0f);
    }

    void shade(const LightSample& sample) {
        const LightData& data = call_.vela.lightData;
        const miColor& color = sample.color;
        const miColor& unshadowed = data.unshadowedColor;
        ComponentShares shares;
        if (data.isAmbient) {
            sums_.ambient += color;
            shares.ambient = closure_.diffuseColor * closure_.diffuseLevel;
        }
        if (data.emitDiffuse) shadeDiffuse(sample, shares);
        sums_.diffuseUnshadowed += (shares.diffuse + shares.translucence) * unshadowed;
        if (data.emitSpecular) shadeHighlights(sample, shares);
        sums_.highlightsUnshadowed += shares.specular * unshadowed;
        if (!listener_) return;
        shares.opacity = closure_.opacity;
        listener_->sample(*listener_, shares);
    }

    void shadeDiffuse(const LightSample& sample, ComponentShares& shares) {
        const AreaLightRecord* const area = call_.vela.areaLight;
        const float cosine =
            area ? arealight_lambertian_reflect(call_.state, &sample.direction, area) : sample.nDotL;
        shares.nDotL = std::max(0.0f, cosine);
        if (cosine > 0.0f) {
            const miColor received = closure_.entering(cosine) * cosine;
            sums_.irradiance += received * sample.color;
            shares.diffuse = closure_.diffuseColor * closure_.diffuseLevel * received;
        } else if (cosine < 0.0f) {
            const float behind = -sample.nDotL;
            sums_.translucentIrradiance += sample.color * behind;
            shares.translucence = closure_.translucence * behind;
        }
    }

    void shadeHighlights(const LightSample& sample, ComponentShares& shares) {
        const AreaLightRecord* const area = call_.vela.areaLight;
        const float domeDensity = call_.vela.lightDensity;
        if (area && raysFollow_) shared_.lamps.add(tag_);
        if (domeDensity > 0.0f && raysFindDomes_) noteDome();
        for (int i = 0; i < closure_.layerCount; ++i) {
            const FacetLayer& layer = *closure_.layers[static_cast<std::size_t>(i)];
            if (layer.lobe.sharp()) continue;
            const miColor share =
                withAlpha(layerShare(layer, sample, area, domeDensity) * layer.weight, 0.0f);
            (layer.isCoat ? sums_.coat : sums_.specular) += share * sample.color;
            shares.specular += share;
        }
        if (anyAbove(closure_.sheen, 0.0f)) {
            const miColor share =
                closure_.sheen *
                sheenShare(closure_.view, closure_.frame.toLocal(sample.direction), closure_.sheenRoughness);
            sums_.sheen += share * sample.color;
            shares.specular += share;
        }
    }

    miColor layerShare(const FacetLayer& layer, const LightSample& sample, const AreaLightRecord* area,
                       float domeDensity) const {
        if (area) {
            const SeenArea seen(call_.state->point, *area);
            if (seen.solidAngle() > 1e-7f) return meanShare(call_.state, layer, seen, samples_);
        }
        const miVector local = layer.frame.toLocal(sample.direction);
        const miColor share = layer.lobe.share(local);
        if (!domeNoted_) return share;
        if (!layer.tracesRays) return BLACK; // the rays of glass bring all of the dome
        return share * (domeDensity / (domeDensity + layer.lobe.density(local)));
    }

    /// The dome being sampled shares its directions with reflected rays.
    void noteDome() {
        if (domeNoted_) return;
        if (shared_.domeCount == SharedLights::mostDomes) return;
        miTag light = miNULLTAG, shader = miNULLTAG;
        if (!mi_query(miQ_INST_ITEM, nullptr, tag_, &light) ||
            !mi_query(miQ_LIGHT_SHADER, nullptr, light, &shader))
            return;
        shared_.domes[shared_.domeCount++] = {tag_, shader};
        domeNoted_ = true;
    }

    const ShadingCall& call_;
    const Closure& closure_;
    ComponentListener* listener_;
    bool raysFollow_, raysFindDomes_;
    SharedLights& shared_;
    miUint samples_;
    miTag tag_ = miNULLTAG;
    bool domeNoted_ = false;
    LightResult sums_; // of the light being sampled
    LightResult all_;
};

} // namespace

void LightResult::add(const LightResult& light, float weight) noexcept {
    for (miColor LightResult::*sum :
         {&LightResult::ambient, &LightResult::irradiance, &LightResult::diffuseUnshadowed,
          &LightResult::translucentIrradiance, &LightResult::specular, &LightResult::coat,
          &LightResult::sheen, &LightResult::highlightsUnshadowed})
        this->*sum += light.*sum * weight;
}

LightResult gatherLights(const ShadingCall& call, const Closure& closure, const Effort& effort,
                         ComponentListener* listener, bool raysFollow, SharedLights& shared) {
    return LightGathering(call, closure, effort, listener, raysFollow, shared)();
}

miColor SharedLights::look(const Dome& dome, miState* state, VelabaseState& vela, const miVector& direction) {
    miState ray = *state;
    ray.type = miRAY_ENVIRONMENT;
    ray.parent = state;
    ray.dir = direction;
    ray.light_instance = dome.instance;
    miColor radiance = BLACK;
    resetLightSample(vela);
    mi_call_shader_x(&radiance, miSHADER_LIGHT, &ray, dome.shader, nullptr);
    return radiance;
}

float SharedLights::density(miState* state, VelabaseState& vela, const miVector& direction) const {
    float sum = 0.0f;
    for (int i = 0; i < domeCount; ++i) {
        look(domes[i], state, vela, direction);
        sum += vela.lightDensity;
    }
    return sum;
}

miColor SharedLights::highlightsAlong(const ShadingCall& call, const miVector& direction,
                                      float ofLayer) const {
    miColor sum = BLACK;
    for (int i = 0; i < domeCount; ++i) {
        const miColor radiance = look(domes[i], call.state, call.vela, direction);
        const float ofDome = call.vela.lightDensity;
        miState light = *call.state;
        light.type = miRAY_LIGHT;
        light.parent = call.state;
        light.dir = -direction;
        light.dist = 0.0; // from infinity
        light.light_instance = domes[i].instance;
        setupLightContributions(call.passes.count, call.passes.records, &light);
        miColor transmission = WHITE;
        if (traceShadow(call.passes.count, call.passes.records, &transmission, &radiance, &BLACK, false,
                        &light))
            sum += radiance * transmission * (ofDome / (ofDome + ofLayer));
    }
    return withAlpha(sum, 0.0f);
}

} // namespace vela
