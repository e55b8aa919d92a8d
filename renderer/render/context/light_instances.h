// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/context/tag_index.h"
#include "scene/database.h"
#include "scene/elements/light_element.h"

#include <shader.h>

#include <span>
#include <vector>

namespace orca::render {

/// One instance of a light in the scene.
struct LightInstance {
    miTag instance;
    const miLight* light;
    const miInstance* record;
    const scene::LightElement* element;
    miVector origin;    ///< world space
    miVector direction; ///< world space, unit, away from the light; directional and spot lights

    [[nodiscard]] bool directional() const { return light->type == miLIGHT_DIRECTION && !hasMesh(); }
    /// A shape that the renderer itself knows: rays can hit it.
    [[nodiscard]] bool hasSurface() const {
        return light->area >= miLIGHT_RECTANGLE && light->area <= miLIGHT_CYLINDER;
    }
    /// Points are chosen on the triangles of an object.
    [[nodiscard]] bool hasMesh() const { return light->area == miLIGHT_OBJECT; }
    /// The light's shader chooses points or directions itself.
    [[nodiscard]] bool choosesPlaces() const { return light->area == miLIGHT_USER; }
    [[nodiscard]] bool hasArea() const { return hasSurface() || hasMesh() || choosesPlaces(); }
};

/// The light instances of a picture.
class LightInstances {
public:
    /// @param instances tags of light instances; others are left out
    LightInstances(const scene::Database& database, std::span<const miTag> instances);
    LightInstances(const LightInstances&) = delete;
    LightInstances& operator=(const LightInstances&) = delete;

    [[nodiscard]] std::span<const LightInstance> all() const { return lights_; }
    /// Area lights whose shapes rays can hit.
    [[nodiscard]] std::span<const LightInstance* const> visible() const { return visible_; }
    /// Null for a tag that is no light instance.
    [[nodiscard]] const LightInstance* of(miTag instance) const {
        const std::uint32_t index = byTag_.of(instance);
        return index == TagIndex::none ? nullptr : &lights_[index];
    }

private:
    std::vector<LightInstance> lights_;
    std::vector<const LightInstance*> visible_;
    TagIndex byTag_;
};

} // namespace orca::render
