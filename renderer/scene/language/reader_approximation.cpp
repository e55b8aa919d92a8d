// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

#include <algorithm>
#include <array>
#include <vector>

namespace orca::scene {

namespace {

template <std::size_t N>
bool isOneOf(const Token& token, const std::array<std::string_view, N>& words) {
    return token.kind == Token::Kind::Symbol &&
           std::find(words.begin(), words.end(), token.text) != words.end();
}

/// What of curved surfaces is approximated: nothing that polygons have.
constexpr std::array<std::string_view, 4> curvedParts = {"surface", "trim", "curve", "space"};
constexpr std::array<std::string_view, 10> otherTechniques = {
    "parametric", "spatial", "regular",  "distance", "angle",
    "curvature",  "grading", "delaunay", "tree",     "grid"};
constexpr std::array<std::string_view, 8> flags = {"visible", "fine",     "sharp",       "any",
                                                   "all",     "adaptive", "nosmoothing", "displace"};

} // namespace

/// Reads what follows the word "approximate". Numbers after "length" are the length, then the fewest and the
/// most halvings; all other techniques are skipped.
std::optional<Approximation> Reader::readApproximation() {
    Approximation result;
    bool ofPolygons = true;
    std::vector<float>* numbers = nullptr;
    std::vector<float> lengths, others;
    for (;;) {
        const Token token = peek();
        if (token.isWord("max") && peek(1).isWord("displace")) break; // a statement of its own
        if (token.isNumber()) {
            if (numbers) numbers->push_back(token.number);
        } else if (token.isWord("length")) {
            numbers = &lengths;
        } else if (token.isWord("view")) {
            result.inView = true;
        } else if (token.isWord("max") || isOneOf(token, otherTechniques)) {
            numbers = &others;
        } else if (isOneOf(token, curvedParts) && !numbers) {
            ofPolygons = false;
        } else if (!isOneOf(token, flags) && token.kind != Token::Kind::String) {
            break;
        }
        next();
    }
    if (!ofPolygons || lengths.empty() || !(lengths[0] > 0.0f)) return {};
    result.edge = lengths[0];
    if (lengths.size() > 2) {
        constexpr float most = 24.0f;
        result.leastHalvings = static_cast<int>(std::clamp(lengths[1], 0.0f, most));
        result.mostHalvings = static_cast<int>(std::clamp(lengths[2], lengths[1], most));
    }
    return result;
}

} // namespace orca::scene
