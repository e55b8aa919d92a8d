// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Sizes over which textures are filtered at a hit: the footprint of one pixel.

#include "orcaVelaState.h"

/// For paths straight from the camera: pixel angle x distance from the camera / facing ratio.
void compute_sl_filter_size(miState* state, VelabaseState& vela);

/// For paths that were reflected, refracted or gathered: the same with the summed length of the path's
/// segments in place of the distance.
void compute_rt_filter_size(miState* state, VelabaseState& vela);

/// Sets the sizes by the state: the fixed size when filtering is off, a cheap estimate for paths of little
/// weight, else one of the two above.
void setFilterFootprint(miState* state, VelabaseState& vela);
