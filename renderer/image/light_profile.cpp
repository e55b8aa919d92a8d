// SPDX-License-Identifier: Apache-2.0
#include "image/light_profile.h"

#include <algorithm>
#include <cmath>

namespace orca::image {

namespace {

using Between = LightProfile::Between;

constexpr float degrees = 57.2957795f;

float wrapped(float angle) {
    return angle - 360.0f * std::floor(angle / 360.0f);
}

/// An interval of increasing angles and a place in it.
struct Interval {
    std::size_t lower;
    float share; ///< 0 at the lower end, 1 at the upper one
};

Interval intervalOf(const std::vector<float>& angles, float angle) {
    if (angles.size() < 2) return {0, 0.0f};
    const auto above = std::upper_bound(angles.begin() + 1, angles.end() - 1, angle);
    const auto lower = static_cast<std::size_t>(above - angles.begin()) - 1;
    const float share = (angle - angles[lower]) / (angles[lower + 1] - angles[lower]);
    return {lower, std::clamp(share, 0.0f, 1.0f)};
}

/// Between b and c by the cubic whose slopes are those of the chords round each (E. Catmull, R. Rom, 1974);
/// no light is less than none.
float cubic(float a, float b, float c, float d, float share) {
    const float squared = share * share, cubed = squared * share;
    return std::max(0.0f,
                    0.5f * (2.0f * b + (c - a) * share + (2.0f * a - 5.0f * b + 4.0f * c - d) * squared +
                            (3.0f * b - a - 3.0f * c + d) * cubed));
}

/// `value(i)` of the entry i steps after the lower end of the interval, from -1 to 2.
template <class Value>
float interpolated(float share, Between between, const Value& value) {
    switch (between) {
    case Between::Nearest: return value(share < 0.5f ? 0 : 1);
    case Between::Cubic: return cubic(value(-1), value(0), value(1), value(2), share);
    default: return (1.0f - share) * value(0) + share * value(1);
    }
}

} // namespace

LightProfile::LightProfile(Table table) : table_(std::move(table)) {
    const float strongest = *std::max_element(table_.candela.begin(), table_.candela.end());
    if (strongest > 0.0f)
        for (float& each : table_.candela) each = std::max(0.0f, each / strongest);
    wraps_ = table_.axes == Axes::C && table_.symmetry == Symmetry::None && table_.horizontal.size() > 1;
    // The plane that closes the circle may be left out.
    if (wraps_ && table_.horizontal.back() < table_.horizontal.front() + 359.5f) {
        const std::vector<float> first(table_.candela.begin(),
                                       table_.candela.begin() +
                                           static_cast<std::ptrdiff_t>(table_.vertical.size()));
        table_.horizontal.push_back(table_.horizontal.front() + 360.0f);
        table_.candela.insert(table_.candela.end(), first.begin(), first.end());
    }
}

LightProfile::Angles LightProfile::anglesOf(const miVector& direction) const {
    const float length = mi_vector_norm(&direction);
    if (length == 0.0f) return {0.0f, 0.0f};
    const float x = direction.x / length, y = direction.y / length, z = direction.z / length;
    const auto arcSine = [](float sine) { return std::asin(std::clamp(sine, -1.0f, 1.0f)) * degrees; };
    switch (table_.axes) {
    case Axes::A: return {arcSine(y), std::atan2(x, -z) * degrees};
    case Axes::B: return {std::atan2(y, -z) * degrees, arcSine(x)};
    default:
        return {std::acos(std::clamp(-z, -1.0f, 1.0f)) * degrees,
                x == 0.0f && y == 0.0f ? 0.0f : std::atan2(y, x) * degrees};
    }
}

float LightProfile::folded(float horizontal) const {
    if (table_.clockwise) horizontal = -horizontal;
    if (table_.axes != Axes::C) return table_.horizontal.front() >= 0.0f ? std::abs(horizontal) : horizontal;
    horizontal = wrapped(horizontal);
    switch (table_.symmetry) {
    case Symmetry::Half: return horizontal > 180.0f ? 360.0f - horizontal : horizontal;
    case Symmetry::HalfAside:
        if (horizontal < 90.0f) return 180.0f - horizontal;
        return horizontal > 270.0f ? 540.0f - horizontal : horizontal;
    case Symmetry::Quarter:
        horizontal = horizontal > 180.0f ? 360.0f - horizontal : horizontal;
        return horizontal > 90.0f ? 180.0f - horizontal : horizontal;
    default: return horizontal < table_.horizontal.front() ? horizontal + 360.0f : horizontal;
    }
}

float LightProfile::inPlane(std::size_t plane, float vertical, Between between) const {
    const float* const values = table_.candela.data() + plane * table_.vertical.size();
    const auto last = static_cast<std::ptrdiff_t>(table_.vertical.size()) - 1;
    const Interval interval = intervalOf(table_.vertical, vertical);
    return interpolated(interval.share, between, [&](int step) {
        return values[std::clamp(static_cast<std::ptrdiff_t>(interval.lower) + step, std::ptrdiff_t{0},
                                 last)];
    });
}

float LightProfile::toward(const miVector& direction, Between between) const {
    Angles angles = anglesOf(direction);
    if (table_.axes != Axes::C && table_.vertical.front() >= 0.0f)
        angles.vertical = std::abs(angles.vertical);
    constexpr float rounding = 1e-3f; // of angles that were computed from directions
    if (angles.vertical < table_.vertical.front() - rounding ||
        angles.vertical > table_.vertical.back() + rounding)
        return 0.0f;
    if (table_.horizontal.size() < 2) return inPlane(0, angles.vertical, between);

    const Interval interval = intervalOf(table_.horizontal, folded(angles.horizontal));
    const auto last = static_cast<std::ptrdiff_t>(table_.horizontal.size()) - 1;
    return interpolated(interval.share, between, [&](int step) {
        std::ptrdiff_t plane = static_cast<std::ptrdiff_t>(interval.lower) + step;
        // The last plane of a circle is the first again.
        if (wraps_) plane = (plane + last) % last;
        return inPlane(static_cast<std::size_t>(std::clamp(plane, std::ptrdiff_t{0}, last)), angles.vertical,
                       between);
    });
}

} // namespace orca::image
