// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaIrradiance.h"
#include "orcaParameters.h"

/// Indirect diffuse light.
template <class P>
class DefaultIndirectComponent {
public:
    DefaultIndirectComponent(miState*, P*) {}
    [[nodiscard]] miColor operator()(miState* state, P* record, const miColor& color,
                                     const miColor& transparency, miScalar diffuse, miScalar boost) const {
        miColor indirect;
        compute_irradiance(&indirect, &record->irradianceColor, &color, &transparency, &record->irradiance,
                           state, diffuse, boost);
        return indirect;
    }
};
