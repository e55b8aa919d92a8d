// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

#include <array>
#include <cmath>

namespace orca::scene {

void Reader::readVectors(PolygonGroup& group) {
    for (std::array<float, 3> read;;) {
        newLine(2);
        if (stream_.nextBinaryVector(read)) {
            if (!std::isfinite(read[0]) || !std::isfinite(read[1]) || !std::isfinite(read[2])) {
                fail(peek(), "vector {} of the list is not finite", group.vectors.size());
            }
        } else if (!stream_.nextNumber(read[0])) {
            return;
        } else if (!stream_.nextNumber(read[1]) || !stream_.nextNumber(read[2])) {
            fail(peek(), "vector {} of the list has fewer than 3 numbers: {} follows", group.vectors.size(),
                 peek().shown());
        }
        group.vectors.push_back({read[0], read[1], read[2]});
    }
}

void Reader::readVertices(PolygonGroup& group, const ObjectElement& element) {
    bool complained = false;
    Token start; // of the vertex
    const auto index = [&](std::string_view of) {
        std::int32_t value = 0;
        if (!stream_.nextInteger(value)) fail(peek(), "expected {}, not {}", of, peek().shown());
        if (value >= 0 && static_cast<std::size_t>(value) < group.vectors.size()) return value;
        // One message for the group: a shifted list has every index wrong.
        if (!complained) {
            error(locationOf(start),
                  "object \"{}\": vertex {} takes vector {}, but there are {}, counted from 0", element.name,
                  group.position.size() - 1, value, group.vectors.size());
        }
        complained = true;
        return -1;
    };
    while (peek().isWord("v")) {
        newLine(2);
        start = next();
        const std::size_t vertex = group.position.size();
        group.position.push_back(0);
        group.position.back() = std::max(index("the vertex's position index"), 0);
        if (accept("n")) PolygonGroup::setPart(group.normal, vertex, index("the normal's index"));
        if (accept("d")) {
            PolygonGroup::setPart(group.derivU, vertex, index("the derivative's index"));
            PolygonGroup::setPart(group.derivV, vertex, index("the derivative's index"));
            if (peek().kind == Token::Kind::Integer) {
                for (int i = 0; i < 3; ++i) index("the second derivative's index");
            }
        }
        for (std::size_t space = 0; accept("t"); ++space) {
            if (group.textures.size() <= space) group.textures.emplace_back();
            PolygonGroup::TextureSpace& texture = group.textures[space];
            PolygonGroup::setPart(texture.coordinate, vertex, index("the texture coordinate's index"));
            if (peek().kind == Token::Kind::Integer) {
                PolygonGroup::setPart(texture.bumpX, vertex, index("the bump basis vector's index"));
                PolygonGroup::setPart(texture.bumpY, vertex, index("the bump basis vector's index"));
            }
        }
        for (std::size_t segment = 0; accept("m"); ++segment) {
            if (group.motions.size() <= segment) group.motions.emplace_back();
            PolygonGroup::setPart(group.motions[segment], vertex, index("the motion vector's index"));
        }
        for (std::size_t user = 0; accept("u"); ++user) {
            if (group.users.size() <= user) group.users.emplace_back();
            PolygonGroup::setPart(group.users[user], vertex, index("the user vector's index"));
        }
    }
    group.completeParts();
}

/// One closed line of vertices. False, and nothing is kept, when an index is out of range.
bool Reader::readLoop(PolygonGroup& group, const ObjectElement& element, const Token& word) {
    const auto first = static_cast<std::uint32_t>(group.corners.size());
    std::int64_t wrong = -1;
    for (std::int32_t corner; stream_.nextInteger(corner);) {
        const bool fits = corner >= 0 && static_cast<std::size_t>(corner) < group.position.size();
        if (!fits && wrong < 0) wrong = static_cast<std::uint32_t>(corner);
        group.corners.push_back(static_cast<std::uint32_t>(corner));
    }
    const auto count = static_cast<std::uint32_t>(group.corners.size()) - first;
    if (wrong >= 0) {
        error(locationOf(word), "object \"{}\": polygon {} takes vertex {}, but there are {}, counted from 0",
              element.name, group.polygons.size(), static_cast<std::int32_t>(wrong), group.position.size());
    } else if (count < 3) {
        error(locationOf(word), "object \"{}\": a loop of polygon {} has {} vertices; at least 3 are needed",
              element.name, group.polygons.size(), count);
    } else {
        group.loops.push_back({first, count});
        return true;
    }
    group.corners.resize(first);
    return false;
}

/// The label of a part of a tagged object (-1 without), or the name of its material, which may be missing.
void Reader::readMaterialOrLabel(const ObjectElement& element, std::string_view of, miTag& material,
                                 std::int32_t& label) {
    label = -1;
    if (element.tagged) {
        if (!stream_.nextInteger(label)) {
            fail(peek(), "object \"{}\" is tagged, so its {} begin with an integer label, not {}",
                 element.name, of, peek().shown());
        }
    } else if (peek().isName() && !peek().isWord("end")) {
        const Token name = next();
        if (name.text != lastMaterialName_ || lastMaterialName_.empty()) {
            lastMaterial_ = reference(name, {miSCENE_MATERIAL}, "a material");
            lastMaterialName_ = std::string(name.text);
        }
        material = lastMaterial_;
    }
}

void Reader::readPolygon(PolygonGroup& group, const ObjectElement& element, const Token& word) {
    PolygonGroup::Polygon polygon{};
    polygon.convex = !word.isWord("p");
    const std::size_t firstCorner = group.corners.size();
    polygon.firstLoop = static_cast<std::uint32_t>(group.loops.size());
    readMaterialOrLabel(element, "polygons", polygon.material, polygon.label);
    bool whole = readLoop(group, element, word);
    while (accept("hole")) whole = readLoop(group, element, word) && whole;
    if (!whole) {
        group.loops.resize(polygon.firstLoop);
        group.corners.resize(firstCorner);
        return;
    }
    polygon.loopCount = static_cast<std::uint32_t>(group.loops.size()) - polygon.firstLoop;
    if (polygon.loopCount > 1) polygon.convex = false;
    group.polygons.push_back(polygon);
}

} // namespace orca::scene
