// SPDX-License-Identifier: Apache-2.0
#include "orcaMaterialAdapter.h"

ORCA_EXPORT_ADAPTER(orcaVelaMiCarPaintPhenXAdapter, "vela_micarpaintphenxadapter")

#include "declared/orcaVelaMiCarPaintPhenXAdapter.h"
