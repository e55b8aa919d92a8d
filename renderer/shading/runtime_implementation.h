// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shading/bound_shader.h"
#include "shading/call_context.h"
#include "shading/shader_libraries.h"
#include "shading/shader_runtime.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orca::shading {

struct ShaderRuntime::Implementation {
    ShaderLibraries libraries;
    std::map<std::string, std::unique_ptr<ShaderCode>> codes; // by shader name
    std::vector<std::unique_ptr<BoundShader>> shaders; // by tag; null for tags that are no shader instance
    /// One lock for all inits: an init may evaluate parameters and so start the inits of other shaders.
    std::recursive_mutex initMutex;
    bool caching = false;

    [[nodiscard]] BoundShader* find(miTag tag) const {
        return tag < shaders.size() ? shaders[tag].get() : nullptr;
    }

    /// Runs the inits that are due before the first call of an instance. False when one of them has failed.
    bool initialise(BoundShader& shader, miState* state);
    /// Calls the instances of a list from `bound` up to `end`.
    miBoolean callRange(void* result, int type, miState* state, BoundShader* bound, const BoundShader* end,
                        void* argument);
    /// Counts the exception now being handled against `shader`, unless a shader further in has thrown it.
    void countException(BoundShader& shader, CallContext& context);
};

[[nodiscard]] inline BoundShader* boundOf(const miFunction* function) {
    return function ? static_cast<BoundShader*>(function->ext) : nullptr;
}

/// Puts back what a call changes in a state and its context.
class CallScope {
public:
    CallScope(miState* state, CallContext& context)
        : state_(state),
          context_(context),
          shader_(state->shader),
          callType_(context.callType),
          mark_(context.arena.mark()),
          siblings_(context.siblings.enter()) {}
    ~CallScope() {
        state_->shader = shader_;
        context_.callType = callType_;
        context_.arena.release(mark_);
        context_.siblings.leave(siblings_);
    }
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;

private:
    miState* state_;
    CallContext& context_;
    miFunction* shader_;
    int callType_;
    EvaluationArena::Mark mark_;
    SiblingResults::Mark siblings_;
};

} // namespace orca::shading
