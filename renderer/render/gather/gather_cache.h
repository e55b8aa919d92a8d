// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace orca::render {

/// Light gathered at one point, good for its neighbourhood (G. Ward, F. Rubinstein and R. Clear, "A Ray
/// Tracing Solution for Diffuse Interreflection", 1988). Internal space.
struct GatherRecord {
    miVector point, normal; ///< normal: unit, axis of the hemisphere
    float radius;           ///< within it the record serves
    miColor radiance;       ///< average over the hemisphere
    /// How it changes per channel when the normal turns about an axis, and when the point moves (G. Ward and
    /// P. Heckbert, "Irradiance Gradients", 1992).
    std::array<miVector, 3> rotationGradient, translationGradient;
};

/// Records of one number of bounces, found by place. Built up by one thread between passes, and read by any
/// number without locks.
class GatherCache {
public:
    /// @param low,high bounds of all that will be added or asked for, about
    GatherCache(const miVector& low, const miVector& high);
    ~GatherCache();
    GatherCache(const GatherCache&) = delete;
    GatherCache& operator=(const GatherCache&) = delete;

    void add(const GatherRecord& record);
    /// Average radiance at a point from the records around it; false when none is near enough.
    /// @param strictness 1 uses the records' whole radius, 2 the half
    [[nodiscard]] bool find(const miVector& point, const miVector& normal, float strictness,
                            miColor& radiance) const;
    [[nodiscard]] std::size_t size() const noexcept { return records_.size(); }

private:
    struct Node;
    void add(Node& node, const miVector& low, const miVector& high, std::uint32_t record, int depth);

    miVector low_, high_; ///< a cube
    std::unique_ptr<Node> root_;
    std::vector<GatherRecord> records_;
};

/// Records made while gathering ahead, of one place in the picture.
class PendingGatherRecords {
public:
    struct Entry {
        int bounce;
        GatherRecord record;
    };
    void add(int bounce, const GatherRecord& record) { entries_.push_back({bounce, record}); }
    /// As GatherCache::find, among the few records of this place.
    [[nodiscard]] bool find(int bounce, const miVector& point, const miVector& normal, float strictness,
                            miColor& radiance) const;
    [[nodiscard]] const std::vector<Entry>& entries() const noexcept { return entries_; }

private:
    std::vector<Entry> entries_;
};

/// The caches of a picture: one for points that are seen, one for points that gather rays meet. Deeper
/// bounces share the latter, as they differ too little to tell.
class GatherCaches {
public:
    static constexpr int count = 2;
    GatherCaches(const miVector& low, const miVector& high) : caches_{{{low, high}, {low, high}}} {}

    [[nodiscard]] const GatherCache& of(int bounce) const { return caches_[bounce == 0 ? 0 : 1]; }
    /// Adds in the harvest's order. Of points that nobody sees, only records that are missing.
    void add(const PendingGatherRecords& pending);

private:
    std::array<GatherCache, count> caches_;
};

/// Strictness at which records are found missing while gathering ahead: closer than when they are used, so
/// that everywhere several overlap.
inline constexpr float strictnessAhead = 2.0f;
/// Of light that reaches the eye after another diffuse bounce, where errors average out.
inline constexpr float strictnessOfBounces = 0.6f;

} // namespace orca::render
