// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "scene/database.h"
#include "shading/shader_table.h"

namespace orca::shading {

/// Finds the functions of all shader instances in the database that are not bound yet; see
/// ShaderRuntime::bind.
void bindShaders(ShaderTable& table, scene::Database& database, Log& log);

} // namespace orca::shading
