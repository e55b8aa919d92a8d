// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shading/call_context.h"

#include <shader.h>

namespace orca::shading {

/// Restores what a call changes in a state and its context.
class CallScope {
public:
    CallScope(miState* state, CallContext& context)
        : state_(state),
          context_(context),
          shader_(state->shader),
          callType_(context.callType),
          knowsResultSizes_(context.knowsResultSizes),
          mark_(context.arena.mark()),
          siblings_(context.siblings.enter()) {}
    ~CallScope() {
        state_->shader = shader_;
        context_.callType = callType_;
        context_.knowsResultSizes = knowsResultSizes_;
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
    bool knowsResultSizes_;
    EvaluationArena::Mark mark_;
    SiblingResults::Mark siblings_;
};

} // namespace orca::shading
