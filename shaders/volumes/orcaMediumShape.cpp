// SPDX-License-Identifier: Apache-2.0
#include "orcaMediumShape.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

/// Cuts a span to where a coordinate is between -1 and 1. False: nothing is left.
bool cutToSlab(float origin, float direction, VolumeSpan& span) {
    if (direction == 0.0f) return std::abs(origin) <= 1.0f;
    const float a = (-1.0f - origin) / direction, b = (1.0f - origin) / direction;
    span.from = std::max(span.from, std::min(a, b));
    span.to = std::min(span.to, std::max(a, b));
    return span.from < span.to;
}

/// Cuts a span to where a t^2 + 2 b t + c is below 0, when that is one span. False: nothing is left.
bool cutBelowQuadratic(double a, double b, double c, VolumeSpan& span) {
    constexpr double flat = 1e-12;
    if (std::abs(a) < flat) { // a line: below 0 on one side
        if (std::abs(b) < flat) return c < 0.0;
        const auto root = static_cast<float>(-0.5 * c / b);
        (b > 0.0 ? span.to : span.from) = b > 0.0 ? std::min(span.to, root) : std::max(span.from, root);
        return span.from < span.to;
    }
    const double discriminant = b * b - a * c;
    if (discriminant <= 0.0) return a < 0.0; // nowhere, or everywhere
    const double root = std::sqrt(discriminant);
    double first = (-b - root) / a, second = (-b + root) / a;
    if (first > second) std::swap(first, second);
    if (a > 0.0) {
        span.from = std::max(span.from, static_cast<float>(first));
        span.to = std::min(span.to, static_cast<float>(second));
    } else if (span.to <= second) { // outside the roots; a span that was cut to a convex body keeps one side
        span.to = std::min(span.to, static_cast<float>(first));
    } else {
        span.from = std::max(span.from, static_cast<float>(second));
    }
    return span.from < span.to;
}

float coneRadius(float endRadius, float z) {
    return endRadius + (1.0f - endRadius) * 0.5f * (1.0f - z);
}

} // namespace

bool MediumShape::crossed(const miVector& o, const miVector& d, VolumeSpan& span) const {
    span = {0.0f, infinity};
    switch (kind) {
    case MEDIUM_BOX:
        return cutToSlab(o.x, d.x, span) && cutToSlab(o.y, d.y, span) && cutToSlab(o.z, d.z, span);
    case MEDIUM_SLAB: return cutToSlab(o.y, d.y, span);
    case MEDIUM_SPHERE: return cutBelowQuadratic(dot(d, d), dot(o, d), double{dot(o, o)} - 1.0, span);
    case MEDIUM_CONE: {
        if (!cutToSlab(o.z, d.z, span)) return false;
        const double end = std::max(0.0f, coneEndRadius), slope = 0.5 * (end - 1.0);
        const double radius = 0.5 * (end + 1.0) + slope * o.z, widening = slope * d.z;
        const double across = double{d.x} * d.x + double{d.y} * d.y;
        const double inward = double{o.x} * d.x + double{o.y} * d.y;
        const double away = double{o.x} * o.x + double{o.y} * o.y;
        return cutBelowQuadratic(across - widening * widening, inward - widening * radius,
                                 away - radius * radius, span);
    }
    default: return true;
    }
}

miScalar MediumShape::depthAt(const miVector& p) const {
    switch (kind) {
    case MEDIUM_BOX: return std::max(0.0f, 1.0f - std::max({std::abs(p.x), std::abs(p.y), std::abs(p.z)}));
    case MEDIUM_SLAB: return std::max(0.0f, 1.0f - std::abs(p.y));
    case MEDIUM_SPHERE: return std::max(0.0f, 1.0f - length(p));
    case MEDIUM_CONE: {
        const float radius = std::max(coneRadius(std::max(0.0f, coneEndRadius), p.z), 1e-12f);
        const float fromSide = 1.0f - std::hypot(p.x, p.y) / radius;
        return std::max(0.0f, std::min(fromSide, 1.0f - std::abs(p.z)));
    }
    default: return 1.0f;
    }
}
