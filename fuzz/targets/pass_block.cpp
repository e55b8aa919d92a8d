// SPDX-License-Identifier: Apache-2.0
#include "fuzz_input.h"
#include "fuzzed_scene.h"

#include "orcaFrameBufferState.h"
#include "pass_block.h"
#include "scripted_renderer.h"

#include "scene/elements/elements.h"

#include <cstring>
#include <vector>

using namespace orca;

namespace {

/// The library: a picture of one sample with the block on its camera.
void renderSample(const std::vector<miUint>& words, int traceDepth) {
    ScriptedRenderer renderer;
    renderer.options.trace_depth = traceDepth;
    for (const char* name : {"beauty", "diffuse", "depth"}) renderer.frameBuffers.add(name);
    for (const char* name : {"beauty", "diffuse", "depth", "unknown"}) renderer.database.addString(name);
    renderer.camera.userdata = renderer.database.addUserData(words);
    renderer.answer<int>(miQ_FUNC_CALLTYPE, miSHADER_STATE);
    for (const int operation : {miSHADERSTATE_STATE_INIT, miSHADERSTATE_SAMPLE_INIT,
                                miSHADERSTATE_SAMPLE_EXIT, miSHADERSTATE_STATE_EXIT}) {
        miShader_state_arg argument{operation, miTRUE};
        orcaFrameBufferState(nullptr, &renderer.state, nullptr, &argument);
    }
    for (const int index : {-1, 0, 1, 1 << 30}) getNonMaterialPassFrameBufferIndex(&renderer.state, index);
    fuzz::require(renderer.pinsHeld() == 0);
}

/// The command: what it checks and writes into files.
void describe(const std::vector<miUint>& words) {
    Log log(LogLevel::None);
    scene::Database database;
    auto data = std::make_unique<scene::UserdataElement>();
    data->setContent(words.data(), words.size() * sizeof(miUint));
    scene::CameraElement camera;
    camera.camera.userdata = database.add(std::move(data));
    if (!app::checkPassBlock(database, camera, log)) return;
    if (const FrameBufferData* const block = app::passBlock(database, camera))
        static_cast<void>(app::passMetadata(database, *block));
}

} // namespace

/// A frame-buffer data block: the trace depth, then the block's words behind its magic.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput input(data, size);
    const int traceDepth = input.take<std::int16_t>();
    std::vector<miUint> words(1 + input.rest().size() / sizeof(miUint));
    words.front() = static_cast<miUint>(FRAME_BUFFER_DATA_MAGIC);
    if (words.size() > 1) std::memcpy(&words[1], input.rest().data(), (words.size() - 1) * sizeof(miUint));
    renderSample(words, traceDepth);
    describe(words);
    return 0;
}
