// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaLight.h"

#include "orcaVector.h"

namespace {

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
    miTag light = miNULLTAG;
    miVector normal;
    if (!mi_query(miQ_INST_ITEM, nullptr, state->light_instance, &light) || !areaNormal(light, normal))
        return false;
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

void clearLightColors(VelabaseState& vela) {
    vela.lightFogColor = BLACK;
    vela.lightFogTransmission = WHITE;
    vela.lightGlowColor = BLACK;
}

unsigned shadowRayCount(int rays, const VelabaseState& vela) {
    const float m = importance(vela);
    if (m >= vela.throughputUpper) return static_cast<unsigned>(std::max(1, rays));
    const float aboveCutoff = m - vela.throughputCutoff;
    const float aboveUpper = m - vela.throughputUpper;
    const float count = (static_cast<float>(rays) * aboveCutoff - aboveUpper) / (aboveCutoff - aboveUpper);
    return static_cast<unsigned>(std::max(1, static_cast<int>(count)));
}

void applyShadow(miColor& color, LightData& data, bool light, const miColor& transmission,
                 const miColor& shadowColor) {
    if (!light) {
        color = shadowColor;
        data.shadowFraction = 1.0f;
        return;
    }
    color = blended(shadowColor, color, transmission);
    data.shadowFraction = 1.0f - (transmission.r + transmission.g + transmission.b) / 3.0f;
}
