// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Size in bytes of a user-data element's parameter block, which follows the element's head directly.
[[nodiscard]] inline int parameterBytes(const void* parameters) noexcept {
    return (static_cast<const miUserdata*>(parameters) - 1)->parameter_size;
}

/// Parameters of the first element in a user-data chain whose first word is `magic`; null when there is none.
/// The chain starts at `tag` when `elementType` is user data (34); for 7 at the object `tag`, or at the
/// object that the instance `tag` places. The tag of the element found is stored in `dataTag`, and the
/// element stays pinned. When `swapped` is not null the byte-reversed magic is accepted too, and `*swapped`
/// tells whether it was found.
extern "C" ORCA_EXPORT void* get_userdata(int magic, int elementType, unsigned tag, unsigned* dataTag,
                                          int* swapped);

/// Parameters of the first block on an object, or on the object that the instance `tag` places, that begins
/// with VELA_MAGIC and `kind`; null when there is none. Blocks of other kinds may precede it. The tag of the
/// element found is stored in `dataTag`, and the element stays pinned.
[[nodiscard]] void* velaObjectData(unsigned tag, miInteger kind, unsigned* dataTag);
