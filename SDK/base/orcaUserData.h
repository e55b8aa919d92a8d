// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Size of a user-data element's parameter block, which follows the element's head directly.
[[nodiscard]] inline int parameterBytes(const void* parameters) noexcept {
    return (static_cast<const miUserdata*>(parameters) - 1)->parameter_size;
}

/// Parameters of the first element in a user-data chain whose first word is `magic`; null when there is none.
/// The chain starts at `tag` when `elementType` is user data (34); for 7 at the object `tag`, or at the
/// object that the instance `tag` places. The element found goes to `dataTag` and stays pinned. With
/// `swapped` given, the byte-reversed magic is accepted too and `*swapped` says which it was.
extern "C" ORCA_EXPORT void* get_userdata(int magic, int elementType, unsigned tag, unsigned* dataTag,
                                          int* swapped);

/// Parameters of the first block on an object, or on the object that the instance `tag` places, that begins
/// with VELA_MAGIC and `kind`; null when there is none. Blocks of other kinds may stand before it. The
/// element found goes to `dataTag` and stays pinned.
[[nodiscard]] void* velaObjectData(unsigned tag, miInteger kind, unsigned* dataTag);
