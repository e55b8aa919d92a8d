// SPDX-License-Identifier: Apache-2.0
#include "orcaAreaLight.h"

#include "orcaConstants.h"
#include "orcaVector.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>

namespace {

/// In double precision: small and distant lights are sums of edges that nearly cancel.
struct Corner {
    double x, y, z;
};

Corner operator-(const Corner& a, const Corner& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Corner operator+(const Corner& a, const Corner& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
Corner operator*(const Corner& a, double f) {
    return {a.x * f, a.y * f, a.z * f};
}
double dot(const Corner& a, const Corner& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
Corner cross(const Corner& a, const Corner& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double length(const Corner& a) {
    return std::sqrt(dot(a, a));
}
Corner cornerOf(const miVector& v) {
    return {v.x, v.y, v.z};
}

/// Angle over its sine, of an angle between 0 and pi.
double angleOverSine(double sine, double cosine) {
    const double x = sine * sine;
    constexpr double nearlyStraight = 0.04; // the next term of the arc sine's series is 1e-9 of the sum
    if (x < nearlyStraight && cosine > 0.0)
        return 1.0 +
               x * (1.0 / 6 + x * (3.0 / 40 + x * (15.0 / 336 + x * (105.0 / 3456 + x * (945.0 / 42240)))));
    return std::atan2(sine, cosine) / sine;
}

/// Directions of a convex polygon's corners from the point that it is seen from, unit length.
class Outline {
public:
    Outline(const miVector& point, const AreaLightRecord& light)
        : center_(cornerOf(light.center) - cornerOf(point)) {
        const Corner u = cornerOf(light.edgeU), v = cornerOf(light.edgeV), normal = cross(u, v);
        if (light.shape == AREA_DISC) {
            addEllipse(u, v, normal);
        } else {
            for (const auto& [s, t] : {std::pair(-1, -1), {1, -1}, {1, 1}, {-1, 1}})
                add(center_ + u * s + v * t);
        }
        if (dot(normal, center_) < 0.0) std::reverse(corners_.begin(), corners_.begin() + count_);
    }

    /// Van Oosterom and Strackee, "The Solid Angle of a Plane Triangle" (1983), over a fan of triangles,
    /// whose half angles are added as those of complex numbers are when these are multiplied.
    [[nodiscard]] double solidAngle() const {
        double real = 1.0, imaginary = 0.0;
        const Corner& a = at(0);
        for (int i = 1; i + 1 < count_; ++i) {
            const Corner &b = at(i), &c = at(i + 1);
            const double x = 1.0 + dot(a, b) + dot(b, c) + dot(c, a), y = std::abs(dot(a, cross(b, c)));
            const double before = real;
            real = before * x - imaginary * y;
            imaginary = before * y + imaginary * x;
        }
        return 2.0 * std::atan2(imaginary, real);
    }
    /// Integral of the direction over the solid angle.
    [[nodiscard]] Corner flux() const {
        Corner sum{0.0, 0.0, 0.0};
        for (int i = 0; i < count_; ++i) {
            const Corner &a = at(i), &b = at((i + 1) % count_), across = cross(a, b);
            const double sine = length(across);
            if (sine > 0.0) sum = sum + across * (0.5 * angleOverSine(sine, dot(a, b)));
        }
        return sum;
    }
    /// Leaves the part in front of the plane through the point. False when nothing is left.
    bool clip(const Corner& normal) {
        const Outline whole = *this;
        count_ = 0;
        for (int i = 0; i < whole.count_; ++i) {
            const Corner &a = whole.at(i), &b = whole.at((i + 1) % whole.count_);
            const double heightA = dot(normal, a), heightB = dot(normal, b);
            if (heightA >= 0.0) add(a);
            if ((heightA < 0.0) != (heightB < 0.0)) add(a + (b - a) * (heightA / (heightA - heightB)));
        }
        return count_ >= 3;
    }
    /// Smallest and largest cosine of the corners with an axis.
    [[nodiscard]] std::pair<double, double> cosines(const Corner& axis) const {
        std::pair range(1.0, -1.0);
        for (int i = 0; i < count_; ++i) {
            const double cosine = dot(axis, at(i));
            range = {std::min(range.first, cosine), std::max(range.second, cosine)};
        }
        return range;
    }

private:
    static constexpr int mostOfEllipse = 128;

    void add(const Corner& corner) {
        const double distance = length(corner);
        corners_[static_cast<size_t>(count_++)] = corner * (distance > 0.0 ? 1.0 / distance : 0.0);
    }
    [[nodiscard]] const Corner& at(int i) const { return corners_[static_cast<size_t>(i)]; }

    /// A regular polygon of the ellipse's area, with edges no longer than the distance to the rim: from there
    /// the parts of it inside and outside the ellipse cancel.
    void addEllipse(const Corner& u, const Corner& v, const Corner& normal) {
        constexpr int leastOfEllipse = 16;
        const double uu = dot(u, u), vv = dot(v, v), area = length(normal);
        const double height = area > 0.0 ? dot(center_, normal) / (area * std::sqrt(std::max(uu, vv))) : 0.0;
        const double fromAxis =
            std::hypot(uu > 0.0 ? dot(center_, u) / uu : 0.0, vv > 0.0 ? dot(center_, v) / vv : 0.0);
        const double fromRim = std::max(1e-3, std::hypot(height, fromAxis - 1.0)); // in radii
        constexpr double turn = 2.0 * std::numbers::pi;
        const int corners = static_cast<int>(
            std::clamp(std::ceil(turn / fromRim), double{leastOfEllipse}, double{mostOfEllipse}));
        const double step = turn / corners;
        const double radius = std::sqrt(step / std::sin(step));
        const double c = std::cos(step), s = std::sin(step);
        double x = radius, y = 0.0;
        for (int i = 0; i < corners; ++i) {
            add(center_ + u * x + v * y);
            const double turned = c * x - s * y;
            y = s * x + c * y;
            x = turned;
        }
    }

    Corner center_;
    std::array<Corner, mostOfEllipse + 1> corners_; // clipping adds one
    int count_ = 0;
};

/// Below it one direction represents the light: too small, or seen edge on.
constexpr double leastSolidAngle = 1e-12;

miScalar cosineToCenter(const miVector& point, const miVector& axis, const AreaLightRecord& light) {
    return dot(axis, normalized(light.center - point));
}

bool same(const miVector& a, const miVector& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

} // namespace

miScalar solidAngleOfAreaLight(const miVector& point, const AreaLightRecord& light) {
    return static_cast<miScalar>(Outline(point, light).solidAngle());
}

miScalar meanCosineToAreaLight(const miVector& point, const miVector& axis, const AreaLightRecord& light) {
    const Outline outline(point, light);
    const double angle = outline.solidAngle();
    if (angle < leastSolidAngle) return cosineToCenter(point, axis, light);
    return static_cast<miScalar>(dot(cornerOf(axis), outline.flux()) / angle);
}

miScalar receivedCosineOfAreaLight(const miVector& point, const miVector& normal,
                                   const AreaLightRecord& light) {
    Outline outline(point, light);
    const double angle = outline.solidAngle();
    if (angle < leastSolidAngle) return cosineToCenter(point, normal, light);
    const Corner axis = cornerOf(normal);
    const auto [least, largest] = outline.cosines(axis);
    if (!(largest > 0.0) || (least < 0.0 && !outline.clip(axis)))
        return static_cast<miScalar>(std::min(largest, 0.0));
    return static_cast<miScalar>(dot(axis, outline.flux()) / angle);
}

float arealight_lambertian_reflect(miState* state, const miVector* direction, const AreaLightRecord* light) {
    return same(*direction, state->dir) ? meanCosineToAreaLight(state->point, state->dir, *light)
                                        : receivedCosineOfAreaLight(state->point, state->normal, *light);
}

void arealight_max_phong_spec_dir(miVector* result, miState* state, const miVector* mirror,
                                  const AreaLightRecord* light) {
    const miVector normal = cross(light->edgeU, light->edgeV);
    const miVector toCenter = light->center - state->point;
    const float slope = dot(*mirror, normal);
    const float t = std::abs(slope) < VELA_EPS ? 0.0f : dot(toCenter, normal) / slope;
    // Mirror rays that miss the light's plane take the point of theirs that is nearest to the light's centre.
    const float along = t > 0.0f ? t : std::max(0.0f, dot(toCenter, *mirror));
    const miVector onPlane = *mirror * along - toCenter;
    const auto shareOf = [&](const miVector& edge) {
        const float squared = dot(edge, edge);
        return squared == 0.0f ? 0.0f : dot(onPlane, edge) / squared;
    };
    float u = shareOf(light->edgeU), v = shareOf(light->edgeV);
    if (light->shape == AREA_DISC) {
        const float beyond = std::max(1.0f, std::hypot(u, v));
        u /= beyond;
        v /= beyond;
    } else {
        u = std::clamp(u, -1.0f, 1.0f);
        v = std::clamp(v, -1.0f, 1.0f);
    }
    *result = normalized(toCenter + light->edgeU * u + light->edgeV * v);
}
