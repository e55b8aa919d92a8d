// SPDX-License-Identifier: Apache-2.0
#include "render/gather/gather_cache.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

namespace {

constexpr int deepestNode = 20;
/// sqrt(1 - cos 20 degrees): normals that differ by more share no record.
constexpr float normalTolerance = 0.2456f;
/// Records farther than this from the point's tangent plane, in radii, belong to another surface.
constexpr float planeTolerance = 0.1f;

miVector difference(const miVector& a, const miVector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

constexpr float unusable = 1e6f;

float channel(const miColor& c, int i) {
    return (&c.r)[i];
}

/// Error estimate of a record at a point: 0 at the record, 1 at the end of its range.
float errorEstimate(const GatherRecord& record, const miVector& point, const miVector& normal) {
    const miVector offset = difference(point, record.point);
    const float squared = mi_vector_dot(&offset, &offset);
    const float cosine = mi_vector_dot(&normal, &record.normal);
    const float turn = std::sqrt(std::max(0.0f, 1.0f - cosine)) / normalTolerance;
    const float off = 0.5f * (mi_vector_dot(&offset, &normal) + mi_vector_dot(&offset, &record.normal));
    if (std::abs(off) > planeTolerance * record.radius) return unusable;
    return std::max(std::sqrt(squared) / record.radius, turn);
}

/// Blends the records that cover a point, with weights that fall to 0 at the ends of their ranges.
///
/// Extrapolating each record to the point by its gradient (Ward and Heckbert 1992) leaves the curvature of
/// the light as a bias: -1/2 H mean(d^2) for a second derivative H and offsets d of the point from the
/// records, so that light is too bright around its maxima. Their mean without gradients, moved by the mean
/// gradient over the mean offset, has the opposite bias. Half of each leaves -1/2 H mean(d)^2, which is
/// little where records lie all around, and no more than the first for a single one.
class Blend {
public:
    Blend(const miVector& point, const miVector& normal, float strictness)
        : point_(point), normal_(normal), strictness_(strictness) {}

    void add(const GatherRecord& record) {
        const float weight = 1.0f - strictness_ * errorEstimate(record, point_, normal_);
        if (weight <= 0.0f) return;
        miVector turn;
        mi_vector_prod(&turn, &record.normal, &normal_);
        const miVector move = difference(point_, record.point);
        for (std::size_t c = 0; c < 3; ++c) {
            const miVector& slope = record.translationGradient[c];
            light_[c] += weight * (channel(record.radiance, static_cast<int>(c)) +
                                   mi_vector_dot(&turn, &record.rotationGradient[c]) +
                                   0.5f * mi_vector_dot(&move, &slope));
            addScaled(slope_[c], slope, weight);
        }
        addScaled(move_, move, weight);
        weights_ += weight;
    }
    bool mean(miColor& radiance) const {
        if (!(weights_ > 0.0f)) return false;
        const auto of = [this](std::size_t c) {
            const float halfMove = 0.5f * mi_vector_dot(&slope_[c], &move_) / weights_;
            return std::max(0.0f, (light_[c] + halfMove) / weights_);
        };
        radiance = {of(0), of(1), of(2), 1.0f};
        return true;
    }

private:
    static void addScaled(miVector& sum, const miVector& v, float f) {
        sum = {sum.x + v.x * f, sum.y + v.y * f, sum.z + v.z * f};
    }

    miVector point_, normal_;
    float strictness_;
    // Sums over the records, each with its weight.
    float weights_ = 0.0f;
    float light_[3] = {};
    miVector slope_[3] = {};
    miVector move_{};
};

} // namespace

struct GatherCache::Node {
    std::unique_ptr<Node> children[8];
    std::vector<std::uint32_t> records; // about as large as the node
};

GatherCache::GatherCache(const miVector& low, const miVector& high) : root_(std::make_unique<Node>()) {
    const miVector size = difference(high, low);
    const float edge = std::max({size.x, size.y, size.z, 1e-6f}) * 1.001f;
    low_ = low;
    high_ = {low.x + edge, low.y + edge, low.z + edge};
}

GatherCache::~GatherCache() = default;

void GatherCache::add(const GatherRecord& record) {
    records_.push_back(record);
    add(*root_, low_, high_, static_cast<std::uint32_t>(records_.size() - 1), 0);
}

void GatherCache::add(Node& node, const miVector& low, const miVector& high, std::uint32_t index, int depth) {
    const GatherRecord& record = records_[index];
    const float r = record.radius / bounceStrictness; // the largest range in which it is looked up
    if (high.x - low.x <= 2.0f * r || depth == deepestNode) {
        node.records.push_back(index);
        return;
    }
    const miVector middle = {(low.x + high.x) / 2, (low.y + high.y) / 2, (low.z + high.z) / 2};
    for (int child = 0; child < 8; ++child) {
        const miVector childLow = {child & 1 ? middle.x : low.x, child & 2 ? middle.y : low.y,
                                   child & 4 ? middle.z : low.z};
        const miVector childHigh = {child & 1 ? high.x : middle.x, child & 2 ? high.y : middle.y,
                                    child & 4 ? high.z : middle.z};
        const miVector& p = record.point;
        if (p.x + r < childLow.x || p.x - r > childHigh.x || p.y + r < childLow.y || p.y - r > childHigh.y ||
            p.z + r < childLow.z || p.z - r > childHigh.z)
            continue;
        if (!node.children[child]) node.children[child] = std::make_unique<Node>();
        add(*node.children[child], childLow, childHigh, index, depth + 1);
    }
}

bool GatherCache::find(const miVector& point, const miVector& normal, float strictness,
                       miColor& radiance) const {
    Blend blend(point, normal, strictness);
    miVector low = low_;
    miVector high = high_;
    for (const Node* node = root_.get(); node;) {
        for (const std::uint32_t index : node->records) blend.add(records_[index]);
        const miVector middle = {(low.x + high.x) / 2, (low.y + high.y) / 2, (low.z + high.z) / 2};
        const int child =
            (point.x > middle.x ? 1 : 0) | (point.y > middle.y ? 2 : 0) | (point.z > middle.z ? 4 : 0);
        (child & 1 ? low.x : high.x) = middle.x;
        (child & 2 ? low.y : high.y) = middle.y;
        (child & 4 ? low.z : high.z) = middle.z;
        node = node->children[child].get();
    }
    return blend.mean(radiance);
}

bool PendingGatherRecords::find(int bounce, const miVector& point, const miVector& normal, float strictness,
                                miColor& radiance) const {
    Blend blend(point, normal, strictness);
    for (const Entry& entry : entries_)
        if (entry.bounce == bounce) blend.add(entry.record);
    return blend.mean(radiance);
}

void GatherCaches::add(const PendingGatherRecords& pending) {
    for (const PendingGatherRecords::Entry& entry : pending.entries()) {
        const GatherRecord& record = entry.record;
        miColor known;
        if (entry.bounce > 0 && of(entry.bounce).find(record.point, record.normal, bounceStrictness, known))
            continue;
        caches_[indexOf(entry.bounce)].add(record);
    }
}

} // namespace orca::render
