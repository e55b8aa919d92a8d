// SPDX-License-Identifier: Apache-2.0
#include "orcaMaterialAdapter.h"

ORCA_EXPORT_ADAPTER(orcaVelaMiaMaterialXAdapter, "vela_miamaterialxadapter")

#include "declared/orcaVelaMiaMaterialXAdapter.h"
