// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaGuards.h"
#include "orcaRenderPassUtilities.h"

#include <shader.h>

#include <cstddef>
#include <optional>

/// Pass-contribution string of an instance: the text behind the first parameter of its user data's head.
/// Pinned for the object's lifetime. An instance may carry none; an empty string counts as none.
class PassMask {
public:
    explicit PassMask(miTag instance);

    /// There is a mask. Without one every pass is admitted, which callers with many passes ask once.
    explicit operator bool() const noexcept { return length_ != 0; }
    /// True when the mask, if there is one, has the pass. A mask has none of the passes behind its end.
    [[nodiscard]] bool admits(unsigned passIndex) const {
        if (length_ == 0) return true;
        return passIndex / 4 < length_ && contributesToPass(static_cast<int>(passIndex), text_->get());
    }

private:
    std::optional<Pinned<const char>> text_;
    std::size_t length_ = 0; ///< 0: no mask
};
