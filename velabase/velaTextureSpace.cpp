// SPDX-License-Identifier: Apache-2.0
#include "velaTextureSpace.h"

#include "orcaConstants.h"
#include "orcaVector.h"
#include "orcaVelaState.h"

namespace {

constexpr float mostGrazing = 1.0f / 64.0f; // footprints are at most 64 times as long as wide

/// Step in texture space of a step along the surface.
miVector inTexture(const miState* state, const miVector& step) {
    const miVector &u = state->derivs[0], &v = state->derivs[1];
    const float uu = dot(u, u), uv = dot(u, v), vv = dot(v, v);
    const float determinant = uu * vv - uv * uv;
    if (!(determinant > 1e-12f * uu * vv)) return {0.0f, 0.0f, 0.0f};
    const float alongU = dot(step, u), alongV = dot(step, v);
    return {(alongU * vv - alongV * uv) / determinant, (alongV * uu - alongU * uv) / determinant, 0.0f};
}

} // namespace

miVector TextureFootprint::box() const {
    return {std::abs(x.x) + std::abs(y.x), std::abs(x.y) + std::abs(y.y), 0.0f};
}

TextureFootprint surfaceFootprint(miState* state) {
    const VelabaseState* const vela = velabaseState(state);
    if (!vela || !vela->filterEnabled || state->instance == miNULLTAG || isNull(state->derivs[0]) ||
        isNull(state->derivs[1]))
        return {};
    // The filter size is the footprint's length along the view; its width leaves the facing ratio out.
    const float facing = std::max(std::abs(dot(state->normal_geom, state->dir)), mostGrazing);
    const float width = vela->footprint.screen.x * std::max(std::abs(state->dot_nd), VELA_EPS);
    const miVector across = cross(state->normal_geom, state->dir);
    if (dot(across, across) < 1e-10f) {
        const miVector u = normalized(state->derivs[0]);
        return {inTexture(state, u * width), inTexture(state, cross(state->normal_geom, u) * width)};
    }
    const miVector side = normalized(across);
    return {inTexture(state, cross(side, state->normal_geom) * (width / facing)),
            inTexture(state, side * width)};
}

ShiftedHit::ShiftedHit(miState* state, const miVector& uvStep)
    : state_(state),
      point_(state->point),
      coordinate_(state->tex_list ? state->tex_list[0] : miVector{0.0f, 0.0f, 0.0f}) {
    state->point = state->point + state->derivs[0] * uvStep.x + state->derivs[1] * uvStep.y;
    if (state->tex_list) state->tex_list[0] = coordinate_ + miVector{uvStep.x, uvStep.y, 0.0f};
    mi_flush_cache(state);
}

ShiftedHit::~ShiftedHit() {
    state_->point = point_;
    if (state_->tex_list) state_->tex_list[0] = coordinate_;
    mi_flush_cache(state_);
}
