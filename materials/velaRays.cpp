// SPDX-License-Identifier: Apache-2.0
#include "velaShading.h"

#include "orcaColor.h"
#include "orcaGathering.h"
#include "orcaGuards.h"
#include "orcaLevelSlots.h"
#include "orcaTracing.h"
#include "orcaVector.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vela {

namespace {

constexpr float pi = std::numbers::pi_v<float>;
constexpr float leastWeight = 1e-4f; // of a layer, below the step of a picture

/// A number of the eye sample, the same at all of its hits: the place within a band of the spectrum, so that
/// a path keeps its wavelength.
float placeInBand(const miState* state) {
    const auto x = static_cast<double>(state->raster_x), y = static_cast<double>(state->raster_y);
    const double mixed = std::sin(x * 12.9898 + y * 78.233) * 43758.5453;
    return static_cast<float>(mixed - std::floor(mixed));
}

/// Index of one primary colour's light: bands overlap, so that the colours of a spectrum blend.
float indexOfBand(const GlassLayer& glass, int channel, float place) {
    const float half = 0.5f * glass.dispersion * (glass.index - 1.0f);
    const float middle = static_cast<float>(channel - 1) * 0.5f; // red, green, blue: -0.5, 0, 0.5
    return std::max(1.0001f, glass.index + 2.0f * half * (middle + 0.5f * (place - 0.5f)));
}

miColor channelOnly(const miColor& color, int channel) {
    return {channel == 0 ? color.r : 0.0f, channel == 1 ? color.g : 0.0f, channel == 2 ? color.b : 0.0f,
            color.a};
}

class RayTracing {
public:
    RayTracing(const ShadingCall& call, const Closure& closure, const Effort& effort,
               const PassRecords& handedOver, const SharedLights& shared)
        : call_(call),
          state_(call.state),
          vela_(call.vela),
          closure_(closure),
          effort_(effort),
          shared_(shared),
          inside_(call.state->inv_normal != 0),
          context_{&call.vela, &handedOver, {}} {}

    TracedResult operator()() {
        if (traceLevel(state_) > 0 || isGathering(state_)) traceOne();
        else traceAll();
        return result_;
    }

private:
    void traceAll() {
        for (int i = 0; i < closure_.layerCount; ++i) {
            const FacetLayer& layer = *closure_.layers[static_cast<std::size_t>(i)];
            if (importanceOf(layer) > leastWeight) reflect(layer, effort_.reflectionRays, 1.0f);
        }
        if (closure_.glass && importanceOf(*closure_.glass) > leastWeight) crossAll(*closure_.glass);
    }

    /// One ray of a layer that is chosen by what it sends back: paths do not branch.
    void traceOne() {
        float chances[Closure::mostLayers + 1]{}, all = 0.0f;
        for (int i = 0; i < closure_.layerCount; ++i)
            all += chances[i] = importanceOf(*closure_.layers[static_cast<std::size_t>(i)]);
        if (closure_.glass) all += chances[closure_.layerCount] = importanceOf(*closure_.glass);
        if (!(all > leastWeight)) return;
        float chosen = samplePoint(1).u * all;
        int last = -1;
        for (int i = 0; i <= closure_.layerCount; ++i) {
            if (!(chances[i] > 0.0f)) continue;
            last = i;
            if (chosen < chances[i]) break;
            chosen -= chances[i];
        }
        const float weight = all / chances[last];
        if (last < closure_.layerCount) reflect(*closure_.layers[static_cast<std::size_t>(last)], 1, weight);
        else cross(*closure_.glass, 1, weight);
    }

    struct Point {
        float u, v, w;
    };
    Point samplePoint(miUint count) {
        double point[3]{};
        int instance = 0;
        mi_sample(point, &instance, state_, 3, &count);
        return {static_cast<float>(point[0]), static_cast<float>(point[1]), static_cast<float>(point[2])};
    }

    static float importanceOf(const FacetLayer& layer) {
        return layer.tracesRays ? luminance(layer.weight * layer.lobe.albedo()) : 0.0f;
    }
    static float importanceOf(const GlassLayer& glass) { return luminance(glass.weight); }

    // --- reflection

    void reflect(const FacetLayer& layer, int rays, float weight) {
        const miUint count = layer.lobe.sharp() ? 1u : static_cast<miUint>(std::max(1, rays));
        double point[3];
        int instance = 0;
        miUint n = count;
        while (mi_sample(point, &instance, state_, 3, &n))
            reflectOne(
                layer,
                {static_cast<float>(point[0]), static_cast<float>(point[1]), static_cast<float>(point[2])},
                weight / static_cast<float>(count));
    }

