// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca::render {

/// Light instances that illuminate the state's instance. The list is the scene's and lives as long as the
/// picture renders; one of lights that were chosen, until the running shader returns.
miBoolean instanceLights(int& count, miTag*& lights, miState* state);

/// Replace a shader's parameter list by the one to loop over: its lights with groups expanded, or all lights
/// of the scene but those; of these, those chosen. The new list lives until the running shader returns.
miBoolean inclusiveLights(int& count, miTag*& lights, miState* state);
miBoolean exclusiveLights(int& count, miTag*& lights, miState* state);

} // namespace orca::render
