// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shading/evaluation_arena.h"
#include "shading/evaluation_cache.h"
#include "shading/sibling_results.h"
#include "shading/state_store.h"

#include <shader.h>

#include <exception>

namespace orca::shading {

class ShaderRuntime;
struct LightChoice;

/// What all states derived from one base state share; `miState::ext` points to it. One thread uses it at a
/// time.
struct CallContext {
    explicit CallContext(ShaderRuntime& shaderRuntime) : runtime(shaderRuntime) {}
    virtual ~CallContext() = default;

    ShaderRuntime& runtime;
    StateStore store;              ///< mi_shaderstate_*
    EvaluationArena arena;         ///< results of connected shaders
    SiblingResults siblings;       ///< those of them that other parameters may share
    EvaluationCache cache;         ///< used in the caching test mode only
    int callType = miSHADER_NONE;  ///< how the running shader is called
    bool knowsResultSizes = false; ///< the running shader has asked for the size of a result
    int samplePhase = 3;           ///< answer of miQ_SAMPLE_PHASE
    int gatherState = 0;           ///< answer of miQ_FINALGATHER_STATE
    int sampleMoving = 0;          ///< answer of miQ_SAMPLE_MOVING
    /// That the running shader's light list is; null: its lists are whole.
    const LightChoice* lightChoice = nullptr;
    std::exception_ptr thrown; ///< last exception of a shader, already counted against the one that threw it
};

[[nodiscard]] inline CallContext& contextOf(const miState* state) {
    return *static_cast<CallContext*>(state->ext);
}

} // namespace orca::shading
