// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaParameters.h"

/// Light that the surface sends out of itself.
template <class P>
class DefaultIncandescenceComponent {
public:
    DefaultIncandescenceComponent(miState*, P*) {}
    [[nodiscard]] miColor operator()(miState* state, P* record) const {
        return parameterValue(state, record, &P::incandescence);
    }
};
