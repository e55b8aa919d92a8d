// SPDX-License-Identifier: Apache-2.0
#include "shading/active_renderer.h"

namespace orca::shading {

namespace {
ActiveRenderer active;
}

void activate(const ActiveRenderer& renderer) {
    active = renderer;
}

const ActiveRenderer& activeRenderer() {
    return active;
}

} // namespace orca::shading
