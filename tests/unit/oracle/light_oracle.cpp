// SPDX-License-Identifier: Apache-2.0
#include "oracle/light_oracle.h"

#include <cmath>

namespace reference {

namespace {

class LightReference {
public:
    explicit LightReference(const LightScenario& c) : c_(c), p_(c.point) {}

    LightOutcome run() {
        out_.lightRay = c_.rayType == miRAY_LIGHT;
        const V3 place = c_.place, origin = c_.origin;
        direction_ = unit(place - origin);
        if (c_.directional) {
            if (c_.directionalOwn.useLightPosition && dot(direction_, V3(c_.lightOrigin) - place) > 0) {
                out_.lit = false;
                return out_;
            }
        } else if (c_.area == 1 || c_.area == 2) {
            const V3 n = c_.area == 1 ? cross(V3(c_.edgeU), c_.edgeV) : V3(c_.discNormal);
            const double d = dot(direction_, n);
            if (out_.lightRay ? d <= 0 : d >= 0) {
                out_.lit = !out_.lightRay;
                out_.result = {0, 0, 0, 1};
                return out_;
            }
        }
        texture();
        double strength = p_.intensity;
        if (!c_.directional) strength *= c_.fog ? fogDensity() : decay();
        Rgba light = rgbWith(Rgba(p_.color) * strength, p_.color.a);
        out_.unshadowed = light;
        if (!out_.lightRay && !c_.directional) {
            out_.result = rgbWith(light, 1);
            return out_;
        }
        shadows(light, strength);
        return out_;
    }

private:
    void texture() {
        const V3 p = V3(c_.place) - V3(c_.lightOrigin);
        if (c_.directional) {
            out_.texture = p;
            return;
        }
        constexpr double pi = 3.1415927f;
        const double flat = std::hypot(p.x, p.z);
        out_.texture = {std::abs(p.z) < epsilon ? 0.5 : std::atan2(p.x, p.z) * 0.5 / pi + 0.5,
                        flat < epsilon ? 0.5 : std::atan(p.y / flat) / pi + 0.5, p.z};
    }
    [[nodiscard]] double decay() const {
        if (c_.distance <= 1 || p_.decayRate < 1 || p_.decayRate > 3) return 1;
        return std::pow(c_.distance, -p_.decayRate);
    }
    [[nodiscard]] double fogDensity() const {
        const double f = 0.5 * c_.parentDistance, R = p_.fogRadius;
        double x = 1;
        if (f <= R) {
            x = f / (R + R * R - f * f);
            switch (p_.fogType) {
            case 0: x = p_.decayRate == 3 ? x * x * x : p_.decayRate == 2 ? x * x : x; break;
            case 1:
                if (p_.decayRate > 1) x = 1 - std::pow(1 - x, 1.0 / p_.decayRate);
                x *= x;
                break;
            case 2:
                x = 1 - std::pow(std::max(0.0, 1 - x), 1.0 / (p_.decayRate + 2));
                x *= x;
                break;
            default: break;
            }
        }
        return x * p_.fogIntensity;
    }

    void shadows(Rgba light, double strength) {
        const double m = largest(c_.throughput);
        const auto flags = [](std::size_t i) {
            return flagsInRender(lightPasses[i].type, lightPasses[i].flags);
        };
        if (m > c_.cutoff && !c_.skipShadows && c_.parentType != miRAY_SHADOW) {
            const bool rayTraced = p_.useRayTraceShadows && c_.rayTracing && p_.shadowRays != 0 &&
                                   c_.level < std::min(p_.rayDepthLimit, c_.maxTraceDepth);
            if (p_.useDepthMapShadows && c_.shadowMaps) {
                const Rgba t = c_.occluder(c_.origin, direction_);
                out_.shadowRays = 1;
                const bool arrives = !blocked(t);
                const Rgba shadow = rgbWith(Rgba(p_.shadowColor) * strength, p_.shadowColor.a);
                // One transmission serves all records; a blocked ray has none.
                for (std::size_t i = 0; i < lightPasses.size(); ++i)
                    out_.delivered.push_back(
                        delivered(flags(i), admits(i), light, shadow, arrives ? t : Rgba{}));
                blend(light, shadow, t, arrives);
                return;
            }
            if (rayTraced) {
                out_.volumeKept = true;
                const Rgba shadow = p_.shadowColor;
                double extent = c_.directional ? c_.directionalOwn.lightAngle : p_.lightRadius;
                if (c_.moving) extent = 0;
                if (extent > 0) {
                    softShadow(light, shadow, extent, m);
                    return;
                }
                const Rgba t = c_.occluder(c_.origin, direction_);
                out_.shadowRays = 1;
                for (std::size_t i = 0; i < lightPasses.size(); ++i)
                    out_.delivered.push_back(
                        delivered(flags(i), admits(i), light, shadow, recordTransmission(i, t)));
                blend(light, shadow, t, !blocked(t));
                return;
            }
        }
        for (std::size_t i = 0; i < lightPasses.size(); ++i)
            out_.delivered.push_back(admits(i) && !(flags(i) & FB_SHADOW_ONLY) ? rgbWith(light, 1)
                                                                               : Rgba{0, 0, 0, 1});
        out_.result = light;
    }

