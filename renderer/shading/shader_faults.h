// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "shading/call_context.h"
#include "shading/shader_table.h"

namespace orca::shading {

/// Counts the exception now being handled against `shader`, unless a shader that it has called threw it.
void countException(BoundShader& shader, CallContext& context);

/// One warning per shader and kind of fault; see ShaderRuntime::reportFaults.
void reportFaults(ShaderTable& table, Log& log);

} // namespace orca::shading
