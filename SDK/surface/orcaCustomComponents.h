// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaSurfaceShaderReturnType.h"

/// Changes to a material's result after it has been composed; the standard materials change nothing.
template <class P>
class DefaultCustomComponent {
public:
    DefaultCustomComponent(miState*, P*) {}
    void operator()(miState*, P*, SurfaceShaderReturnType&) const {}
};
