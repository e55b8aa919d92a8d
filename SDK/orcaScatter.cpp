// SPDX-License-Identifier: Apache-2.0
#include "orcaScatter.h"

void destroy_scatter(miState*, void** cache) {
    if (!*cache) return;
    mi_mem_release(*cache);
    *cache = nullptr;
}
