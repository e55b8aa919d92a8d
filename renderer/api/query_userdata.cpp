// SPDX-License-Identifier: Apache-2.0
#include "api/queries.h"

#include "render/context/render_context.h"
#include "shading/active_renderer.h"

namespace orca::api {

Answer answerAboutUserdata(const Query& query) {
    switch (query.code) {
    case miQ_DATA_PARAM:
    case miQ_DATA_DECL:
    case miQ_DATA_LABEL:
    case miQ_DATA_NEEDSWAP:
    case miQ_DATA_NEXT:
    case miQ_DATA_PARAM_SIZE: break;
    default: return Answer::NotMine;
    }
    auto* database = shading::activeRenderer().database;
    auto* element = database ? database->get(query.tag) : nullptr;
    if (!element || element->type != miSCENE_USERDATA) return Answer::Unavailable;
    auto* data = static_cast<miUserdata*>(element->record());
    switch (query.code) {
    case miQ_DATA_PARAM: query.answer<char*>(data->parameters()); break;
    case miQ_DATA_DECL: query.answer<miTag>(data->data_decl); break;
    case miQ_DATA_LABEL: query.answer<miUint>(data->label); break;
    case miQ_DATA_NEEDSWAP: query.answer<miBoolean>(data->one != 1); break;
    case miQ_DATA_NEXT: query.answer<miTag>(data->next_data); break;
    default: query.answer<int>(data->parameter_size); break;
    }
    return Answer::Given;
}

Answer answerAboutRenderer(const Query& query) {
    static char date[] = __DATE__;
    static char version[] = ORCA_VERSION;
    switch (query.code) {
    case miQ_DATE: query.answer<char*>(date); return Answer::Given;
    case miQ_VERSION: query.answer<char*>(version); return Answer::Given;
    case miQ_NUM_GLOBAL_LIGHTS:
    case miQ_GLOBAL_LIGHTS: break;
    default: return Answer::NotMine;
    }
    if (!query.state || !query.state->ext) return Answer::Unavailable;
    const auto lights = render::renderContextOf(query.state).frame.geometry.lights();
    if (query.code == miQ_NUM_GLOBAL_LIGHTS) query.answer<int>(static_cast<int>(lights.size()));
    else query.answer<miTag*>(const_cast<miTag*>(lights.data()));
    return Answer::Given;
}

} // namespace orca::api
