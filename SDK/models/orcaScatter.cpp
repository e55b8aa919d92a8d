// SPDX-License-Identifier: Apache-2.0
#include "orcaScatter.h"

#include "orcaAreaLight.h"
#include "orcaColor.h"
#include "orcaGathering.h"
#include "orcaLightLoop.h"
#include "orcaPassRecords.h"
#include "orcaScatterProfile.h"
#include "orcaVector.h"
#include "orcaVelaState.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <numbers>

namespace {

constexpr int channels = 3;
constexpr int surfacesPerProbe = 16; // limit of intersections along one probe

miScalar channel(const miColor& c, int i) {
    return (&c.r)[i];
}

/// The profiles of the three channels.
struct ScatterProfiles {
    ScatterProfiles() = default;
    explicit ScatterProfiles(const ScatterSettings& settings)
        : albedo(settings.albedo), meanFreePath(settings.meanFreePath) {
        for (int i = 0; i < channels; ++i) {
            profile[i] = ScatterProfile(std::clamp(channel(albedo, i), 0.0f, 1.0f), channel(meanFreePath, i));
            if (profile[i].isPoint()) continue;
            spreading[spreadingCount++] = i;
            reach = std::max(reach, profile[i].reach());
        }
    }
    [[nodiscard]] bool belongTo(const ScatterSettings& settings) const {
        for (int i = 0; i < channels; ++i)
            if (channel(albedo, i) != channel(settings.albedo, i) ||
                channel(meanFreePath, i) != channel(settings.meanFreePath, i))
                return false;
        return true;
    }
    /// Density of probes at a distance from the axis, each of the spreading channels taking its share.
    [[nodiscard]] float probeDensity(float distance) const {
        float sum = 0.0f;
        for (int i = 0; i < spreadingCount; ++i) sum += profile[spreading[i]](distance);
        return sum / static_cast<float>(spreadingCount);
    }

    miColor albedo{}, meanFreePath{}; // that they were made of
    ScatterProfile profile[channels];
    int spreading[channels]{}; // channels whose light travels
    int spreadingCount = 0;
    float reach = 0.0f;
};

/// The instance's profiles when they were made from these settings; else `own`, made anew. An instance whose
/// settings stay the same makes them once.
const ScatterProfiles& profilesOf(const ScatterSettings& settings, void** cache, ScatterProfiles& own) {
    std::atomic_ref<void*> slot(*cache);
    const auto* const stored = static_cast<const ScatterProfiles*>(slot.load(std::memory_order_acquire));
    if (stored) return stored->belongTo(settings) ? *stored : (own = ScatterProfiles(settings));

    own = ScatterProfiles(settings);
    void* const memory = mi_mem_allocate(static_cast<int>(sizeof(ScatterProfiles)));
    if (!memory) return own;
    void* expected = nullptr;
    if (!slot.compare_exchange_strong(expected, new (memory) ScatterProfiles(own), std::memory_order_acq_rel))
        mi_mem_release(memory); // another thread was first
    return own;
}

/// A direction in which probes are cast, with their distances measured from it.
struct ProbeAxis {
    miVector along, u, v; // orthonormal
    miUint probes;
};

/// Half of the probes go along the normal; the rest find steep parts of the surface.
void makeAxes(ProbeAxis (&axes)[3], const miVector& n, int samples) {
    miVector u, v;
    orthonormalBasis(n, u, v);
    const int side = samples / 4;
    axes[0] = {n, u, v, static_cast<miUint>(samples - 2 * side)};
    axes[1] = {u, v, n, static_cast<miUint>(side)};
    axes[2] = {v, n, u, static_cast<miUint>(side)};
}

/// A quarter of the probes at each further trace level; a sixteenth in gathers, whose rays average already.
int probesAt(miState* state, int samples) {
    const int quarterings = std::min(traceLevel(state) + (isGathering(state) ? 2 : 0), 15);
    return std::max(1, samples >> (2 * quarterings));
}

/// Direct light on the surface where light enters.
class EntryLight {
public:
    EntryLight(miState* state, VelabaseState& vela, bool skipShadows) : vela_(vela), skip_(skipShadows) {
        if (!mi_instance_lightlist(&count_, &lights_, state)) count_ = 0;
    }

    /// Light that arrives at the state's point on the side of its normal, cosine included; alpha 0.
    [[nodiscard]] miColor operator()(miState* state) const {
        miColor sum = BLACK;
        for (int i = 0; i < count_; ++i) sum += from(lights_[i], state);
        return withAlpha(sum, 0.0f);
    }

private:
    miColor from(miTag light, miState* state) const {
        miColor color, sum = BLACK;
        miVector direction;
        miScalar nDotL;
        miInteger counter = 0;
        int samples = 0;
        for (;;) {
            resetLightSample(vela_);
            vela_.lightData.skipShadows = skip_;
            if (!mi_sample_light(&color, &direction, &nDotL, state, light, &counter)) break;
            ++samples;
            if (vela_.lightData.isAmbient) sum += color;
            if (!vela_.lightData.emitDiffuse) continue;
            if (vela_.areaLight) nDotL = arealight_lambertian_reflect(state, &direction, vela_.areaLight);
            if (nDotL > 0.0f) sum += color * nDotL;
        }
        return samples > 1 ? sum * (1.0f / static_cast<float>(samples)) : sum;
    }

