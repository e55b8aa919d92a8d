// SPDX-License-Identifier: Apache-2.0
#include "velaLayerFrame.h"

#include "orcaAnisotropicFacets.h"
#include "orcaGuards.h"
#include "orcaVector.h"

#include <algorithm>

namespace vela {

LayerFrame layerFrame(miState* state, const miVector& normal, miScalar degrees) {
    const Restored<miVector> before(state->normal);
    state->normal = normal;
    const AnisotropicFacets facets = anisotropicFacets(state, degrees, 1.0f, 1.0f);
    return {facets.along, facets.across, facets.normal};
}

miVector viewFrom(const miState* state, const LayerFrame& frame) {
    constexpr float leastCosine = 1e-3f;
    miVector view = frame.toLocal(-state->dir);
    view.z = std::max(view.z, leastCosine);
    return normalized(view);
}

} // namespace vela
