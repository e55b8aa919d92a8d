// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaExport.h"

#include <shader.h>

/// The camera's position in world space.
extern "C" ORCA_EXPORT void origin_from_camera(miState* state, miVector* origin);
