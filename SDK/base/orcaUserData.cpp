// SPDX-License-Identifier: Apache-2.0
#include "orcaUserData.h"

#include "orcaConstants.h"
#include "orcaGuards.h"

namespace {

/// User data of the object `tag`, or of the object that the instance `tag` places; else the null tag.
miTag chainOfObject(miTag tag, int elementType) {
    if (tag == miNULLTAG) return miNULLTAG;
    const int type = mi_db_type(tag);
    if (type == elementType && type == miSCENE_OBJECT) {
        const Pinned<miObject> object(tag);
        return object ? object->userdata : miNULLTAG;
    }
    if (type != miSCENE_INSTANCE) return miNULLTAG;
    const Pinned<miInstance> instance(tag);
    if (!instance || instance->item == miNULLTAG || mi_db_type(instance->item) != miSCENE_OBJECT)
        return miNULLTAG;
    const Pinned<miObject> object(instance->item);
    return object ? object->userdata : miNULLTAG;
}

} // namespace

void* get_userdata(int magic, int elementType, unsigned tag, unsigned* dataTag, int* swapped) {
    miTag link = elementType == miSCENE_USERDATA ? tag : chainOfObject(tag, elementType);
    const int reversedMagic = static_cast<int>(__builtin_bswap32(static_cast<unsigned>(magic)));
    while (link != miNULLTAG) {
        if (mi_db_type(link) != miSCENE_USERDATA) return nullptr;
        Pinned<miUserdata> data(link);
        if (!data) return nullptr;
        if (data->parameter_size >= static_cast<int>(sizeof(int))) {
            const int firstWord = *reinterpret_cast<const int*>(data->parameters);
            if (firstWord == magic || (swapped && firstWord == reversedMagic)) {
                if (swapped) *swapped = firstWord != magic;
                *dataTag = link;
                return data.release()->parameters;
            }
        }
        link = data->next_data;
    }
    return nullptr;
}

void* velaObjectData(unsigned tag, miInteger kind, unsigned* dataTag) {
    void* found = get_userdata(VELA_MAGIC, miSCENE_OBJECT, tag, dataTag, nullptr);
    while (found) {
        const bool hasKind = parameterBytes(found) >= static_cast<int>(2 * sizeof(miInteger));
        if (hasKind && static_cast<const miInteger*>(found)[1] == kind) return found;
        const miTag next = (static_cast<const miUserdata*>(found) - 1)->next_data;
        mi_db_unpin(*dataTag);
        found = get_userdata(VELA_MAGIC, miSCENE_USERDATA, next, dataTag, nullptr);
    }
    return nullptr;
}
