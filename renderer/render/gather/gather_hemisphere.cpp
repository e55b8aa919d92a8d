// SPDX-License-Identifier: Apache-2.0
#include "render/gather/gather_hemisphere.h"

#include "render/context/surface_state.h"
#include "render/context/surroundings.h"
#include "render/gather/hemisphere.h"
#include "render/trace/trace_and_shade.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orca::render {

namespace {

constexpr float pi = std::numbers::pi_v<float>;
/// Radius of a record as a share of the harmonic mean distance of its rays' hits.
constexpr float shareOfDistance = 0.25f;
/// Largest change of a record's light over its radius, by its gradients, as a share of the light.
constexpr float shareOfLight = 0.3f;
constexpr float infinity = std::numeric_limits<float>::infinity();

float channel(const miColor& c, int i) {
    return (&c.r)[i];
}

void addScaled(miVector& sum, const miVector& v, float f) {
    sum = {sum.x + v.x * f, sum.y + v.y * f, sum.z + v.z * f};
}

/// Radiance and distance of what one ray hits.
struct Arrival {
    miColor radiance{};
    float distance = infinity;
};

/// The hemisphere of one point.
class Hemisphere {
public:
    Hemisphere(RenderContext& context, miState* state, bool back) : context_(context), state_(state) {
        axis = state->normal;
        outward_ = state->normal_geom;
        if (back) {
            mi_vector_neg(&axis);
            mi_vector_neg(&outward_);
        }
        basis = basisAbout(axis);
    }

    Arrival along(const miVector& direction) {
        Arrival arrival;
        // A bumped normal's hemisphere is partly below the surface, where no light arrives.
        if (mi_vector_dot(&direction, &outward_) <= 0.0f) return arrival;
        const GatherSettings& settings = context_.frame.gather;
        ++context_.counts.gather;
        ChildState child(context_, state_, miRAY_FINALGATHER);
        child->org = state_->point;
        child->dir = direction;
        geometry::Ray ray = rayFrom(context_, *state_, state_->point, direction, geometry::RayClass::Gather);
        if (settings.falloffStop > 0.0f) ray.farDistance = settings.falloffStop;
        if (!traceAndShade(context_, child, ray, arrival.radiance)) arrival.radiance = {};
        if (child->instance != miNULLTAG) arrival.distance = static_cast<float>(child->dist);
        if (settings.falloffStop > 0.0f && std::isfinite(arrival.distance)) fade(arrival, direction);
        return arrival;
    }

    miVector axis;
    OrthonormalBasis basis;

private:
    /// Blends hits between the start and the stop of the falloff into the environment.
    void fade(Arrival& arrival, const miVector& direction) {
        const GatherSettings& settings = context_.frame.gather;
        const float range = settings.falloffStop - settings.falloffStart;
        if (arrival.distance <= settings.falloffStart || !(range > 0.0f)) return;
        const float t = std::min(1.0f, (arrival.distance - settings.falloffStart) / range);
        ChildState child(context_, state_, miRAY_FINALGATHER);
        child->org = state_->point;
        child->dir = direction;
        setMiss(*child.get());
        miColor sky{};
        if (!callEnvironment(context_, child.get(), sky)) sky = {};
        miColor& seen = arrival.radiance;
        seen = {seen.r + t * (sky.r - seen.r), seen.g + t * (sky.g - seen.g), seen.b + t * (sky.b - seen.b),
                1};
    }

    RenderContext& context_;
    miState* state_;
    miVector outward_;
};

/// The hemisphere in rings and sectors of equal weight: ring j lies between the sines sqrt(j / rings) and
/// sqrt((j + 1) / rings).
class Strata {
public:
    explicit Strata(int rays)
        : rings_(std::max(1, static_cast<int>(std::lround(std::sqrt(static_cast<float>(rays) / pi))))),
          sectors_(std::max(
              3, static_cast<int>(std::lround(static_cast<float>(rays) / static_cast<float>(rings_))))),
          cells_(static_cast<std::size_t>(rings_) * static_cast<std::size_t>(sectors_)) {}

    void fill(RenderContext& context, Hemisphere& hemisphere) {
        const std::uint32_t key = context.sampler.nextKey();
        const auto count = static_cast<std::uint32_t>(cells_.size());
        for (int ring = 0; ring < rings_; ++ring)
            for (int sector = 0; sector < sectors_; ++sector) {
                const auto i = static_cast<std::uint32_t>(ring * sectors_ + sector);
                const float u = context.sampler.coordinate(key, i, count, 0);
                const float v = context.sampler.coordinate(key, i, count, 1);
                const float sine = std::sqrt((static_cast<float>(ring) + u) / static_cast<float>(rings_));
                const float turn = (static_cast<float>(sector) + v) / static_cast<float>(sectors_);
                cell(ring, sector) = hemisphere.along(hemisphereDirection(hemisphere.basis, sine, turn));
            }
    }

    [[nodiscard]] miColor mean() const {
        miColor sum{};
        for (const Arrival& a : cells_)
            sum = {sum.r + a.radiance.r, sum.g + a.radiance.g, sum.b + a.radiance.b, 0.0f};
        const float share = 1.0f / static_cast<float>(cells_.size());
        return {sum.r * share, sum.g * share, sum.b * share, 1.0f};
    }

    [[nodiscard]] float harmonicMeanDistance() const {
        float sum = 0.0f;
        for (const Arrival& a : cells_) sum += 1.0f / std::max(a.distance, 1e-12f);
        return sum > 0.0f ? static_cast<float>(cells_.size()) / sum : infinity;
    }

