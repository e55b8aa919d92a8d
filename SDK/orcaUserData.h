// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Parameters of the first element in a user-data chain whose first word is `magic`; null when there is none.
/// The chain starts at `tag` when `elementType` is user data (34); for 7 at the object `tag`, or at the
/// object that the instance `tag` places. The element found goes to `dataTag` and stays pinned. With
/// `swapped` given, the byte-reversed magic is accepted too and `*swapped` says which it was.
extern "C" ORCA_EXPORT void* get_userdata(int magic, int elementType, unsigned tag, unsigned* dataTag,
                                          int* swapped);
