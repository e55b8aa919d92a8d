// SPDX-License-Identifier: Apache-2.0
#include "orcaPassMask.h"

#include "orcaNamedPasses.h"
#include "orcaUserData.h"

#include <cstring>

namespace {

/// User data of an object or light instance: its pass mask.
struct PassMaskData {
    miTag mask; // a string of hexadecimal digits
};

miTag maskTagOf(miTag instanceTag) {
    const Pinned<const miInstance> instance(instanceTag);
    if (!instance || instance->userdata == miNULLTAG) return miNULLTAG;
    char* block = nullptr;
    if (!mi_query(miQ_DATA_PARAM, nullptr, instance->userdata, &block) || !block) return miNULLTAG;
    if (parameterBytes(block) < static_cast<int>(sizeof(PassMaskData))) return miNULLTAG;
    // User data of other kinds may begin with a number.
    const miTag mask = reinterpret_cast<const PassMaskData*>(block)->mask;
    return mask != miNULLTAG && mi_db_type(mask) == miSCENE_STRING ? mask : miNULLTAG;
}

} // namespace

PassMask::PassMask(miTag instance) {
    const miTag mask = instance == miNULLTAG ? miNULLTAG : maskTagOf(instance);
    if (mask == miNULLTAG) return;
    text_.emplace(mask);
    if (*text_) length_ = std::strlen(text_->get());
}

using orcaPassMask = PassMaskData;
#include "declared/orcaPassMask.h"

using orcaPassLinks = PassLinks;
#include "declared/orcaPassLinks.h"
