// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "shading/shader_table.h"

#include <shader.h>

namespace orca::shading {

/// Runs the inits that are due before the first call of an instance, once each, whichever thread comes first.
/// False when one of them has failed.
bool initialise(ShaderTable& table, BoundShader& shader, miState* state);

/// Calls the exits of everything that was initialised; see ShaderRuntime::exitAll.
void exitShaders(ShaderTable& table, miState* state, Log& log);

} // namespace orca::shading
