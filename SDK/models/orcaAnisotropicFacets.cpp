// SPDX-License-Identifier: Apache-2.0
#include "orcaAnisotropicFacets.h"

#include "orcaVector.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr miVector nowhere{0.0f, 0.0f, 0.0f};

/// How many facets hide a visible one, seen from a direction at `cosine` to the normal (Smith's Lambda).
float hiddenPerVisible(const AnisotropicFacets& f, const miVector& direction, float cosine) {
    const float along = dot(direction, f.along) * f.alphaAlong;
    const float across = dot(direction, f.across) * f.alphaAcross;
    const float widthTimesSine = std::sqrt(along * along + across * across);
    const float a = cosine / std::max(widthTimesSine, 1e-12f);
    if (a > 4.0f) return 0.0f; // less than 1e-9
    const float lambda = 0.5f * (std::exp(-a * a) / (a * std::sqrt(std::numbers::pi_v<float>)) - erffc(a));
    return std::max(lambda, 0.0f);
}

} // namespace

float compute_anisotropic_specular(const AnisotropicFacets* facets, const miVector* light, miState* state) {
    const AnisotropicFacets& f = *facets;
    const miVector view = -state->dir;
    const float nDotL = dot(f.normal, *light);
    const float nDotV = dot(f.normal, view);
    if (!(nDotL > 0.0f) || !(nDotV > 0.0f)) return 0.0f;

    const miVector half = normalized(*light + view);
    const float cosine = dot(f.normal, half);
    if (!(cosine > 0.0f)) return 0.0f;
    const float squared = cosine * cosine;
    const float along = dot(half, f.along) / f.alphaAlong;
    const float across = dot(half, f.across) / f.alphaAcross;
    const float density = std::exp(-(along * along + across * across) / squared) /
                          (f.alphaAlong * f.alphaAcross * squared * squared); // times pi

    const float hidden = hiddenPerVisible(f, view, nDotV) + hiddenPerVisible(f, *light, nDotL);
    return density / (4.0f * nDotV * (1.0f + hidden));
}

float compute_anisotropic_reflectivity(float cosine, float index) {
    const float c = std::min(std::abs(cosine), 1.0f);
    const float n = std::max(index, 1.0f);
    const float g = std::sqrt(n * n - 1.0f + c * c);
    if (g + c == 0.0f) return 1.0f;
    const float away = (g - c) / (g + c);
    // g is at least c, so this denominator is at least 1.
    const float ratio = (c * (g + c) - 1.0f) / (c * (g - c) + 1.0f);
    return 0.5f * away * away * (1.0f + ratio * ratio);
}

float erffc(float x) {
    return std::erfc(x);
}

miBoolean get_derivs(miState* state, miVector* dPdu, miVector* dPdv) {
    const auto take = [&](const miVector& u, const miVector& v) {
        if (isNull(u) || isNull(v)) return miFALSE;
        *dPdu = u;
        *dPdv = v;
        return miTRUE;
    };
    if (take(state->derivs[0], state->derivs[1])) return miTRUE;
    if (state->bump_x_list && state->bump_y_list && take(*state->bump_x_list, *state->bump_y_list))
        return miTRUE;
    *dPdu = *dPdv = nowhere;
    return miFALSE;
}

AnisotropicFacets anisotropicFacets(miState* state, miScalar angle, miScalar alphaAlong,
                                    miScalar alphaAcross) {
    AnisotropicFacets f{state->normal, {}, {}, alphaAlong, alphaAcross};
    miVector u, v;
    miVector tangent = nowhere;
    if (get_derivs(state, &u, &v)) {
        u = normalized(u);
        tangent = u - f.normal * dot(u, f.normal);
    }
    if (length(tangent) > 1e-3f) {
        u = normalized(tangent);
        v = cross(f.normal, u);
    } else {
        orthonormalBasis(f.normal, u, v);
    }
    const float turn = angle * (std::numbers::pi_v<float> / 180.0f);
    f.along = u * std::cos(turn) + v * std::sin(turn);
    f.across = v * std::cos(turn) - u * std::sin(turn);
    return f;
}
