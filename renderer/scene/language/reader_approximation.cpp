// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace orca::scene {

namespace {

template <std::size_t N>
bool isOneOf(const Token& token, const std::array<std::string_view, N>& words) {
    return token.kind == Token::Kind::Symbol &&
           std::find(words.begin(), words.end(), token.text) != words.end();
}

/// Words without numbers that change nothing here, and words whose numbers change nothing.
constexpr std::array<std::string_view, 10> flags = {"visible",     "fine",     "any",      "all",  "adaptive",
                                                    "nosmoothing", "displace", "delaunay", "tree", "grid"};
constexpr std::array<std::string_view, 3> numbersWithoutEffect = {"max", "sharp", "grading"};

/// Numbers after a technique are its own, then the fewest and the most halvings.
class TechniqueNumbers {
public:
    explicit TechniqueNumbers(SurfaceApproximation& result) : result_(result) {}

    void begin(std::string_view technique) {
        technique_ = technique;
        count_ = 0;
    }
    [[nodiscard]] bool begun() const { return !technique_.empty(); }

    void add(float number) {
        const int index = count_++;
        // The bounds keep what is computed from them small.
        const float positive = std::clamp(number, 0.0f, 1e30f);
        const auto parts = static_cast<int>(std::ceil(std::clamp(number, 1.0f, 4096.0f)));
        int own = 1;
        if (technique_ == "parametric") {
            own = 2;
            if (index == 0) result_.partsU = result_.partsV = parts;
            if (index == 1) result_.partsV = parts;
        } else if (technique_ == "length" || technique_ == "spatial") {
            if (index == 0) result_.length = positive;
        } else if (technique_ == "distance") {
            if (index == 0) result_.distance = positive;
        } else if (technique_ == "angle") {
            if (index == 0) result_.angle = positive;
        } else if (technique_ == "curvature") {
            own = 2;
            if (index == 0) result_.distance = positive;
            if (index == 1) result_.angle = positive;
        } else {
            return;
        }
        constexpr float most = 24.0f;
        if (index == own) least_ = std::clamp(number, 0.0f, most);
        else if (index == own + 1) {
            result_.leastHalvings = static_cast<int>(least_);
            result_.mostHalvings = static_cast<int>(std::clamp(number, least_, most));
        }
    }

private:
    SurfaceApproximation& result_;
    std::string_view technique_;
    int count_ = 0;
    float least_ = 0.0f;
};

} // namespace

/// Reads what follows the word "approximate".
ApproximateStatement Reader::readApproximation() {
    using Part = ApproximateStatement::Part;
    constexpr std::array<std::string_view, 6> techniques = {"parametric", "length", "spatial",
                                                            "distance",   "angle",  "curvature"};
    ApproximateStatement statement;
    TechniqueNumbers numbers(statement.approximation);
    bool spatial = false;
    for (;;) {
        const Token token = peek();
        if (token.isWord("max") && peek(1).isWord("displace")) break; // a statement of its own
        if (token.isNumber()) {
            numbers.add(token.number);
        } else if (isOneOf(token, techniques) || isOneOf(token, numbersWithoutEffect)) {
            numbers.begin(token.text);
            spatial = spatial || token.isWord("spatial");
        } else if (token.isWord("view")) {
            statement.approximation.inView = true;
        } else if (token.isWord("regular")) {
            statement.approximation.ofWhole = true;
        } else if (!numbers.begun() && (token.isWord("surface") || token.isWord("ccmesh"))) {
            statement.part = Part::Surfaces;
        } else if (!numbers.begun() && token.isWord("subdivision") && peek(1).isWord("surface")) {
            next();
            statement.part = Part::Surfaces;
        } else if (!numbers.begun() && token.isWord("trim")) {
            statement.part = Part::Trims;
        } else if (!numbers.begun() && token.isWord("curve")) {
            statement.part = Part::Curves;
        } else if (!numbers.begun() && token.isWord("space") && peek(1).isWord("curve")) {
            next();
            statement.part = Part::SpaceCurves;
        } else if (token.kind == Token::Kind::String) {
            statement.names.emplace_back(token.text);
        } else if (!isOneOf(token, flags)) {
            break;
        }
        next();
    }
    // Displaced polygons know the limit of "length" alone.
    if (spatial && statement.part == Part::Polygons) statement.approximation.length = 0.0f;
    return statement;
}

/// What a statement says of displaced polygons: nothing, unless it limits the length of their edges.
std::optional<Approximation> Reader::ofPolygons(const ApproximateStatement& statement) {
    const SurfaceApproximation& all = statement.approximation;
    if (statement.part != ApproximateStatement::Part::Polygons || !(all.length > 0.0f)) return {};
    return Approximation{all.length, all.inView, all.leastHalvings, all.mostHalvings};
}

void Reader::readObjectApproximation(ObjectElement& element) {
    ApproximateStatement statement = readApproximation();
    if (statement.part == ApproximateStatement::Part::Polygons) {
        if (const auto approximation = ofPolygons(statement)) element.approximation = approximation;
    } else {
        element.surfaceApproximations.push_back(std::move(statement));
    }
}

} // namespace orca::scene
