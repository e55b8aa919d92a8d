// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaLight.h"

#include "orcaVector.h"

#include <cmath>
#include <numbers>

namespace {

/// The light that the state's instance places; null without one.
miTag lightOf(miState* state) {
    miTag light = miNULLTAG;
    return mi_query(miQ_INST_ITEM, nullptr, state->light_instance, &light) ? light : miNULLTAG;
}

/// Normal of the light's area in light space; false for a shape without one.
bool areaNormal(miTag light, miVector& normal) {
    int shape = miLIGHT_NONE;
    if (!mi_query(miQ_LIGHT_AREA, nullptr, light, &shape)) return false;
    if (shape == miLIGHT_DISC) return mi_query(miQ_LIGHT_AREA_D_NORMAL, nullptr, light, &normal) != 0;
    if (shape != miLIGHT_RECTANGLE) return false;
    miVector u, v;
    if (!mi_query(miQ_LIGHT_AREA_R_EDGE_U, nullptr, light, &u)) return false;
    if (!mi_query(miQ_LIGHT_AREA_R_EDGE_V, nullptr, light, &v)) return false;
    normal = cross(u, v);
    return true;
}

} // namespace

bool light_backside_hit(miState* state) {
    miVector normal;
    const miTag light = lightOf(state);
    if (light == miNULLTAG || !areaNormal(light, normal)) return false;
    mi_vector_from_light(state, &normal, &normal);
    const float d = dot(state->dir, normal);
    return state->type == miRAY_LIGHT ? d <= 0.0f : d >= 0.0f;
}

LightTextureSpace::LightTextureSpace(miState* state, VelabaseState& vela, const miVector& coordinate)
    : vela_(vela), unfilteredBefore_((vela.flags & VELA_BIT_NOAF) != 0) {
    vela_.flags |= VELA_BIT_NOAF;
    if (!state->tex_list) return;
    coordinate_.emplace(state->tex_list[0]);
    state->tex_list[0] = coordinate;
}

LightTextureSpace::~LightTextureSpace() {
    if (!unfilteredBefore_) vela_.flags &= ~VELA_BIT_NOAF;
}

miVector sphericalCoordinate(const miVector& p) {
    constexpr float pi = std::numbers::pi_v<float>;
    const float fromAxis = std::hypot(p.x, p.z);
    const float u = std::abs(p.z) < VELA_EPS ? 0.5f : std::atan2(p.x, p.z) * 0.5f / pi + 0.5f;
    const float v = fromAxis < VELA_EPS ? 0.5f : std::atan(p.y / fromAxis) / pi + 0.5f;
    return {u, v, p.z};
}

miVector originInLight(miState* state) {
    miVector origin{0.0f, 0.0f, 0.0f};
    const miTag light = lightOf(state);
    if (light != miNULLTAG && !mi_query(miQ_LIGHT_ORIGIN, nullptr, light, &origin)) origin = {};
    return origin;
}

miVector axisInLight(miState* state) {
    const miVector downwards{0.0f, 0.0f, -1.0f};
    const miTag light = lightOf(state);
    int type = miLIGHT_ORIGIN;
    miVector axis;
    if (light == miNULLTAG || !mi_query(miQ_LIGHT_TYPE, nullptr, light, &type) || type != miLIGHT_SPOT ||
        !mi_query(miQ_LIGHT_DIRECTION, nullptr, light, &axis) || dot(axis, axis) == 0.0f)
        return downwards;
    return normalized(axis);
}

void shineFrom(miState* state, const miVector& place) {
    const miVector toPoint = state->point - place;
    const float distance = length(toPoint);
    state->org = place;
    state->dist = distance;
    if (distance > 0.0f) shineAlong(state, toPoint * (1.0f / distance));
}

void shineAlong(miState* state, const miVector& direction) {
    state->dir = direction;
    state->dot_nd = -dot(direction, state->normal);
}

unsigned shadowRayCount(int rays, const VelabaseState& vela) {
    const float m = importance(vela);
    if (m >= vela.throughputUpper) return static_cast<unsigned>(std::max(1, rays));
    const float aboveCutoff = m - vela.throughputCutoff;
    const float aboveUpper = m - vela.throughputUpper;
    const float count = (static_cast<float>(rays) * aboveCutoff - aboveUpper) / (aboveCutoff - aboveUpper);
    return static_cast<unsigned>(std::max(1, static_cast<int>(count)));
}
