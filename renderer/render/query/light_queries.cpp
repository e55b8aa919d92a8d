// SPDX-License-Identifier: Apache-2.0
#include "render/query/query_rows.h"

#include "render/context/render_context.h"
#include "render/light/light_chooser.h"
#include "scene/active_database.h"
#include "scene/elements/elements.h"

namespace orca::render {

namespace {

/// The light of a tag, which may be an instance of it; null for other tags.
const miLight* lightOf(miTag tag) {
    const scene::Database& database = scene::activeDatabase();
    if (const auto* const instance = database.find<scene::InstanceElement>(tag))
        tag = instance->instance.item;
    const auto* const element = database.find<scene::LightElement>(tag);
    return element ? &element->light : nullptr;
}

template <auto field>
bool ofLight(const Query& query) {
    const miLight* const light = lightOf(query.tag);
    return light && query.give(light->*field);
}

/// Of lights of one area shape only.
template <int area, auto field>
bool ofArea(const Query& query) {
    const miLight* const light = lightOf(query.tag);
    return light && light->area == area && query.give(light->*field);
}

template <auto field>
bool ofEmitter(const Query& query) {
    if (!query.state || !query.state->ext) return false;
    const EmitterPoint* const point = renderContextOf(query.state).emitterPoint;
    return point && query.give(point->*field);
}

bool lightWeights(const Query& query) {
    if (!query.state || !query.state->ext) return false;
    const shading::LightChoice* const choice = currentChoice(renderContextOf(query.state));
    return query.give(choice ? choice->weights : nullptr);
}

bool wholeLightLists(const Query& query) {
    if (!query.state || !query.state->ext) return false;
    wantWholeLists(renderContextOf(query.state));
    return true;
}

constexpr QueryRow rows[] = {
    {miQ_LIGHT_TYPE, ofLight<&miLight::type>},
    {miQ_LIGHT_ORIGIN, ofLight<&miLight::origin>},
    {miQ_LIGHT_DIRECTION, ofLight<&miLight::direction>},
    {miQ_LIGHT_SPREAD, ofLight<&miLight::spread>},
    {miQ_LIGHT_SHADER, ofLight<&miLight::shader>},
    {miQ_LIGHT_EMITTER, ofLight<&miLight::emitter>},
    {miQ_LIGHT_ENERGY, ofLight<&miLight::energy>},
    {miQ_LIGHT_EXPONENT, ofLight<&miLight::exponent>},
    {miQ_LIGHT_LABEL, ofLight<&miLight::label>},
    {miQ_LIGHT_AREA, ofLight<&miLight::area>},
    {miQ_LIGHT_AREA_SAMPLES_U, ofLight<&miLight::samples_u>},
    {miQ_LIGHT_AREA_SAMPLES_V, ofLight<&miLight::samples_v>},
    {miQ_LIGHT_AREA_R_EDGE_U, ofArea<miLIGHT_RECTANGLE, &miLight::edge_u>},
    {miQ_LIGHT_AREA_R_EDGE_V, ofArea<miLIGHT_RECTANGLE, &miLight::edge_v>},
    {miQ_LIGHT_AREA_D_NORMAL, ofArea<miLIGHT_DISC, &miLight::axis>},
    {miQ_LIGHT_AREA_D_RADIUS, ofArea<miLIGHT_DISC, &miLight::radius>},
    {miQ_LIGHT_AREA_S_RADIUS, ofArea<miLIGHT_SPHERE, &miLight::radius>},
    {miQ_LIGHT_AREA_C_AXIS, ofArea<miLIGHT_CYLINDER, &miLight::axis>},
    {miQ_LIGHT_AREA_C_RADIUS, ofArea<miLIGHT_CYLINDER, &miLight::radius>},
    {miQ_EMITTER_NORMAL, ofEmitter<&EmitterPoint::normal>},
    {miQ_EMITTER_AREA, ofEmitter<&EmitterPoint::area>},
    {miQ_LIGHT_WEIGHTS, lightWeights},
    {miQ_WHOLE_LIGHT_LISTS, wholeLightLists},
};

} // namespace

std::span<const QueryRow> lightQueries() {
    return rows;
}

} // namespace orca::render
