// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "types.h"

miBEGIN_INTERFACE

/// Type of an element, one of `miScene_type`; 0 for an unknown tag.
int mi_db_type(miTag tag);
/// Size of an element, bytes.
int mi_db_size(miTag tag);
/// Pins an element and returns its record; null for an unknown tag. Every access needs one `mi_db_unpin`.
void* mi_db_access(miTag tag);
/// As `mi_db_access`, and the element's type (`mi_db_type`). Null: nothing is pinned.
void* mi_db_access_type(miTag tag, int* type);
void mi_db_unpin(miTag tag);
/// Hint that the element may leave memory; without effect here.
void mi_db_flush(miTag tag);

miEND_INTERFACE