    void reflectOne(const FacetLayer& layer, const Point& point, float weight) {
        const FacetLobe& lobe = layer.lobe;
        const miVector local = lobe.direction(point.u, point.v, point.w);
        if (!(local.z > 0.0f)) return;
        const float density = lobe.sharp() ? 0.0f : lobe.density(local);
        if (!lobe.sharp() && !(density > 0.0f)) return;
        const miColor share = lobe.sharp() ? lobe.albedo() : lobe.share(local) * (1.0f / (pi * density));
        const miColor throughput = share * layer.weight * closure_.opacity * weight;
        if (!anyAbove(throughput, 0.0f)) return;

        SecondaryRay ray{RayKind::Reflection, aboveSurface(layer.frame.fromLocal(local), state_->normal_geom),
                         withAlpha(throughput, weight), effort_.reflectionLimit, insideAbsorbance(true)};
        if (!lobe.sharp()) {
            ray.counted = &shared_.lamps;
            if (shared_.domeCount > 0)
                ray.surroundingsShare = density / (density + shared_.density(state_, vela_, ray.direction));
        }
        miColor light = withAlpha(traceSecondaryRay(state_, ray, context_), 0.0f);
        if (shared_.domeCount > 0 && density > 0.0f && metSurface())
            light = light - takenByHighlights(ray, density);
        (layer.isCoat ? result_.coatReflection : result_.reflection) += light;
    }

    [[nodiscard]] bool metSurface() const { return state_->child && state_->child->instance != miNULLTAG; }

    /// Through a surface that lets light pass a ray may have met the surroundings, whose light it has brought
    /// whole. The light of the domes that shadows let pass in the ray's direction is in the highlights as
    /// well, to their share: this is the weighted sum of that.
    miColor takenByHighlights(const SecondaryRay& ray, float density) {
        const miColor taken =
            withAlpha(ray.weight * shared_.highlightsAlong(call_, ray.direction, density), 0.0f);
        if (anyAbove(taken, 0.0f)) addUnhandedLight(state_, *context_.passes, false, taken * -1.0f);
        return taken;
    }

    /// Absorbance along a ray on the near or far side of the boundary.
    [[nodiscard]] miColor insideAbsorbance(bool nearSide) const {
        return closure_.glass && !closure_.glass->thin && nearSide == inside_ ? closure_.glass->absorbance
                                                                              : BLACK;
    }

    // --- glass

    void crossAll(const GlassLayer& glass) {
        if (glass.thin || !glass.glass.roughness.sharp()) {
            cross(glass, effort_.reflectionRays, 1.0f);
            return;
        }
        // Both directions of a smooth boundary.
        const miColor reflected = reflectedBy(glass);
        crossSharply(glass, reflected, RayKind::Reflection, 1.0f);
        crossSharply(glass, WHITE - reflected, RayKind::Refraction, 1.0f);
    }

    [[nodiscard]] static miColor reflectedBy(const GlassLayer& glass, const miVector& view) {
        const miColor once = glass.glass.reflected(view.z, glass.glass.eta);
        if (!glass.thin) return once;
        // All reflections between the two faces of a pane.
        const auto both = [](float r) { return 2.0f * r / (1.0f + r); };
        return {both(once.r), both(once.g), both(once.b), 0.0f};
    }
    [[nodiscard]] miColor reflectedBy(const GlassLayer& glass) const {
        return reflectedBy(glass, closure_.view);
    }

    void cross(const GlassLayer& glass, int rays, float weight) {
        const bool sharp = glass.glass.roughness.sharp();
        const bool both = traceLevel(state_) == 0 && !isGathering(state_);
        const miUint count = sharp ? 1u : static_cast<miUint>(std::max(1, rays));
        miUint n = count;
        double point[3];
        int instance = 0;
        while (mi_sample(point, &instance, state_, 3, &n)) {
            const Point p{static_cast<float>(point[0]), static_cast<float>(point[1]),
                          static_cast<float>(point[2])};
            const float part = weight / static_cast<float>(count);
            if (glass.thin) crossPane(glass, p, part, both);
            else if (sharp) crossOneSharply(glass, p, part);
            else crossRoughly(glass, p, part);
        }
    }

    void crossOneSharply(const GlassLayer& glass, const Point& point, float weight) {
        const miColor reflected = reflectedBy(glass);
        const float chance = std::clamp(luminance(reflected), 0.0f, 1.0f);
        if (point.w < chance) crossSharply(glass, reflected, RayKind::Reflection, weight / chance);
        else crossSharply(glass, WHITE - reflected, RayKind::Refraction, weight / (1.0f - chance));
    }

