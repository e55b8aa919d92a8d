// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaColor.h"

#include <shader.h>

/// How a material's value combines with what a pass holds. Values beyond these add.
enum PassWriteMode : int { WRITE_NONE = 0, WRITE_ADD = 1, WRITE_MULTIPLY = 2, WRITE_REPLACE = 3 };

/// Bits of a material's pass-write flags. WRITE_SCALED: values are multiplied by the material's pass-write
/// scale.
enum PassWriteFlags : unsigned { WRITE_SCALED = 0x1 };

inline void combine(miScalar& held, miScalar value, int mode) noexcept {
    if (mode == WRITE_MULTIPLY) held *= value;
    else if (mode == WRITE_REPLACE) held = value;
    else held += value;
}

inline void combine(miColor& held, const miColor& value, int mode) noexcept {
    if (mode == WRITE_MULTIPLY) held *= value;
    else if (mode == WRITE_REPLACE) held = value;
    else held += value;
}
