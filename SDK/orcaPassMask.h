// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaGuards.h"
#include "orcaRenderPassUtilities.h"

#include <shader.h>

#include <optional>

/// Pass-contribution string of an instance: the text behind the first parameter of its user data's head.
/// Pinned for the object's lifetime. Null when the instance carries none; an empty string counts as none.
class PassMask {
public:
    explicit PassMask(miTag instance);

    /// True when the mask, if there is one, has the pass.
    [[nodiscard]] bool admits(unsigned passIndex) const {
        return !text() || contributesToPass(static_cast<int>(passIndex), text());
    }
    [[nodiscard]] const char* text() const noexcept {
        return text_ && *text_->get() ? text_->get() : nullptr;
    }

private:
    std::optional<Pinned<const char>> text_;
};
