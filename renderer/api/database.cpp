// SPDX-License-Identifier: Apache-2.0
#include "api/guarded.h"
#include "scene/active_database.h"

#include <shader.h>

using orca::api::guarded;
using orca::scene::activeDatabase;

extern "C" {

DLLEXPORT int mi_db_type(miTag tag) {
    const auto* const element = activeDatabase().get(tag);
    return element ? element->type : miSCENE_NONE;
}

DLLEXPORT int mi_db_size(miTag tag) {
    const auto* const element = activeDatabase().get(tag);
    return element ? element->recordSize() : 0;
}

DLLEXPORT void* mi_db_access(miTag tag) {
    return guarded(__func__, nullptr, [&] { return activeDatabase().access(tag); });
}

DLLEXPORT void* mi_db_access_type(miTag tag, int* type) {
    *type = mi_db_type(tag);
    return mi_db_access(tag);
}

DLLEXPORT void mi_db_unpin(miTag tag) {
    guarded(__func__, [&] { activeDatabase().unpin(tag); });
}

DLLEXPORT void mi_db_flush(miTag) {
}

} // extern "C"