    void crossSharply(const GlassLayer& glass, const miColor& share, RayKind kind, float weight) {
        if (!anyAbove(share, 0.0f)) return;
        const miColor throughput = share * glass.weight * weight;
        if (kind == RayKind::Reflection) {
            trace(glass, kind, mirrored(-closure_.view, {0.0f, 0.0f, 1.0f}), throughput);
            return;
        }
        eachBand(glass, [&](float eta, const miColor& band) {
            miVector direction;
            if (refractedDirection(direction, -closure_.view, {0.0f, 0.0f, 1.0f}, 1.0f / eta))
                trace(glass, kind, direction, throughput * band);
            else
                trace(glass, RayKind::Reflection, mirrored(-closure_.view, {0.0f, 0.0f, 1.0f}),
                      throughput * band);
        });
    }

    void crossRoughly(const GlassLayer& glass, const Point& point, float weight) {
        eachBand(glass, [&](float eta, const miColor& band) {
            Glass ofBand = glass.glass;
            ofBand.eta = eta;
            const GlassPath path = walkThroughGlass(ofBand, closure_.view, point.u, point.v, point.w);
            trace(glass, path.direction.z > 0.0f ? RayKind::Reflection : RayKind::Refraction, path.direction,
                  path.weight * band * glass.weight * weight);
        });
    }

    void crossPane(const GlassLayer& glass, const Point& point, float weight, bool both) {
        const miColor reflected = reflectedBy(glass);
        const float chance = std::clamp(luminance(reflected), 0.0f, 1.0f);
        const miVector up{0.0f, 0.0f, 1.0f};
        const miVector normal =
            glass.glass.roughness.sharp()
                ? up
                : glass.glass.roughness.facets.visibleNormal(closure_.view, point.u, point.v);
        miVector direction = mirrored(-closure_.view, normal);
        if (!(direction.z > 0.0f)) direction.z = -direction.z;
        const miVector through{direction.x, direction.y, -direction.z};
        const auto reflect = [&](float w) {
            trace(glass, RayKind::Reflection, direction, reflected * glass.weight * w);
        };
        const auto transmit = [&](float w) {
            trace(glass, RayKind::Refraction, through, (WHITE - reflected) * glass.weight * w);
        };
        if (both) {
            reflect(weight);
            transmit(weight);
        } else if (point.w < chance) reflect(weight / chance);
        else transmit(weight / (1.0f - chance));
    }

    /// Calls use(eta, weight) for white light, or for each primary colour that the path still carries;
    /// further down for one of them.
    template <class Use>
    void eachBand(const GlassLayer& glass, const Use& use) {
        if (!(glass.dispersion > 0.0f)) {
            use(glass.glass.eta, WHITE);
            return;
        }
        const float carried[] = {vela_.throughput.r, vela_.throughput.g, vela_.throughput.b};
        const int present =
            static_cast<int>(std::count_if(carried, carried + 3, [](float c) { return c > 0.0f; }));
        const float place = placeInBand(state_);
        const auto etaOf = [&](int channel) {
            const float index = indexOfBand(glass, channel, place);
            return inside_ ? 1.0f / index : index;
        };
        const bool all = traceLevel(state_) == 0 && !isGathering(state_);
        int chosen =
            all || present == 1 ? -1 : static_cast<int>(samplePoint(1).v * static_cast<float>(present));
        for (int channel = 0; channel < 3; ++channel) {
            if (!(carried[channel] > 0.0f)) continue;
            if (all || present == 1) use(etaOf(channel), channelOnly(WHITE, channel));
            else if (chosen-- == 0)
                use(etaOf(channel), channelOnly(WHITE, channel) * static_cast<float>(present));
        }
    }

    void trace(const GlassLayer& glass, RayKind kind, const miVector& local, const miColor& weight) {
        const bool crosses = kind == RayKind::Refraction;
        const miColor throughput = weight * (crosses ? glass.tint : WHITE) * closure_.opacity;
        if (!anyAbove(throughput, 0.0f)) return;
        const miVector direction = glass.frame.fromLocal(local);
        const miVector side = crosses ? -state_->normal_geom : state_->normal_geom;
        SecondaryRay ray{
            kind, aboveSurface(direction, side), withAlpha(throughput, largestChannel(throughput)),
            crosses ? effort_.refractionLimit : effort_.reflectionLimit, insideAbsorbance(!crosses)};
        if (!crosses && !glass.glass.roughness.sharp()) ray.counted = &shared_.lamps;
        const miColor light = withAlpha(traceSecondaryRay(state_, ray, context_), 0.0f);
        (crosses ? result_.refraction : result_.reflection) += light;
    }

    const ShadingCall& call_;
    miState* state_;
    VelabaseState& vela_;
    const Closure& closure_;
    const Effort& effort_;
    const SharedLights& shared_;
    const bool inside_;
    const TraceContext context_;
    TracedResult result_;
};

} // namespace

TracedResult traceRays(const ShadingCall& call, const Closure& closure, const Effort& effort,
                       const PassRecords& handedOver, const SharedLights& shared) {
    return RayTracing(call, closure, effort, handedOver, shared)();
}

} // namespace vela
