// SPDX-License-Identifier: Apache-2.0
#include "orcaMaterialAdapter.h"

ORCA_EXPORT_ADAPTER(orcaVelaMiMetallicPaintXAdapter, "vela_mimetallicpaintxadapter")

#include "declared/orcaVelaMiMetallicPaintXAdapter.h"
