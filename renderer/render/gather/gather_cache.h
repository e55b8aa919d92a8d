// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace orca::render {

/// Radiance gathered at one point, from which points nearby are interpolated (G. Ward, F. Rubinstein and R.
/// Clear, "A Ray Tracing Solution for Diffuse Interreflection", 1988). Internal space.
struct GatherRecord {
    miVector point, normal; ///< normal: unit, axis of the hemisphere
    float radius;           ///< of the ball where the record may be used
    miColor radiance;       ///< average over the hemisphere
    /// Gradients per channel by rotation of the normal, about an axis, and by translation of the point (G.
    /// Ward and P. Heckbert, "Irradiance Gradients", 1992).
    std::array<miVector, 3> rotationGradient, translationGradient;
};

/// Records of one number of bounces in an octree. Filled by one thread between passes, and read by any number
/// of threads without locks.
class GatherCache {
public:
    /// @param low,high approximate bounds of the records and of the points to look up
    GatherCache(const miVector& low, const miVector& high);
    ~GatherCache();
    GatherCache(const GatherCache&) = delete;
    GatherCache& operator=(const GatherCache&) = delete;

    void add(const GatherRecord& record);
    /// Average radiance at a point, interpolated from the records that cover it; false when none does.
    /// @param strictness 1 uses the records' whole radius, 2 half of it
    [[nodiscard]] bool find(const miVector& point, const miVector& normal, float strictness,
                            miColor& radiance) const;
    /// In the order in which they were added.
    [[nodiscard]] const std::vector<GatherRecord>& records() const noexcept { return records_; }

private:
    struct Node;
    void add(Node& node, const miVector& low, const miVector& high, std::uint32_t record, int depth);

    miVector low_, high_; // a cube
    std::unique_ptr<Node> root_;
    std::vector<GatherRecord> records_;
};

/// New records of one point of the prepass, until the caches take them in.
class PendingGatherRecords {
public:
    struct Entry {
        int bounce;
        GatherRecord record;
    };
    void add(int bounce, const GatherRecord& record) { entries_.push_back({bounce, record}); }
    /// As GatherCache::find, among these few records.
    [[nodiscard]] bool find(int bounce, const miVector& point, const miVector& normal, float strictness,
                            miColor& radiance) const;
    [[nodiscard]] const std::vector<Entry>& entries() const noexcept { return entries_; }

private:
    std::vector<Entry> entries_;
};

/// The caches of a picture: one for points that the camera sees, and one for each further bounce of light,
/// since a record holds the light of the bounces that are left at its point. The deepest bounces share one.
class GatherCaches {
public:
    static constexpr int count = 5;
    GatherCaches(const miVector& low, const miVector& high)
        : caches_{{{low, high}, {low, high}, {low, high}, {low, high}, {low, high}}} {}

    [[nodiscard]] const GatherCache& of(int bounce) const { return caches_[indexOf(bounce)]; }
    /// Adds records in their order; of bounces only those at points that no record covers yet.
    void add(const PendingGatherRecords& pending);

    /// @param cache 0 to count - 1
    [[nodiscard]] const std::vector<GatherRecord>& records(int cache) const {
        return caches_[static_cast<std::size_t>(cache)].records();
    }
    /// Adds a record of caches that were kept, in their order.
    void restore(int cache, const GatherRecord& record) {
        caches_[static_cast<std::size_t>(cache)].add(record);
    }

private:
    static std::size_t indexOf(int bounce) { return static_cast<std::size_t>(std::min(bounce, count - 1)); }

    std::array<GatherCache, count> caches_;
};

/// Strictness of the prepass: higher than when records are used, so that several overlap everywhere.
inline constexpr float prepassStrictness = 2.0f;
/// Strictness at bounces: errors of light that reaches the eye after another diffuse bounce average out.
inline constexpr float bounceStrictness = 0.6f;

} // namespace orca::render
