// SPDX-License-Identifier: Apache-2.0
#include "orcaMaterialAdapter.h"

ORCA_EXPORT_ADAPTER(orcaVelaMisssFastShaderXAdapter, "vela_misssfastshaderxadapter")

#include "declared/orcaVelaMisssFastShaderXAdapter.h"
