// SPDX-License-Identifier: Apache-2.0
#include "api/queries.h"

#include "render/context/render_context.h"
#include "shading/active_renderer.h"

namespace orca::api {

namespace {

const miLight* lightOf(miTag tag) {
    auto* database = shading::activeRenderer().database;
    auto* element = database ? database->get(tag) : nullptr;
    if (element && element->type == miSCENE_INSTANCE)
        element = database->get(static_cast<const miInstance*>(element->record())->item);
    if (!element || element->type != miSCENE_LIGHT) return nullptr;
    return static_cast<const miLight*>(element->record());
}

/// An attribute that only lights of one area kind have.
template <class T>
Answer ofArea(const Query& query, const miLight& light, int area, const T& value) {
    if (light.area != area) return Answer::Unavailable;
    query.answer(value);
    return Answer::Given;
}

} // namespace

Answer answerAboutLight(const Query& query) {
    const bool isMine = query.code == miQ_LIGHT_AREA || query.code == miQ_LIGHT_AREA_R_EDGE_U ||
                        query.code == miQ_LIGHT_AREA_R_EDGE_V || query.code == miQ_LIGHT_AREA_D_NORMAL ||
                        (query.code >= miQ_LIGHT_TYPE && query.code <= miQ_LIGHT_AREA_SAMPLES_V);
    if (!isMine) return Answer::NotMine;
    const miLight* light = lightOf(query.tag);
    if (!light) return Answer::Unavailable;
    switch (query.code) {
    case miQ_LIGHT_AREA: query.answer<int>(light->area); break;
    case miQ_LIGHT_AREA_R_EDGE_U: return ofArea(query, *light, miLIGHT_RECTANGLE, light->edge_u);
    case miQ_LIGHT_AREA_R_EDGE_V: return ofArea(query, *light, miLIGHT_RECTANGLE, light->edge_v);
    case miQ_LIGHT_AREA_D_NORMAL: return ofArea(query, *light, miLIGHT_DISC, light->axis);
    case miQ_LIGHT_AREA_D_RADIUS: return ofArea(query, *light, miLIGHT_DISC, light->radius);
    case miQ_LIGHT_AREA_S_RADIUS: return ofArea(query, *light, miLIGHT_SPHERE, light->radius);
    case miQ_LIGHT_AREA_C_AXIS: return ofArea(query, *light, miLIGHT_CYLINDER, light->axis);
    case miQ_LIGHT_AREA_C_RADIUS: return ofArea(query, *light, miLIGHT_CYLINDER, light->radius);
    case miQ_LIGHT_AREA_SAMPLES_U: query.answer<int>(light->samples_u); break;
    case miQ_LIGHT_AREA_SAMPLES_V: query.answer<int>(light->samples_v); break;
    case miQ_LIGHT_TYPE: query.answer<int>(light->type); break;
    case miQ_LIGHT_ORIGIN: query.answer(light->origin); break;
    case miQ_LIGHT_DIRECTION: query.answer(light->direction); break;
    case miQ_LIGHT_SPREAD: query.answer<miScalar>(light->spread); break;
    case miQ_LIGHT_SHADER: query.answer<miTag>(light->shader); break;
    case miQ_LIGHT_EMITTER: query.answer<miTag>(light->emitter); break;
    case miQ_LIGHT_ENERGY: query.answer(light->energy); break;
    case miQ_LIGHT_EXPONENT: query.answer<miScalar>(light->exponent); break;
    case miQ_LIGHT_LABEL: query.answer<miUint>(light->label); break;
    default: return Answer::Unavailable;
    }
    return Answer::Given;
}

} // namespace orca::api
