// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaParameters.h"

/// Emitted light.
template <class P>
class DefaultIncandescenceComponent {
public:
    DefaultIncandescenceComponent(miState*, P*) {}
    [[nodiscard]] miColor operator()(miState* state, P* record) const {
        return parameterValue(state, record, &P::incandescence);
    }
};
