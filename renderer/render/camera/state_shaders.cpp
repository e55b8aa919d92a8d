// SPDX-License-Identifier: Apache-2.0
#include "render/camera/state_shaders.h"

namespace orca::render {

namespace {

/// A state shader's call for a whole thread has no sample that an exception could leave black.
void callForThread(RenderContext& context, int operation) {
    context.samplePhase = imagePhase;
    miColor unused{};
    miBoolean delivered = miTRUE;
    withoutShaderExceptions(context, [&] { callStateShaders(context, operation, unused, delivered); });
}

} // namespace

void callStateShaders(RenderContext& context, int operation, miColor& result, miBoolean& delivered) {
    miTag shader = context.frame.options.state_func;
    miShader_state_arg argument{operation, delivered};
    while (shader != miNULLTAG) {
        context.runtime.callOne(&result, miSHADER_STATE, &context.base, shader, &argument);
        shader = context.runtime.next(shader);
    }
}

void openBaseState(RenderContext& context) {
    callForThread(context, miSHADERSTATE_STATE_INIT);
}

void closeBaseState(RenderContext& context) {
    context.resetBase();
    callForThread(context, miSHADERSTATE_STATE_EXIT);
}

} // namespace orca::render
