// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

/// Linked stack whose nodes come from a per-thread block arena. The first eight bytes of a node link to the node below;
/// the payload follows.
struct VelaStack {
    void* top;          ///< null when empty
    miInteger count;
    miMemblk* arena;
};
