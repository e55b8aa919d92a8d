// SPDX-License-Identifier: Apache-2.0
#include "render/context/light_instances.h"

#include "scene/elements/elements.h"

namespace orca::render {

LightInstances::LightInstances(const scene::Database& database, std::span<const miTag> instances) {
    for (const miTag tag : instances) {
        const auto* element = database.find<scene::InstanceElement>(tag);
        const auto* light = element ? database.find<scene::LightElement>(element->instance.item) : nullptr;
        if (!light) continue;
        LightInstance entry{tag, &light->light, &element->instance, light, {}, {}};
        mi_point_transform(&entry.origin, &light->light.origin, element->instance.tf.local_to_global);
        mi_vector_transform(&entry.direction, &light->light.direction, element->instance.tf.local_to_global);
        mi_vector_normalize(&entry.direction);
        byTag_.set(tag, lights_.size());
        lights_.push_back(entry);
    }
    for (const LightInstance& light : lights_)
        if (light.light->visible && light.hasSurface() && !light.record->off) visible_.push_back(&light);
}

} // namespace orca::render