    void gradients(GatherRecord& record, const OrthonormalBasis& basis) const {
        record.rotationGradient = record.translationGradient = {};
        for (int sector = 0; sector < sectors_; ++sector) {
            const float width = 2.0f * pi / static_cast<float>(sectors_);
            const float middle = (static_cast<float>(sector) + 0.5f) * width;
            const float start = static_cast<float>(sector) * width;
            const miVector toward = basis.combine(std::cos(middle), std::sin(middle), 0.0f);
            const miVector across = basis.combine(-std::sin(middle), std::cos(middle), 0.0f);
            const miVector overStart = basis.combine(-std::sin(start), std::cos(start), 0.0f);
            for (int c = 0; c < 3; ++c) {
                addScaled(record.rotationGradient[static_cast<std::size_t>(c)], across, tilt(sector, c));
                addScaled(record.translationGradient[static_cast<std::size_t>(c)], toward,
                          ringShift(sector, c) * width / pi);
                addScaled(record.translationGradient[static_cast<std::size_t>(c)], overStart,
                          sectorShift(sector, c) / pi);
            }
        }
    }

private:
    Arrival& cell(int ring, int sector) { return cells_[static_cast<std::size_t>(ring * sectors_ + sector)]; }
    [[nodiscard]] const Arrival& cell(int ring, int sector) const {
        return cells_[static_cast<std::size_t>(ring * sectors_ + sector)];
    }
    [[nodiscard]] float sineAt(int ring) const {
        return std::sqrt(static_cast<float>(ring) / static_cast<float>(rings_));
    }

    /// Change of a sector's radiance when the normal tilts toward it.
    [[nodiscard]] float tilt(int sector, int c) const {
        float sum = 0.0f;
        for (int ring = 0; ring < rings_; ++ring) {
            const float sine2 = (static_cast<float>(ring) + 0.5f) / static_cast<float>(rings_);
            sum += std::sqrt(sine2 / (1.0f - sine2)) * channel(cell(ring, sector).radiance, c);
        }
        return sum / static_cast<float>(cells_.size());
    }
    /// Change when the point moves toward the sector: the borders between rings shift toward the normal.
    [[nodiscard]] float ringShift(int sector, int c) const {
        float sum = 0.0f;
        for (int ring = 1; ring < rings_; ++ring) {
            const Arrival& outer = cell(ring, sector);
            const Arrival& inner = cell(ring - 1, sector);
            const float sine = sineAt(ring);
            const float step = channel(outer.radiance, c) - channel(inner.radiance, c);
            sum += sine * (1.0f - sine * sine) / std::min(outer.distance, inner.distance) * step;
        }
        return sum;
    }
    /// Change when the point moves across the border to the preceding sector.
    [[nodiscard]] float sectorShift(int sector, int c) const {
        const int before = sector == 0 ? sectors_ - 1 : sector - 1;
        float sum = 0.0f;
        for (int ring = 0; ring < rings_; ++ring) {
            const Arrival& here = cell(ring, sector);
            const Arrival& there = cell(ring, before);
            const float step = channel(here.radiance, c) - channel(there.radiance, c);
            sum += (sineAt(ring + 1) - sineAt(ring)) / std::min(here.distance, there.distance) * step;
        }
        return sum;
    }

    int rings_, sectors_;
    std::vector<Arrival> cells_;
};

/// Limits the record's radius to where its gradients change it little; at the least radius, scales down
/// gradients that would change it by more than its own value.
void limitByGradients(GatherRecord& record, const RecordRange& range) {
    float steepest = 0.0f;
    for (int c = 0; c < 3; ++c) {
        const float light = channel(record.radiance, c);
        const float slope = mi_vector_norm(&record.translationGradient[static_cast<std::size_t>(c)]);
        if (light > 0.0f) steepest = std::max(steepest, slope / light);
    }
    const float most = range.scale * shareOfLight;
    if (steepest * record.radius > most) record.radius = most / steepest;
    record.radius = std::clamp(record.radius, range.least, range.most);
    const float change = steepest * record.radius;
    if (change <= 1.0f) return;
    for (miVector& slope : record.translationGradient)
        slope = {slope.x / change, slope.y / change, slope.z / change};
}

} // namespace

miColor gatherRadiance(RenderContext& context, miState* state, bool back, int rays) {
    Hemisphere hemisphere(context, state, back);
    const std::uint32_t key = context.sampler.nextKey();
    const auto count = static_cast<std::uint32_t>(rays);
    miColor sum{};
    for (std::uint32_t i = 0; i < count; ++i) {
        const float sine = std::sqrt(context.sampler.coordinate(key, i, count, 0));
        const Arrival a = hemisphere.along(
            hemisphereDirection(hemisphere.basis, sine, context.sampler.coordinate(key, i, count, 1)));
        sum = {sum.r + a.radiance.r, sum.g + a.radiance.g, sum.b + a.radiance.b, 0.0f};
    }
    const float share = 1.0f / static_cast<float>(rays);
    return {sum.r * share, sum.g * share, sum.b * share, 1.0f};
}

GatherRecord gatherRecord(RenderContext& context, miState* state, bool back, int rays,
                          const RecordRange& range) {
    Hemisphere hemisphere(context, state, back);
    Strata strata(rays);
    strata.fill(context, hemisphere);
    GatherRecord record;
    record.point = state->point;
    record.normal = hemisphere.axis;
    record.radiance = strata.mean();
    record.radius = std::min(range.scale * shareOfDistance * strata.harmonicMeanDistance(), range.most);
    strata.gradients(record, hemisphere.basis);
    limitByGradients(record, range);
    return record;
}

} // namespace orca::render
