// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaFrameBufferRecords.h"

/// Makes `bumped` the shading normal, lifted above the geometric surface when it points below it. A null
/// vector stays.
void bendNormal(miState* state, const miVector& bumped);

/// The shading normal in the space that a normal pass asks for: 1 camera, 2 object, else world.
[[nodiscard]] miVector normalInRecordSpace(miState* state, const FrameBufferInfo& record);
