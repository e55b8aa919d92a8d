// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca::render {

/// Is told of the hits of rays that see surfaces.
class HitObserver {
public:
    /// A hit has been shaded; rays that its shaders have cast came before it.
    virtual void shaded(miState* state, miColor& result) = 0;

protected:
    ~HitObserver() = default;
};

} // namespace orca::render
