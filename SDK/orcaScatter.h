// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// Releases an instance's subsurface data, if it has any, and nulls the pointer.
extern "C" ORCA_EXPORT void destroy_scatter(miState* state, void** cache);
