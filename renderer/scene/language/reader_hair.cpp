// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace orca::scene {

/// Hairs, from after their first word up to the end of the block: statements in any order, then the layouts,
/// the scalars and where each hair begins in them.
void Reader::readHair(ObjectElement& element, const Token& word) {
    const std::string owner = fmt::format("object \"{}\", ", element.name);
    HairList hair;
    bool hasScalars = false;
    constexpr int most = 1 << 30; // scalars, hairs
    const auto count = [&](std::string_view of) {
        const Token at = peek();
        const int value = integer(of);
        if (value < 0 || value > most) fail(at, "object \"{}\": {} cannot be {}", element.name, of, value);
        return static_cast<std::size_t>(value);
    };
    constexpr std::array<std::string_view, 4> hairCodes = {"n", "r", "t", "u"};
    constexpr std::array<std::string_view, 5> vertexCodes = {"n", "m", "r", "t", "u"};
    for (;;) {
        newLine(2);
        const Token at = next();
        if (at.isWord("material")) {
            hair.material = reference(nameToken("the hairs' material"), {miSCENE_MATERIAL}, "a material");
        } else if (at.isWord("radius")) {
            const Token given = peek();
            hair.radius = number("the hairs' radius");
            if (!(hair.radius >= 0.0f && hair.radius <= std::numeric_limits<float>::max()))
                fail(given, "object \"{}\": a hair's radius cannot be {}", element.name, hair.radius);
        } else if (at.isWord("degree")) {
            const Token given = peek();
            hair.degree = integer("the hairs' degree");
            if (hair.degree < 1 || hair.degree > 3)
                fail(given, "object \"{}\": the degree of hairs is 1, 2 or 3, not {}", element.name,
                     hair.degree);
        } else if (at.isWord("round")) {
            hair.round = acceptBoolean().value_or(true);
        } else if (at.isWord("approximate")) {
            hair.pieces = std::clamp(integer("the pieces of a segment"), 1, HairList::mostPieces);
        } else if (at.isWord("hair")) {
            readVertexCodes(hair.hairLayout, element, hairCodes);
        } else if (at.isWord("vertex")) {
            accept("p");
            readVertexCodes(hair.vertexLayout, element, vertexCodes);
        } else if (at.isWord("scalars") || at.isWord("scalar")) {
            readNumberList(hair.scalars, count("the number of scalars"), "scalar",
                           owner + "scalars of the hairs");
            hasScalars = true;
        } else if (at.isWord("hairs")) {
            break;
        } else {
            fail(at,
                 "object \"{}\": expected \"material\", \"radius\", \"degree\", \"round\", \"approximate\", "
                 "\"hair\", \"vertex\", \"scalars\" or \"hairs\", not {}",
                 element.name, at.shown());
        }
    }
    if (!hasScalars) fail(peek(), "object \"{}\": \"scalars\" come before \"hairs\"", element.name);
    std::vector<std::int32_t> starts;
    readNumberList(starts, count("the number of hairs"), "integer", owner + "starts of the hairs");
    newLine(1);
    expectEnd("hair");
    if (const std::string fault = hair.setHairs(starts); !fault.empty())
        error(locationOf(word), "object \"{}\": {}", element.name, fault);
    if (element.hair) {
        error(locationOf(word), "object \"{}\" has hairs twice; the first are taken", element.name);
        return;
    }
    element.hair = std::move(hair);
}

} // namespace orca::scene
