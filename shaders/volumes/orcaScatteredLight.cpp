// SPDX-License-Identifier: Apache-2.0
#include "orcaScatteredLight.h"

#include "orcaColor.h"
#include "orcaGuards.h"
#include "orcaLightLoop.h"
#include "orcaLightReach.h"
#include "orcaVolumeShadows.h"

#include <algorithm>
#include <cmath>

namespace {

/// Phase function of Henyey and Greenstein times pi: lights deliver irradiance over pi.
float phaseTimesPi(float anisotropy, float cosine) {
    const float g2 = anisotropy * anisotropy;
    const float base = std::max(1e-6f, 1.0f + g2 - 2.0f * anisotropy * cosine);
    return 0.25f * (1.0f - g2) / (base * std::sqrt(base));
}

float fraction(float x) {
    return x - std::floor(x);
}

/// How the points of a ray at which one light is asked for are distributed.
class PointDistribution {
public:
    PointDistribution(const RayProfile& profile, const VolumeRay& ray, const LightReach& light,
                      const VolumeSpan& span, int points)
        : profile_(profile),
          span_(span),
          sumBefore_(profile.sumUpTo(span.from)),
          sum_(profile.sumUpTo(span.to) - sumBefore_),
          byAngle_(light.hasPlace ? points / 2 : 0),
          byProfile_(points - byAngle_) {
        if (!light.hasPlace) return;
        nearest_ = dot(light.origin - ray.origin, ray.direction);
        distance_ = std::max(length(ray.at(nearest_) - light.origin), 1e-4f);
        angleFrom_ = std::atan((span.from - nearest_) / distance_);
        angle_ = std::atan((span.to - nearest_) / distance_) - angleFrom_;
    }
    [[nodiscard]] bool empty() const { return !(sum_ > 0.0f); }
    [[nodiscard]] float point(int number, float jitter) const {
        const bool isByAngle = number >= byProfile_;
        const int count = isByAngle ? byAngle_ : byProfile_;
        const float u = (static_cast<float>(isByAngle ? number - byProfile_ : number) + jitter) /
                        static_cast<float>(count);
        const float place = isByAngle ? nearest_ + distance_ * std::tan(angleFrom_ + u * angle_)
                                      : profile_.distanceOfSum(sumBefore_ + u * sum_);
        return std::clamp(place, span_.from, span_.to);
    }
    /// Of a point, 1 over its expected number per scene unit.
    [[nodiscard]] float weight(float place) const {
        float density = static_cast<float>(byProfile_) * profile_.importanceAt(place) / sum_;
        if (byAngle_ > 0 && angle_ > 0.0f) {
            const float along = place - nearest_;
            density +=
                static_cast<float>(byAngle_) * distance_ / (angle_ * (distance_ * distance_ + along * along));
        }
        return density > 0.0f ? 1.0f / density : 0.0f;
    }

private:
    const RayProfile& profile_;
    VolumeSpan span_;
    float sumBefore_, sum_;
    int byAngle_, byProfile_;
    float nearest_ = 0.0f, distance_ = 1.0f; // of the light along the ray, and from it
    float angleFrom_ = 0.0f, angle_ = 0.0f;  // radians, as the light sees the span
};

} // namespace

/// While it exists, the state is that of a point in the air that faces the ray's origin.
class ScatteredLight::AtPoint {
public:
    AtPoint(miState* state, VelabaseState& vela, VolumeLightPath& path)
        : point(state->point),
          normal_(state->normal),
          geometric_(state->normal_geom),
          cosine_(state->dot_nd),
          instance_(state->instance),
          primitive_(state->pri),
          distance(state->dist),
          lightData_(vela.lightData),
          areaLight_(vela.areaLight),
          density_(vela.lightDensity),
          path_(vela.volumeLightPath),
          flags(vela.flags) {
        state->normal = state->normal_geom = -state->dir;
        state->dot_nd = -1.0f;
        state->instance = miNULLTAG; // whose light list would be the surface's
        state->pri = nullptr;
        vela.volumeLightPath = &path;
    }

    Restored<miVector> point;

private:
    Restored<miVector> normal_, geometric_;
    Restored<miScalar> cosine_;
    Restored<miTag> instance_;
    Restored<void*> primitive_;

public:
    Restored<double> distance;

private:
    Restored<LightData> lightData_;
    Restored<const AreaLightRecord*> areaLight_;
    Restored<miScalar> density_;
    Restored<VolumeLightPath*> path_;

public:
    Restored<miUint> flags;
};

/// What scatters at a point.
struct ScatteredLight::Coefficients {
    Coefficients(const VolumeSet& set, const VolumeRay& ray, miScalar distance) {
        for (const VolumePrimitive* const medium : set.media()) {
            VolumeSpan span;
            if (!medium->next(ray, distance, span) || span.from > distance) continue;
            const miColor scattering = medium->at(ray, distance).scattering;
            if (!isBlack(scattering)) media[count++] = {scattering, medium->anisotropy, medium->layer};
        }
    }
    /// Share of the light that is scattered by an angle, per scene unit.
    [[nodiscard]] VolumeLayers share(float cosine, bool isAmbient, int orders, const miColor& path) const {
        VolumeLayers shares;
        for (int i = 0; i < count; ++i) {
            miColor dimmed = path;
            float carried = 1.0f, directed = media[i].anisotropy;
            miColor sum{};
            for (int order = 0; order <= orders; ++order) {
                sum += dimmed * (carried * (isAmbient ? 1.0f : phaseTimesPi(directed, cosine)));
                dimmed = {std::sqrt(dimmed.r), std::sqrt(dimmed.g), std::sqrt(dimmed.b), 0.0f};
                carried *= 0.5f;
                directed *= 0.5f;
            }
            shares.of[media[i].layer] += withAlpha(sum * media[i].scattering, 0.0f);
        }
        return shares;
    }

