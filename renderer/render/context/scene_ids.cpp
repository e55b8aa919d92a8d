// SPDX-License-Identifier: Apache-2.0
#include "render/context/scene_ids.h"

#include "geometry/ray.h"
#include "scene/elements/elements.h"

#include <bit>

namespace orca::render {

namespace {

constexpr const char* nameOfNothing = "unnamed";
constexpr const char* defaultMaterial = "default";

std::string nameOf(const scene::Database& database, const scene::InstanceElement& instance) {
    if (!instance.name.empty()) return instance.name;
    const scene::Element* const item = database.get(instance.instance.item);
    return item && !item->name.empty() ? item->name : nameOfNothing;
}

/// Of the outermost instance on the path that has a name.
std::string assetOf(const scene::Database& database, const scene::InstanceElement& instance) {
    std::string name = nameOf(database, instance);
    miTag above = instance.instance.parent;
    while (const auto* const outer = database.find<scene::InstanceElement>(above)) {
        if (!outer->name.empty()) name = outer->name;
        above = outer->instance.parent;
    }
    return name;
}

/// Materials of phenomena have no names of their own.
std::string nameOf(const scene::Database& database, const scene::MaterialElement& material) {
    if (!material.name.empty()) return material.name;
    const auto* const shader = database.find<scene::FunctionElement>(material.material.shader);
    return shader ? shader->declaration->name : nameOfNothing;
}

bool saysLabel(const scene::Database& database, const geometry::MeshInstance& meshInstance) {
    const auto* const instance = database.find<scene::InstanceElement>(meshInstance.instance);
    const auto* const object = database.find<scene::ObjectElement>(meshInstance.object);
    return (instance && instance->hasLabel) || (object && object->hasLabel);
}

} // namespace

SceneIds::SceneIds(const scene::Database& database, const geometry::SceneGeometry& geometry,
                   const LightInstances& lights)
    : ofNoMaterial_(materials_.add(defaultMaterial)) {
    for (const geometry::MeshInstance& meshInstance : geometry.meshInstances()) {
        ofMeshInstance_.push_back(add(database, meshInstance.instance));
        labels_.push_back(saysLabel(database, meshInstance)
                              ? 0
                              : std::bit_cast<std::uint32_t>(ofMeshInstance_.back().object));
    }
    for (const LightInstance* const light : lights.visible()) {
        lightByTag_.set(light->instance, ofLight_.size());
        ofLight_.push_back(add(database, light->instance));
    }
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        const auto* const material = database.find<scene::MaterialElement>(tag);
        if (!material || material->isTemplate) continue;
        ofMaterial_.resize(tag + 1, ofNoMaterial_);
        ofMaterial_[tag] = materials_.add(nameOf(database, *material));
    }
}

SceneIds::Ids SceneIds::add(const scene::Database& database, miTag instance) {
    const auto* const element = database.find<scene::InstanceElement>(instance);
    if (!element) return {objects_.add(nameOfNothing), assets_.add(nameOfNothing)};
    return {objects_.add(nameOf(database, *element)), assets_.add(assetOf(database, *element))};
}

float SceneIds::of(image::BuiltinSource kind, const SeenSurface& surface) const {
    const Ids* ids = nullptr;
    if (surface.meshInstance != geometry::nothing) {
        if (kind == image::BuiltinSource::CryptoMaterial)
            return surface.material < ofMaterial_.size() ? ofMaterial_[surface.material] : ofNoMaterial_;
        ids = &ofMeshInstance_[surface.meshInstance];
    } else if (const std::uint32_t light = lightByTag_.of(surface.light);
               light != TagIndex::none && kind != image::BuiltinSource::CryptoMaterial) {
        ids = &ofLight_[light];
    }
    if (!ids) return 0.0f;
    return kind == image::BuiltinSource::CryptoAsset ? ids->asset : ids->object;
}

const image::CryptomatteManifest& SceneIds::manifest(image::BuiltinSource kind) const {
    switch (kind) {
    case image::BuiltinSource::CryptoMaterial: return materials_;
    case image::BuiltinSource::CryptoAsset: return assets_;
    default: return objects_;
    }
}

} // namespace orca::render
