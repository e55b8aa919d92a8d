// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaGuards.h"
#include "orcaRenderPassUtilities.h"

#include <shader.h>

#include <cstddef>
#include <optional>

/// Pass-contribution string of an instance: the string that the first parameter of its user data names.
/// Pinned for the object's lifetime. An instance may have none; an empty string counts as none.
class PassMask {
public:
    explicit PassMask(miTag instance);

    /// True when there is a mask. Without one every pass is admitted; callers with many passes test this
    /// once.
    explicit operator bool() const noexcept { return length_ != 0; }
    /// True when the mask includes the pass, or there is none. Passes beyond its end are not included.
    [[nodiscard]] bool admits(unsigned passIndex) const {
        if (length_ == 0) return true;
        return passIndex / 4 < length_ && contributesToPass(static_cast<int>(passIndex), text_->get());
    }

private:
    std::optional<Pinned<const char>> text_;
    std::size_t length_ = 0; ///< 0: no mask
};
