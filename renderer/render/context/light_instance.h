// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca::render {

/// A light where an instance puts it.
struct LightInstance {
    miTag instance;
    const miLight* light;
    const miInstance* record;
    miVector origin;    ///< world space
    miVector direction; ///< world space, unit, the way the light travels; directional and spot lights

    [[nodiscard]] bool directional() const { return light->type == miLIGHT_DIRECTION; }
    [[nodiscard]] bool hasArea() const {
        return light->area >= miLIGHT_RECTANGLE && light->area <= miLIGHT_CYLINDER;
    }
};

} // namespace orca::render
