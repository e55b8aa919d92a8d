// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "scene/database.h"
#include "scene/elements/elements.h"

#include <shader.h>

#include <array>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace orca::test {

using Matrix = scene::InstanceElement::Matrix;

/// Parent to local matrices, as an instance's `transform` is written, from the placement of the instance.
[[nodiscard]] inline Matrix placedAt(float x, float y, float z) {
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -x, -y, -z, 1};
}
[[nodiscard]] inline Matrix scaledBy(float x, float y, float z) {
    return {1 / x, 0, 0, 0, 0, 1 / y, 0, 0, 0, 0, 1 / z, 0, 0, 0, 0, 1};
}
/// First placed by `inner`, then by `outer`.
[[nodiscard]] inline Matrix placed(const Matrix& inner, const Matrix& outer) {
    Matrix product;
    mi_matrix_prod(product.data(), outer.data(), inner.data());
    return product;
}

/// A database filled by hand, without the scene language.
class SceneBuilder {
public:
    SceneBuilder() : log(LogLevel::None) { log.keep(true); }

    template <class T, class... A>
    T& add(const std::string& name, A&&... arguments) {
        auto element = std::make_unique<T>(std::forward<A>(arguments)...);
        T& result = *element;
        result.name = name;
        database.setName(name, database.add(std::move(element)));
        return result;
    }

    /// Polygons over shared points; every polygon is a list of loops. Visible to every ray.
    scene::ObjectElement& object(const std::string& name, std::vector<miVector> points,
                                 const std::vector<std::vector<std::vector<std::uint32_t>>>& polygons) {
        auto& element = add<scene::ObjectElement>(name);
        element.object.visible = element.object.trace = element.object.shadow = miTRUE;
        scene::PolygonGroup& group = element.groups.emplace_back();
        for (std::size_t i = 0; i < points.size(); ++i)
            group.position.push_back(static_cast<std::int32_t>(i));
        group.vectors = std::move(points);
        for (const auto& loops : polygons) {
            group.polygons.push_back({static_cast<std::uint32_t>(group.loops.size()),
                                      static_cast<std::uint32_t>(loops.size()), miNULLTAG, -1, false});
            for (const auto& loop : loops) {
                group.loops.push_back({static_cast<std::uint32_t>(group.corners.size()),
                                       static_cast<std::uint32_t>(loop.size())});
                group.corners.insert(group.corners.end(), loop.begin(), loop.end());
            }
        }
        return element;
    }
    /// Square of edge 2 around the origin in the xy plane, front toward +z.
    scene::ObjectElement& square(const std::string& name) {
        return object(name, {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}}, {{{0, 1, 2, 3}}});
    }

    scene::InstanceElement& instance(const std::string& name, const scene::Element& item,
                                     const Matrix& parentToLocal = placedAt(0, 0, 0)) {
        auto& element = add<scene::InstanceElement>(name);
        element.instance.item = item.tag;
        element.setTransform(parentToLocal);
        return element;
    }
    scene::GroupElement& group(const std::string& name,
                               std::initializer_list<const scene::InstanceElement*> members) {
        auto& element = add<scene::GroupElement>(name);
        for (const auto* member : members) element.members.push_back(member->tag);
        return element;
    }
    scene::MaterialElement& material(const std::string& name) { return add<scene::MaterialElement>(name); }
    scene::InstanceElement& light(const std::string& name) {
        return instance(name, add<scene::LightElement>(name + " light"));
    }

    /// True when a message of that level contains the text.
    [[nodiscard]] bool logged(LogLevel level, const std::string& text) const {
        for (const auto& message : log.kept())
            if (message.level == level && message.text.find(text) != std::string::npos) return true;
        return false;
    }

    Log log;
    scene::Database database;
};

} // namespace orca::test