    void softShadow(Rgba light, Rgba shadow, double extent, double m) {
        const V3 place = c_.place, origin = c_.origin;
        int n = p_.shadowRays;
        if (m < c_.upper)
            n = static_cast<int>((n * (m - c_.cutoff) - (m - c_.upper)) / ((m - c_.cutoff) - (m - c_.upper)));
        const V3 axis = c_.directional ? direction_ * -1.0 : direction_;
        const V3 centre = c_.directional ? place + axis * (1 / std::tan(extent * 3.1415927 / 180)) : origin;
        const double radius = c_.directional ? 1 : std::max(extent, 0.0001);
        const double offset = dot(axis, centre);
        const V3 onAxis = axis.x != 0   ? V3{offset / axis.x, 0, 0}
                          : axis.y != 0 ? V3{0, offset / axis.y, 0}
                                        : V3{0, 0, offset / axis.z};
        const V3 e1 = unit(onAxis - centre), e2 = unit(cross(axis, e1));

        Rgba sum[2];
        std::vector<Rgba> gathered(lightPasses.size());
        int divisor = n;
        bool two = false;
        for (int pass = 0; pass < 2; ++pass) {
            int partly = 0;
            for (int i = 1; i <= n; ++i) {
                const auto sample = static_cast<std::size_t>(i);
                const double r = radius * std::sqrt(radicalInverse(sample, 2));
                const double angle = radicalInverse(sample, 3) * 6.2831855;
                const V3 d = centre + e1 * (r * std::cos(angle)) + e2 * (r * std::sin(angle));
                const Rgba t = c_.occluder(c_.directional ? origin : d, unit(place - d));
                ++out_.shadowRays;
                for (std::size_t k = 0; k < lightPasses.size(); ++k)
                    gathered[k] = gathered[k] + recordTransmission(k, t);
                if (blocked(t)) continue;
                sum[pass] = sum[pass] + t;
                partly += t.r != 1 || t.g != 1 || t.b != 1;
            }
            sum[pass] = sum[pass] * (1.0 / n);
            const bool mixed = partly != 0 && partly != n;
            if (pass == 0) {
                if (!mixed) {
                    divisor = n;
                    break;
                }
                n *= 4;
                two = true;
                continue;
            }
            if (mixed) n *= 4;
            divisor = n + n / 4;
        }
        const Rgba t = two ? sum[0] * 0.2 + sum[1] * 0.8 : sum[0];
        for (std::size_t i = 0; i < lightPasses.size(); ++i) {
            const unsigned shadowOnly =
                flagsInRender(lightPasses[i].type, lightPasses[i].flags) & FB_SHADOW_ONLY;
            // Whether a record wants shadows at all is not asked.
            out_.delivered.push_back(
                delivered(FB_SHADOWED | shadowOnly, admits(i), light, shadow, gathered[i] * (1.0 / divisor)));
        }
        blend(light, shadow, t, !blocked(t));
    }

    void blend(Rgba light, Rgba shadow, Rgba t, bool arrives) {
        if (!arrives) {
            out_.result = shadow;
            out_.shadowFraction = 1;
            return;
        }
        out_.result = light * t + (grey(1) - t) * shadow;
        out_.shadowFraction = 1 - (t.r + t.g + t.b) / 3;
    }
    static bool blocked(Rgba t) { return t.r < epsilon && t.g < epsilon && t.b < epsilon; }
    [[nodiscard]] bool admits(std::size_t i) const { return reference::admits(c_.mask, i); }

    const LightScenario& c_;
    const PointLightParameters& p_;
    V3 direction_;
    LightOutcome out_;
};

} // namespace

LightOutcome light(const LightScenario& c) {
    return LightReference(c).run();
}

} // namespace reference