    VelabaseState& vela_;
    bool skip_;
    int count_ = 0;
    miTag* lights_ = nullptr;
};

/// A state at a point of the surface that a probe from `at` has met. Its normals are turned to the outside,
/// which is the side of the surface that `shaded` is seen from.
void standOnHit(miState& at, miState* shaded) {
    const miState hit = *at.child;
    at = hit;
    at.parent = shaded->parent;
    at.child = nullptr;
    at.type = shaded->type;
    at.dir = shaded->dir;
    at.tex_list = shaded->tex_list; // the hit's list is valid only until the next ray
    at.bump_x_list = shaded->bump_x_list;
    at.bump_y_list = shaded->bump_y_list;
    std::copy(std::begin(shaded->derivs), std::end(shaded->derivs), std::begin(at.derivs));
    if ((at.inv_normal != 0) != (shaded->inv_normal != 0)) {
        at.normal = -at.normal;
        at.normal_geom = -at.normal_geom;
    }
    at.inv_normal = shaded->inv_normal;
    at.dot_nd = dot(at.normal, at.dir);
}

/// Light that exits at one point, gathered over the surface around it.
class ScatteredLight {
public:
    ScatteredLight(miState* state, const ScatterProfiles& profiles, const EntryLight& light)
        : state_(state), profiles_(profiles), light_(light) {}

    void cast(const ProbeAxis (&axes)[3]) {
        for (const ProbeAxis& axis : axes) {
            if (axis.probes == 0) continue;
            double point[2];
            int instance = 0;
            while (mi_sample(point, &instance, state_, 2, &axis.probes))
                probe(axis, axes, static_cast<float>(point[0]), static_cast<float>(point[1]));
        }
    }

    /// The weighted mean of the light; `here` where nothing was found, or light does not spread.
    [[nodiscard]] miColor mean(const miColor& here) const {
        miColor result = here;
        for (int i = 0; i < profiles_.spreadingCount; ++i) {
            const int c = profiles_.spreading[i];
            if (weight_[c] > 0.0f) (&result.r)[c] = sum_[c] / weight_[c];
        }
        return result;
    }
    [[nodiscard]] bool foundNothing() const {
        return std::all_of(std::begin(weight_), std::end(weight_), [](float w) { return !(w > 0.0f); });
    }

private:
    /// One probe through the ball in which light travels; every surface of the object along it counts.
    void probe(const ProbeAxis& axis, const ProbeAxis (&axes)[3], float u, float v) {
        // The first coordinate chooses the channel whose profile places the probe, then the distance.
        const float scaled = u * static_cast<float>(profiles_.spreadingCount);
        const int chosen = std::min(static_cast<int>(scaled), profiles_.spreadingCount - 1);
        const ScatterProfile& profile = profiles_.profile[profiles_.spreading[chosen]];
        const float r = profile.distance(std::min(scaled - static_cast<float>(chosen), 0.999999f));
        const float halfChord = std::sqrt(std::max(0.0f, profiles_.reach * profiles_.reach - r * r));
        const float angle = 2.0f * std::numbers::pi_v<float> * v;

        miState at = *state_;
        const miVector center =
            state_->point + axis.u * (r * std::cos(angle)) + axis.v * (r * std::sin(angle));
        miVector origin = center + axis.along * halfChord;
        miVector direction = -axis.along;
        float left = 2.0f * halfChord;
        for (int i = 0; i < surfacesPerProbe && mi_trace_probe(&at, &direction, &origin); ++i) {
            left -= static_cast<float>(at.child->dist);
            if (left < 0.0f) return;
            standOnHit(at, state_);
            origin = at.point;
            if (at.instance == state_->instance) addEntry(at, axes);
        }
    }

    void addEntry(miState& at, const ProbeAxis (&axes)[3]) {
        const miVector way = at.point - state_->point;
        const float distance = length(way);
        // Balance heuristic over the axes: density of the probes of all of them here.
        float density = 0.0f;
        for (const ProbeAxis& axis : axes) {
            const float cosine = std::abs(dot(axis.along, at.normal_geom));
            if (axis.probes == 0 || cosine == 0.0f) continue;
            const float a = dot(way, axis.u);
            const float b = dot(way, axis.v);
            density +=
                static_cast<float>(axis.probes) * cosine * profiles_.probeDensity(std::sqrt(a * a + b * b));
        }
        if (!(density > 0.0f)) return;
        const miColor light = light_(&at);
        for (int i = 0; i < profiles_.spreadingCount; ++i) {
            const int c = profiles_.spreading[i];
            const float weight = profiles_.profile[c](distance) / density;
            weight_[c] += weight;
            sum_[c] += weight * channel(light, c);
        }
    }

    miState* state_;
    const ScatterProfiles& profiles_;
    const EntryLight& light_;
    float sum_[channels]{};
    float weight_[channels]{};
};

} // namespace

miBoolean compute_scatter(miColor* result, const ScatterSettings* settings, miState* state,
                          void** scatterCache) {
    *result = BLACK;
    VelabaseState* const vela = velabaseState(state);
    if (!vela || !anyAbove(settings->albedo, 0.0f)) return miFALSE;

    ScatterProfiles own;
    const ScatterProfiles& profiles = profilesOf(*settings, scatterCache, own);
    const EntryLight light(state, *vela, settings->skipShadows != 0);
    ScatteredLight scattered(state, profiles, light);
    if (profiles.spreadingCount > 0) {
        ProbeAxis axes[3];
        makeAxes(axes, state->normal_geom, probesAt(state, settings->samples));
        scattered.cast(axes);
    }
    const bool needsHere = profiles.spreadingCount < channels || scattered.foundNothing();
    *result = withAlpha(settings->albedo * scattered.mean(needsHere ? light(state) : BLACK), 0.0f);
    return miTRUE;
}

void destroy_scatter(miState*, void** cache) {
    if (!*cache) return;
    mi_mem_release(*cache);
    *cache = nullptr;
}
