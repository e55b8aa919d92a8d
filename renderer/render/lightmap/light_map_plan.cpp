// SPDX-License-Identifier: Apache-2.0
#include "render/lightmap/light_map_plan.h"

#include "geometry/mesh.h"
#include "geometry/surface.h"
#include "image/image_reader.h"
#include "image/light_map_file.h"
#include "scene/elements/elements.h"
#include "scene/light_map_targets.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>

namespace orca::render {

namespace {

/// Finds the maps of a frame.
class Planner {
public:
    explicit Planner(const Frame& frame) : frame_(frame) {}

    LightMapPlan plan() {
        // What is added first counts.
        for (std::size_t i = frame_.meshInstances.size(); i-- > 0;) add(static_cast<std::uint32_t>(i));
        LightMapPlan plan;
        plan.vertexCalls = std::move(vertexCalls_);
        for (auto& [tag, map] : maps_) {
            for (const miTag object : objectsOutside_[tag])
                warn(map->texture,
                     fmt::format("what lies outside of the texture is left out: texture coordinates of "
                                 "object \"{}\" are not all within 0 to 1",
                                 nameOf(object)));
            plan.maps.push_back(std::move(map));
        }
        return plan;
    }

private:
    /// A shader of a material and the map that it fills.
    struct Use {
        LightMap* map;        // null: it is called for vertices
        std::uint32_t shader; // in the map, or in vertexCalls_
    };

    void add(std::uint32_t index) {
        const geometry::MeshInstance& instance = frame_.meshInstances[index];
        const geometry::Mesh& mesh = *instance.mesh;
        std::set<std::pair<std::uint32_t, std::uint32_t>> seen; // shader and vertex
        for (std::uint32_t i = 0; i < mesh.triangles.size(); ++i)
            for (const Use& use : usesOf(geometry::materialOf(instance, mesh, i))) {
                if (!use.map) {
                    for (std::uint8_t corner = 0; corner < 3; ++corner)
                        if (seen.emplace(use.shader, mesh.triangles[i][corner]).second)
                            vertexCalls_[use.shader].vertices.push_back({index, i, corner});
                    continue;
                }
                if (mesh.textureSpaces == 0) {
                    reportObject(instance.object);
                    return;
                }
                lay(index, i, use);
            }
    }

    void lay(std::uint32_t index, std::uint32_t number, const Use& use) {
        const geometry::Mesh& mesh = *frame_.meshInstances[index].mesh;
        const scene::TextureElement& texture = use.map->texture;
        LaidOutTriangle triangle{index, number, use.shader, {}};
        bool outside = false;
        for (std::size_t corner = 0; corner < 3; ++corner) {
            const std::size_t vertex = mesh.triangles[number][corner];
            const miVector& uv = mesh.textures[vertex * static_cast<std::size_t>(mesh.textureSpaces)];
            constexpr float rounding = 1e-4f;
            outside = outside || !(std::min(uv.x, uv.y) >= -rounding && std::max(uv.x, uv.y) <= 1 + rounding);
            triangle.corners[corner] = {uv.x * static_cast<float>(texture.width),
                                        uv.y * static_cast<float>(texture.height)};
        }
        use.map->layout.add(triangle);
        if (outside) objectsOutside_[texture.tag].insert(frame_.meshInstances[index].object);
    }

    const std::vector<Use>& usesOf(miTag material) {
        const auto [known, isNew] = uses_.try_emplace(material);
        if (!isNew) return known->second;
        const miMaterial* const record = frame_.materialOf(material);
        if (!record || !record->lightmap) return known->second;
        for (const scene::LightMapTarget& target :
             scene::lightMapTargets(frame_.database, record->lightmap)) {
            if (target.ofVertices) {
                known->second.push_back({nullptr, static_cast<std::uint32_t>(vertexCalls_.size())});
                vertexCalls_.push_back({{target.shader->tag, LightMapShader::Result::Color}, {}});
                continue;
            }
            const auto shader = lightMapShader(*target.shader);
            if (!target.texture || !shader) {
                frame_.log.errorAt(target.shader->location, "RNDR",
                                   "light map shader \"{}\" of material \"{}\" is not run: {}",
                                   target.shader->declaration->name, nameOf(material),
                                   target.texture
                                       ? "it returns no colour, number or vector"
                                       : "none of its parameters is a writable texture, which would "
                                         "take what it returns");
                continue;
            }
            LightMap* const map = mapOf(*target.texture);
            if (!map) continue;
            known->second.push_back({map, static_cast<std::uint32_t>(map->shaders.size())});
            map->shaders.push_back(*shader);
        }
        return known->second;
    }

    /// Null, with a message, for a texture that cannot be filled.
    LightMap* mapOf(scene::TextureElement& texture) {
        const auto [known, isNew] = maps_.try_emplace(texture.tag);
        if (!isNew) return known->second.get();
        if (isUsable(texture)) known->second = std::make_unique<LightMap>(texture);
        else unusable_.insert(texture.tag);
        LightMap* const map = known->second.get();
        if (!map) maps_.erase(known);
        return map;
    }

    bool isUsable(scene::TextureElement& texture) {
        if (unusable_.contains(texture.tag)) return false;
        if (const std::string reason = image::whyNoLightMap(texture); !reason.empty()) {
            frame_.log.errorAt(texture.location, "RNDR", "texture \"{}\" is not filled: {}", texture.name,
                               reason);
            return false;
        }
        if (texture.width > 0) return true;
        const std::vector<std::string> files = frame_.textures.files(texture);
        try {
            if (files.empty())
                throw std::runtime_error("its statement has no size, and there is no file yet");
            const std::unique_ptr<image::ImageReader> file = image::openImage(files.front());
            texture.width = file->width();
            texture.height = file->height();
            return true;
        } catch (const std::exception& failure) {
            frame_.log.errorAt(
                texture.location, "RNDR",
                "texture \"{}\" is not filled: its size is not known ({}); write it behind the "
                "file, as in [512 512]",
                texture.name, failure.what());
            return false;
        }
    }

    void reportObject(miTag object) {
        if (!reported_.insert(object).second) return;
        const auto* const element = frame_.database.get(object);
        frame_.log.errorAt(element ? element->location : SourceLocation{}, "RNDR",
                           "object \"{}\" is in no light map: it has no texture coordinates", nameOf(object));
    }

    void warn(const scene::TextureElement& texture, const std::string& text) const {
        frame_.log.warningAt(texture.location, "RNDR", "light map \"{}\": {}", texture.name, text);
    }

    [[nodiscard]] std::string nameOf(miTag tag) const {
        const scene::Element* const element = frame_.database.get(tag);
        return element ? element->name : std::string();
    }

    const Frame& frame_;
    std::map<miTag, std::unique_ptr<LightMap>> maps_; // by texture
    std::vector<VertexCalls> vertexCalls_;
    std::map<miTag, std::set<miTag>> objectsOutside_;  // with coordinates outside of a texture
    std::unordered_map<miTag, std::vector<Use>> uses_; // by material
    std::set<miTag> reported_, unusable_;
};

} // namespace

LightMap::LightMap(scene::TextureElement& target)
    : texture(target), layout(target.width, target.height), texels(target.width, target.height) {
}

LightMapPlan planLightMaps(const Frame& frame) {
    return Planner(frame).plan();
}

} // namespace orca::render
