// SPDX-License-Identifier: Apache-2.0
#include "fuzz_input.h"
#include "fuzzed_scene.h"

#include "geometry/scene_geometry.h"
#include "scene/elements/elements.h"

using namespace orca;

/// A scene file: read, its meshes cut into triangles and its graph flattened. Afterwards every reference
/// leads to an element, no shader is in a cycle, and nothing is pinned.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto build = [](fuzz::FuzzedScene& scene, const scene::RenderRequest& request) {
        if (const auto* options = scene.database().find<scene::OptionsElement>(request.options))
            const geometry::SceneGeometry geometry(scene.database(), scene.log(), request.group,
                                                   options->options, 1);
    };
    fuzz::FuzzedScene scene({reinterpret_cast<const char*>(data), size}, build);
    scene::Database& database = scene.database();
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        const scene::Element* const element = database.get(tag);
        if (!element) continue;
        element->visitReferences([&](miTag used) { fuzz::require(used < database.endTag()); });
        if (database.access(tag)) database.unpin(tag);
        fuzz::require(!database.find<scene::FunctionElement>(tag) || !database.isInCycle(tag));
    }
    fuzz::require(database.pinsHeld() == 0);
    return 0;
}
