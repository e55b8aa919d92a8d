// SPDX-License-Identifier: Apache-2.0
#include "scene/database.h"

#include "shading/active_renderer.h"

#include <shader.h>

using orca::shading::activeRenderer;

extern "C" {

DLLEXPORT int mi_db_type(miTag tag) {
    const auto* database = activeRenderer().database;
    const auto* element = database ? database->get(tag) : nullptr;
    return element ? element->type : miSCENE_NONE;
}

DLLEXPORT int mi_db_size(miTag tag) {
    const auto* database = activeRenderer().database;
    const auto* element = database ? database->get(tag) : nullptr;
    return element ? element->recordSize() : 0;
}

DLLEXPORT void* mi_db_access(miTag tag) {
    auto* database = activeRenderer().database;
    return database ? database->access(tag) : nullptr;
}

DLLEXPORT void mi_db_unpin(miTag tag) {
    if (auto* database = activeRenderer().database) database->unpin(tag);
}

DLLEXPORT void mi_db_flush(miTag) {
}

} // extern "C"
