// SPDX-License-Identifier: Apache-2.0
#include "render/query/query_rows.h"

#include "scene/active_database.h"
#include "scene/elements/elements.h"

namespace orca::render {

namespace {

/// The tag's instance, else the state's.
const miInstance* instanceOf(const Query& query) {
    const miTag ofState = query.state ? query.state->instance : miNULLTAG;
    const auto* const element =
        scene::activeDatabase().find<scene::InstanceElement>(query.tag != miNULLTAG ? query.tag : ofState);
    return element ? &element->instance : nullptr;
}

template <auto field>
bool ofInstance(const Query& query) {
    const miInstance* const instance = instanceOf(query);
    return instance && query.give(instance->*field);
}

template <auto matrix>
bool matrixOfInstance(const Query& query) {
    const miInstance* const instance = instanceOf(query);
    if (!instance) return false;
    mi_matrix_copy(static_cast<miScalar*>(query.result), instance->tf.*matrix);
    return true;
}

/// The tag's object, else that of the state's instance.
scene::ObjectElement* objectOf(const Query& query) {
    const scene::Database& database = scene::activeDatabase();
    miTag tag = query.tag;
    if (tag == miNULLTAG && query.state)
        if (const auto* const instance = database.find<scene::InstanceElement>(query.state->instance))
            tag = instance->instance.item;
    return database.find<scene::ObjectElement>(tag);
}

template <auto field>
bool ofObject(const Query& query) {
    const scene::ObjectElement* const element = objectOf(query);
    return element && query.give(element->object.*field);
}

bool nameOfObject(const Query& query) {
    scene::ObjectElement* const element = objectOf(query);
    return element && query.give<char*>(element->name.data());
}

constexpr QueryRow rows[] = {
    {miQ_INST_ITEM, ofInstance<&miInstance::item>},
    {miQ_INST_LABEL, ofInstance<&miInstance::label>},
    {miQ_INST_MATERIAL, ofInstance<&miInstance::material>},
    {miQ_INST_DATA, ofInstance<&miInstance::userdata>},
    {miQ_INST_HIDE, ofInstance<&miInstance::off>},
    {miQ_INST_GLOBAL_TO_LOCAL, matrixOfInstance<&miTransform::global_to_local>},
    {miQ_INST_LOCAL_TO_GLOBAL, matrixOfInstance<&miTransform::local_to_global>},
    {miQ_GEO_LABEL, ofObject<&miObject::label>},
    {miQ_GEO_NAME, nameOfObject},
    {miQ_GEO_TYPE, ofObject<&miObject::type>},
    {miQ_GEO_DATA, ofObject<&miObject::userdata>},
};

} // namespace

std::span<const QueryRow> instanceQueries() {
    return rows;
}

} // namespace orca::render