    struct Medium {
        miColor scattering;
        miScalar anisotropy;
        VolumeLayer layer;
    };
    Medium media[VolumeSet::mostMedia];
    int count = 0;
};

/// Adds the mean over a light's samples at the state's point.
/// @param share VolumeLayers (const miVector& toLight, const miColor& transmittance of the light's path)
template <class Share>
void ScatteredLight::addSamples(miTag light, miScalar weight, const Share& share, miScalar pointWeight,
                                VolumeLayers& sum, VolumePasses& passes) const {
    LightLoop loop(ray_.state, vela_, passes.records(), light, miFALSE, false, weight);
    VolumeLightPath& path = *vela_.volumeLightPath;
    VolumeLayers all;
    LightSample sample;
    for (path.transmittance = WHITE; loop.next(sample); path.transmittance = WHITE) {
        if (!vela_.lightData.emitDiffuse && !vela_.lightData.isAmbient) continue;
        const VolumeLayers shadowed = share(sample.direction, path.transmittance);
        const VolumeLayers clear = share(sample.direction, WHITE);
        const miColor light4 = withAlpha(sample.color, 0.0f);
        for (int layer = 0; layer < VOLUME_LAYER_COUNT; ++layer) all.of[layer] += shadowed.of[layer] * light4;
        passes.each([&](const FrameBufferInfo& record, miColor& received, int layer) {
            const VolumeLayers& shares = record.flags & FB_SHADOWED ? shadowed : clear;
            received +=
                (layer == VolumePasses::picture ? shares.sum() : shares.of[layer]) * record.lightColor;
        });
    }
    if (loop.samples() == 0) return;
    const miScalar mean = pointWeight / static_cast<miScalar>(loop.samples());
    for (int layer = 0; layer < VOLUME_LAYER_COUNT; ++layer) sum.of[layer] += all.of[layer] * mean;
    passes.endPoint(mean);
}

void ScatteredLight::addLight(miTag light, miScalar weight, miScalar jitter, VolumeLayers& sum,
                              VolumePasses& passes) const {
    const LightReach reach(ray_.state, light);
    VolumeSpan span = profile_.span();
    if (!reach.cut(ray_, span)) return;
    const PointDistribution points(profile_, ray_, reach, span, settings_.samples);
    if (points.empty()) return;
    for (int i = 0; i < settings_.samples; ++i) {
        const float distance = points.point(i, jitter);
        const Coefficients coefficients(set_, ray_, distance);
        if (coefficients.count == 0) continue;
        ray_.state->point = ray_.at(distance);
        const miColor arriving = profile_.transmittanceUpTo(distance);
        const auto share = [&](const miVector& toLight, const miColor& path) {
            VolumeLayers shares = coefficients.share(dot(toLight, ray_.direction),
                                                     vela_.lightData.isAmbient != 0, settings_.orders, path);
            for (miColor& of : shares.of) of *= arriving;
            return shares;
        };
        addSamples(light, weight, share, points.weight(distance), sum, passes);
    }
}

void ScatteredLight::addScattered(VolumeLayers& light, VolumePasses& passes) const {
    if (profile_.empty()) return;
    miState* const state = ray_.state;
    VolumeLightPath path{settings_.engine, state, &set_, WHITE};
    const AtPoint atPoint(state, vela_, path);
    int count = 0;
    miTag* lights = nullptr;
    mi_instance_lightlist(&count, &lights, state);
    const miScalar* const weights = lightWeights(state);
    constexpr float goldenRatio = 0.618034f; // lights take their points at other places than one another
    for (int i = 0; i < count; ++i)
        addLight(lights[i], weights ? weights[i] : 1.0f,
                 fraction(settings_.jitter + goldenRatio * static_cast<float>(i)), light, passes);
}

void ScatteredLight::addFogs(VolumeLayers& light, VolumePasses& passes) const {
    if (set_.fogs().empty()) return;
    miState* const state = ray_.state;
    VolumeLightPath path{settings_.engine, state, &set_, WHITE};
    const AtPoint atPoint(state, vela_, path);
    vela_.flags |= VELA_BIT_ENVLIGHTFOG;
    for (const LightFog& fog : set_.fogs()) {
        const float length = fog.span.to - fog.span.from;
        const float points = static_cast<float>(fog.points);
        if (fog.answersForSpan) state->dist = length; // of which lights take the middle
        for (int i = 0; i < fog.points; ++i) {
            const float distance =
                fog.span.from + length * (static_cast<float>(i) + settings_.jitter) / points;
            state->point = ray_.at(distance);
            const miColor arriving = profile_.transmittanceUpTo(distance);
            const auto share = [&](const miVector&, const miColor& transmittance) {
                VolumeLayers shares;
                shares.of[VOLUME_LAYER_LIGHT] = withAlpha(arriving * transmittance, 0.0f);
                return shares;
            };
            addSamples(fog.light, 1.0f, share, (fog.answersForSpan ? 1.0f : length) / points, light, passes);
        }
        state->dist = atPoint.distance.before();
    }
}
