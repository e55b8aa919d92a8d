// SPDX-License-Identifier: Apache-2.0
#include "shading/shader_life_cycle.h"

#include "base/describe_exception.h"
#include "shading/call_scope.h"

#include <mutex>

namespace orca::shading {

bool initialise(ShaderTable& table, BoundShader& shader, miState* state) {
    const std::lock_guard lock(table.initMutex);
    if (shader.ready.load(std::memory_order_relaxed)) return true;
    ShaderCode& code = *shader.code;
    if (shader.initFailed || code.initFailed) return false;

    bool& asks = contextOf(state).knowsResultSizes;
    asks = false;
    if (!code.initialised) {
        code.initialised = true;
        code.initFailed = true; // holds when the init throws
        miBoolean instanceInitRequested = miFALSE;
        if (code.init) code.init(state, nullptr, &instanceInitRequested);
        code.wantsInstanceInit = instanceInitRequested != miFALSE;
        code.knowsResultSizes = asks;
        code.initFailed = false;
    }
    code.lastInstance = shader.function;
    asks = code.knowsResultSizes;
    if (code.wantsInstanceInit && !shader.instanceInitialised) {
        shader.initFailed = true;
        miBoolean ignored = miFALSE;
        code.init(state, shader.parameters, &ignored);
        shader.instanceInitialised = true;
        shader.initFailed = false;
    }
    shader.knowsResultSizes = asks;
    shader.ready.store(true, std::memory_order_release);
    return true;
}

void exitShaders(ShaderTable& table, miState* state, Log& log) {
    const std::lock_guard lock(table.initMutex);
    CallContext& context = contextOf(state);
    const CallScope scope(state, context);

    const auto exitQuietly = [&](ShaderCode& code, miFunction* function, void* parameters) {
        if (!code.exit) return;
        state->shader = function;
        try {
            code.exit(state, parameters);
        } catch (...) {
            log.error("SHDR", "\"{}_exit\" threw: {}", code.name, describeException());
        }
    };
    for (const auto& shader : table.shaders) {
        if (!shader) continue;
        if (shader->instanceInitialised) exitQuietly(*shader->code, shader->function, shader->parameters);
    }
    for (const auto& [name, code] : table.codes)
        if (code->initialised && !code->initFailed) exitQuietly(*code, code->lastInstance, nullptr);

    for (const auto& shader : table.shaders) {
        if (!shader) continue;
        shader->ready.store(false, std::memory_order_relaxed);
        shader->instanceInitialised = shader->initFailed = false;
        shader->userPointer = nullptr;
        delete shader->threadPointers.exchange(nullptr);
    }
    for (const auto& [name, code] : table.codes) {
        code->initialised = code->initFailed = code->wantsInstanceInit = false;
        code->lastInstance = nullptr;
    }
}

} // namespace orca::shading
