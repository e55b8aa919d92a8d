// SPDX-License-Identifier: Apache-2.0

/// Inits before the first call, exits after the picture, and the account of what went wrong in between.

#include "shading/shader_runtime.h"

#include "base/describe_exception.h"
#include "shading/runtime_implementation.h"

#include <exception>

namespace orca::shading {

bool ShaderRuntime::Implementation::initialise(BoundShader& shader, miState* state) {
    const std::lock_guard lock(initMutex);
    if (shader.ready.load(std::memory_order_relaxed)) return true;
    ShaderCode& code = *shader.code;
    if (shader.initFailed || code.initFailed) return false;

    if (!code.initialised) {
        code.initialised = true;
        code.initFailed = true; // holds when the init throws
        miBoolean instanceInitRequested = miFALSE;
        if (code.init) code.init(state, nullptr, &instanceInitRequested);
        code.wantsInstanceInit = instanceInitRequested != miFALSE;
        code.initFailed = false;
    }
    code.lastInstance = shader.function;
    if (code.wantsInstanceInit && !shader.instanceInitialised) {
        shader.initFailed = true;
        miBoolean ignored = miFALSE;
        code.init(state, shader.parameters, &ignored);
        shader.instanceInitialised = true;
        shader.initFailed = false;
    }
    shader.ready.store(true, std::memory_order_release);
    return true;
}

void ShaderRuntime::exitAll(miState* state) {
    Implementation& all = *implementation_;
    const std::lock_guard lock(all.initMutex);
    CallContext& context = contextOf(state);
    const CallScope scope(state, context);

    const auto exitQuietly = [&](ShaderCode& code, miFunction* function, void* parameters) {
        if (!code.exit) return;
        state->shader = function;
        try {
            code.exit(state, parameters);
        } catch (...) {
            log_.error("SHDR", "\"{}_exit\" threw: {}", code.name, describeException());
        }
    };
    for (const auto& shader : all.shaders) {
        if (!shader) continue;
        if (shader->instanceInitialised) exitQuietly(*shader->code, shader->function, shader->parameters);
    }
    for (const auto& [name, code] : all.codes)
        if (code->initialised && !code->initFailed) exitQuietly(*code, code->lastInstance, nullptr);

    for (const auto& shader : all.shaders) {
        if (!shader) continue;
        shader->ready.store(false, std::memory_order_relaxed);
        shader->instanceInitialised = shader->initFailed = false;
        shader->userPointer = nullptr;
        delete shader->threadPointers.exchange(nullptr);
    }
    for (const auto& [name, code] : all.codes) {
        code->initialised = code->initFailed = code->wantsInstanceInit = false;
        code->lastInstance = nullptr;
    }
}

void ShaderRuntime::Implementation::countException(BoundShader& shader, CallContext& context) {
    const std::exception_ptr current = std::current_exception();
    if (context.thrown == current) return;
    context.thrown = current; // kept alive, so that no later exception can have the same address
    shader.code->threw.raise();
    const std::lock_guard lock(shader.code->firstThrownMutex);
    if (shader.code->firstThrown.empty()) shader.code->firstThrown = describeException();
}

void ShaderRuntime::countFault(miTag shader, Fault fault) {
    const BoundShader* const bound = implementation_->find(shader);
    if (!bound) return;
    switch (fault) {
    case Fault::ReturnedFalse: bound->code->returnedFalse.raise(); break;
    case Fault::NotANumber: bound->code->notANumber.raise(); break;
    case Fault::Threw: bound->code->threw.raise(); break;
    }
}

void ShaderRuntime::reportFaults() {
    const auto times = [](std::uint64_t count) {
        return count == 1 ? "once" : std::to_string(count) + " times";
    };
    for (const auto& [name, code] : implementation_->codes) {
        if (const auto count = code->threw.take()) {
            const std::string first =
                code->firstThrown.empty() ? "" : "; the first time: " + code->firstThrown;
            log_.warning("SHDR", "shader \"{}\" threw an exception {}{}", name, times(count), first);
        }
        if (const auto count = code->notANumber.take())
            log_.warning("SHDR", "shader \"{}\" gave a value that is not a number {}; it was replaced by 0",
                         name, times(count));
        if (const auto count = code->returnedFalse.take())
            log_.warning("SHDR", "shader \"{}\" returned false {}", name, times(count));
        code->firstThrown.clear();
    }
}

} // namespace orca::shading
