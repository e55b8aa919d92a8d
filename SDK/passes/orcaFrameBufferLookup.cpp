// SPDX-License-Identifier: Apache-2.0
#include "orcaFrameBufferLookup.h"

#include "orcaConstants.h"
#include "orcaGuards.h"
#include "orcaNamedPasses.h"
#include "orcaRenderPassUtilities.h"
#include "orcaUserData.h"
#include "orcaUtilities.h"

bool inImagePhase(miState* state) {
    int phase = 0;
    return mi_query(miQ_SAMPLE_PHASE, state, miNULLTAG, &phase) && phase == VELA_IMAGE_PHASE;
}

void requireStateShader(miState* state, const char* message) {
    int callType = miSHADER_NONE;
    if (!mi_query(miQ_FUNC_CALLTYPE, state, miNULLTAG, &callType) || callType != miSHADER_STATE)
        orcaError(message);
}

unsigned getFrameBufferInfo(miState* state, PassTypeInfo*& passTypeInfo, FrameBufferInfo*& frameBufferInfo) {
    passTypeInfo = nullptr;
    frameBufferInfo = nullptr;
    if (!inImagePhase(state)) return 0;

    int size = 0;
    passTypeInfo = static_cast<PassTypeInfo*>(mi_shaderstate_get(state, PASS_TYPE_INFO_KEY, &size));
    if (!passTypeInfo || size != static_cast<int>(sizeof(PassTypeInfo))) return 0;
    const unsigned count = static_cast<unsigned>(passTypeInfo->recordCount());

    frameBufferInfo = static_cast<FrameBufferInfo*>(mi_shaderstate_get(state, FRAME_BUFFER_INFO_KEY, &size));
    if (!frameBufferInfo) return 0;
    return static_cast<std::size_t>(size) == count * sizeof(FrameBufferInfo) ? count : 0;
}

FrameBufferDataBlock getFrameBufferDataBlock(miState* state) {
    FrameBufferDataBlock found{nullptr, miNULLTAG, false};
    if (!state->camera) return found;
    unsigned dataTag = miNULLTAG;
    int swapped = 0;
    found.block = static_cast<FrameBufferData*>(
        get_userdata(FRAME_BUFFER_DATA_MAGIC, miSCENE_USERDATA, state->camera->userdata, &dataTag, &swapped));
    if (!found.block) return found;
    found.tag = dataTag;
    found.byteSwapped = swapped != 0;
    return found;
}

unsigned getNonMaterialPassFrameBufferIndex(miState* state, int passIndex) {
    const FrameBufferDataBlock data = getFrameBufferDataBlock(state);
    if (!data.block) return 0;
    const Unpin unpin(data.tag);
    FrameBufferData& block = *data.block;
    if (!isWhole(block, parameterBytes(&block)) || passIndex < 0 ||
        passIndex >= block.n_nonMaterialFrameBuffers)
        return 0;
    const miTag* const names = arrayElements(block.nonMaterialFrameBuffers, block.i_nonMaterialFrameBuffers);
    return getNamedFrameBufferID(state, names[passIndex]);
}

using orcaFrameBufferData = FrameBufferData;
#include "declared/orcaFrameBufferData.h"

using orcaNamedPasses = NamedPasses;
// A named record extends the plain one, so it has no standard layout; its fields lie as written all the same.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#include "declared/orcaNamedPasses.h"
#pragma GCC diagnostic pop
