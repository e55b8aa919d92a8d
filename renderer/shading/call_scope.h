// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shading/call_context.h"

#include <shader.h>

namespace orca::shading {

/// Restores what a call changes in a state and its context, and tells which call a thread is in.
class CallScope {
public:
    /// The innermost call of this thread; null outside of shaders. Safe in a signal handler.
    [[nodiscard]] static const CallScope* innermost() { return innermost_; }

    CallScope(miState* state, CallContext& context)
        : state_(state),
          context_(context),
          shader_(state->shader),
          callType_(context.callType),
          knowsResultSizes_(context.knowsResultSizes),
          lightChoice_(context.lightChoice),
          mark_(context.arena.mark()),
          siblings_(context.siblings.enter()),
          outer_(innermost_) {
        innermost_ = this;
    }
    ~CallScope() {
        innermost_ = outer_;
        state_->shader = shader_;
        context_.callType = callType_;
        context_.knowsResultSizes = knowsResultSizes_;
        context_.lightChoice = lightChoice_;
        context_.arena.release(mark_);
        context_.siblings.leave(siblings_);
    }
    /// Before the next shader of a list: what the last one has evaluated is none of its business.
    void forgetResults() const {
        context_.lightChoice = lightChoice_;
        context_.arena.release(mark_);
        context_.siblings.flush();
    }
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;

    [[nodiscard]] const miState& state() const { return *state_; }
    [[nodiscard]] const CallContext& context() const { return context_; }

private:
    inline static thread_local constinit const CallScope* innermost_ = nullptr;

    miState* state_;
    CallContext& context_;
    miFunction* shader_;
    int callType_;
    bool knowsResultSizes_;
    const LightChoice* lightChoice_;
    EvaluationArena::Mark mark_;
    SiblingResults::Mark siblings_;
    const CallScope* outer_; // the call that this one was made in, on the same thread
};

} // namespace orca::shading
