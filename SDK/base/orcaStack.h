// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Linked stack whose nodes come from a per-thread block arena. The first eight bytes of a node link to the
/// node below; the payload follows.
struct VelaStack {
    void* top; ///< null when empty
    miInteger count;
    miMemblk* arena;
};

/// Entry of the list that all threads share: the block arena of one thread and one element size.
struct ThreadArena {
    miUint threadKey;
    miUint elementSize;
    miMemblk* arena;
    ThreadArena* next;
};

extern "C" {

/// Head of the list of per-thread arenas. Searched without a lock, changed under one.
extern ORCA_EXPORT ThreadArena* tla_list;

/// Arena for elements of `elementSize` bytes of one thread, created on first use. Two callers that miss each
/// other's entry may create one each for the same pair; nothing depends on there being only one.
ORCA_EXPORT miMemblk* get_tla(miLock lock, miUint threadKey, miUint elementSize);
/// Deletes all arenas and the list. No other thread may be using them.
ORCA_EXPORT void clr_tla_list(miLock lock);

/// An empty stack of nodes of `elementSize` bytes, link included, in the state's thread.
ORCA_EXPORT void stack_create(miState* state, VelaStack* stack, miUint elementSize);
/// Adds a zeroed node on top and returns it.
ORCA_EXPORT void* stack_push(VelaStack* stack);
/// Removes the top node; nothing on an empty stack.
ORCA_EXPORT void stack_pop(VelaStack* stack);

} // extern "C"
