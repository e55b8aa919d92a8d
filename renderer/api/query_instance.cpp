// SPDX-License-Identifier: Apache-2.0
#include "api/queries.h"

#include "render/context/render_context.h"
#include "scene/elements/elements.h"
#include "shading/active_renderer.h"

namespace orca::api {

namespace {

const miInstance* instanceOf(const Query& query) {
    auto* database = shading::activeRenderer().database;
    const miTag tag = query.tag != miNULLTAG ? query.tag : (query.state ? query.state->instance : miNULLTAG);
    auto* element = database ? database->get(tag) : nullptr;
    if (!element || element->type != miSCENE_INSTANCE) return nullptr;
    return static_cast<const miInstance*>(element->record());
}

/// The object that a question is about: the tag's, else the state's.
scene::Element* objectOf(const Query& query) {
    auto* database = shading::activeRenderer().database;
    if (!database) return nullptr;
    miTag tag = query.tag;
    if (tag == miNULLTAG && query.state)
        if (const auto* instance = database->find<scene::InstanceElement>(query.state->instance))
            tag = instance->instance.item;
    auto* element = database->get(tag);
    return element && element->type == miSCENE_OBJECT ? element : nullptr;
}

Answer answerAboutObject(const Query& query) {
    scene::Element* element = objectOf(query);
    if (!element) return Answer::Unavailable;
    const auto* object = static_cast<const miObject*>(element->record());
    switch (query.code) {
    case miQ_GEO_LABEL: query.answer<miUint>(object->label); break;
    case miQ_GEO_NAME: query.answer<char*>(element->name.data()); break;
    default: query.answer<miTag>(object->userdata); break;
    }
    return Answer::Given;
}

} // namespace

Answer answerAboutInstance(const Query& query) {
    switch (query.code) {
    case miQ_INST_ITEM:
    case miQ_INST_LABEL:
    case miQ_INST_MATERIAL:
    case miQ_INST_DATA:
    case miQ_INST_GLOBAL_TO_LOCAL:
    case miQ_INST_LOCAL_TO_GLOBAL:
    case miQ_INST_HIDE: break;
    case miQ_GEO_LABEL:
    case miQ_GEO_NAME:
    case miQ_GEO_DATA: return answerAboutObject(query);
    default: return Answer::NotMine;
    }
    const miInstance* instance = instanceOf(query);
    if (!instance) return Answer::Unavailable;
    switch (query.code) {
    case miQ_INST_ITEM: query.answer<miTag>(instance->item); break;
    case miQ_INST_LABEL: query.answer<miUint>(instance->label); break;
    case miQ_INST_MATERIAL: query.answer<miTag>(instance->material); break;
    case miQ_INST_DATA: query.answer<miTag>(instance->userdata); break;
    case miQ_INST_GLOBAL_TO_LOCAL:
        mi_matrix_copy(static_cast<miScalar*>(query.result), instance->tf.global_to_local);
        break;
    case miQ_INST_LOCAL_TO_GLOBAL:
        mi_matrix_copy(static_cast<miScalar*>(query.result), instance->tf.local_to_global);
        break;
    default: query.answer<miBoolean>(instance->off); break;
    }
    return Answer::Given;
}

} // namespace orca::api
