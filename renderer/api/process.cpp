// SPDX-License-Identifier: Apache-2.0
#include "base/active_stop.h"

#include <shader.h>

extern "C" {

DLLEXPORT int mi_par_aborted(void) {
    return orca::activeStop && orca::activeStop->load(std::memory_order_relaxed);
}

} // extern "C"
