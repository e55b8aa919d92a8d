// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Sizes over which textures are filtered at a hit: the footprint of one pixel.

#include "orcaVelaState.h"

/// For paths straight from the camera: pixel angle x distance from the camera / facing ratio.
void compute_sl_filter_size(miState* state, VelabaseState& vela);

/// For paths that were reflected, refracted or gathered: the summed length of the path takes the distance's
/// place.
void compute_rt_filter_size(miState* state, VelabaseState& vela);

/// The filter sizes that the state calls for: the fixed one, a cheap estimate for paths of little weight, or
/// one of the two above.
void setFilterFootprint(miState* state, VelabaseState& vela);
