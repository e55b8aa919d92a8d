// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaColor.h"
#include "orcaScatter.h"
#include "orcaTracing.h"

/// No light below the surface.
template <class P>
class DefaultScatterComponent {
public:
    DefaultScatterComponent(miState*, P*) {}
    /// Light that left the surface after travelling below it; null when the material has none.
    [[nodiscard]] const miColor* operator()(miState*, const TraceContext&, void*&, miColor&) const {
        return nullptr;
    }
};
