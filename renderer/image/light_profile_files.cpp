// SPDX-License-Identifier: Apache-2.0
#include "image/light_profile.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

namespace orca::image {

namespace {

using Symmetry = LightProfile::Symmetry;

constexpr int mostAngles = 10000; // far beyond what is measured; more is a file of another kind

/// The lines of a text, and the numbers in them, with a count for messages.
class Lines {
public:
    explicit Lines(std::string_view text) : rest_(text) {}

    [[nodiscard]] int line() const { return line_; }
    [[nodiscard]] bool atEnd() const { return rest_.empty(); }

    std::string_view nextLine(std::string_view what) {
        if (atEnd()) fail(fmt::format("the file ends where {} should stand", what));
        ++line_;
        const std::size_t end = std::min(rest_.find_first_of("\r\n"), rest_.size());
        std::string_view found = rest_.substr(0, end);
        rest_.remove_prefix(end);
        if (rest_.substr(0, 2) == "\r\n") rest_.remove_prefix(2);
        else if (!rest_.empty()) rest_.remove_prefix(1);
        return found;
    }

    /// The next number, over as many lines as it takes. Blanks and commas separate.
    float number(std::string_view what) {
        for (;;) {
            const std::size_t start = current_.find_first_not_of(" \t,");
            if (start != std::string_view::npos) {
                current_.remove_prefix(start);
                break;
            }
            current_ = nextLine(what);
        }
        const std::string_view word =
            current_.substr(0, std::min(current_.find_first_of(" \t,"), current_.size()));
        current_.remove_prefix(word.size());
        return parsed(word, what);
    }
    /// The number that a line holds alone; a comma may replace its point.
    float numberLine(std::string_view what) {
        std::string text(nextLine(what));
        std::replace(text.begin(), text.end(), ',', '.');
        const std::size_t start = text.find_first_not_of(" \t");
        if (start == std::string::npos) fail(fmt::format("expected {}, not an empty line", what));
        const std::size_t end = text.find_first_of(" \t", start);
        return parsed(std::string_view(text).substr(start, end == std::string::npos ? end : end - start),
                      what);
    }
    int count(float value, std::string_view what, int least = 1) {
        if (!(value >= static_cast<float>(least) && value <= static_cast<float>(mostAngles)) ||
            value != std::floor(value))
            fail(fmt::format("{} cannot be {}", what, value));
        return static_cast<int>(value);
    }
    [[noreturn]] void fail(const std::string& text) const {
        throw LightProfileError(std::max(line_, 1), text);
    }

private:
    float parsed(std::string_view word, std::string_view what) const {
        std::string_view digits = word;
        if (!digits.empty() && digits.front() == '+') digits.remove_prefix(1);
        float value = 0.0f;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        if (error != std::errc() || end != digits.data() + digits.size() || !std::isfinite(value))
            fail(fmt::format("expected {}, not \"{}\"", what, word.substr(0, 40)));
        return value;
    }

    std::string_view rest_, current_;
    int line_ = 0;
};

std::vector<float> numbers(Lines& lines, int count, std::string_view what) {
    std::vector<float> values(static_cast<std::size_t>(count));
    for (float& value : values) value = lines.number(what);
    return values;
}

void demandIncreasing(const Lines& lines, const std::vector<float>& angles, std::string_view what) {
    for (std::size_t i = 1; i < angles.size(); ++i)
        if (!(angles[i] > angles[i - 1]))
            lines.fail(fmt::format("{} must increase, but {} follows {}", what, angles[i], angles[i - 1]));
}

bool near(float a, float b) {
    return std::abs(a - b) < 0.5f;
}

/// What the range of horizontal angles of a type C table says.
Symmetry symmetryOf(const std::vector<float>& horizontal) {
    if (horizontal.size() == 1) return Symmetry::Axial;
    const float first = horizontal.front(), last = horizontal.back();
    if (near(first, 0.0f) && near(last, 90.0f)) return Symmetry::Quarter;
    if (near(first, 0.0f) && near(last, 180.0f)) return Symmetry::Half;
    if (near(first, 90.0f) && near(last, 270.0f)) return Symmetry::HalfAside;
    return Symmetry::None;
}

/// How the lamp's output depends on its tilt: nothing tilts it here.
void skipIesTilt(Lines& lines) {
    const int position = lines.count(lines.number("the lamp's position"), "the lamp's position");
    if (position > 3)
        lines.fail(fmt::format("the lamp's position is 1 (vertical), 2 or 3 (horizontal), not {}", position));
    const int pairs = lines.count(lines.number("the number of tilt angles"), "the number of tilt angles", 0);
    demandIncreasing(lines, numbers(lines, pairs, "a tilt angle"), "tilt angles");
    for (const float factor : numbers(lines, pairs, "the factor of a tilt angle"))
        if (factor < 0.0f) lines.fail(fmt::format("the factor of a tilt angle cannot be {}", factor));
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

} // namespace

void checkIesTilt(const std::string& text) {
    Lines lines(text);
    skipIesTilt(lines);
}

LightProfile::Table readIes(const std::string& text) {
    Lines lines(text);
    constexpr std::string_view tiltKey = "TILT=";
    std::string_view line;
    do {
        line = lines.nextLine("TILT=");
        if (const std::size_t start = line.find_first_not_of(" \t"); start != std::string_view::npos)
            line.remove_prefix(start);
    } while (line.substr(0, tiltKey.size()) != tiltKey);
    line.remove_prefix(tiltKey.size());
    const std::string_view tilt = trimmed(line);
    if (tilt.empty()) lines.fail("expected NONE, INCLUDE or a file's name after TILT=");
    LightProfile::Table table;
    const std::string_view word = tilt.substr(0, tilt.find_first_of(" \t"));
    if (word == "INCLUDE") skipIesTilt(lines);
    else if (word != "NONE") table.tiltFile = tilt;

    lines.number("the number of lamps");
    lines.number("the lumens of a lamp");
    const float multiplier = lines.number("the candela multiplier");
    if (!(multiplier > 0.0f))
        lines.fail(fmt::format("the candela multiplier must be above 0, not {}", multiplier));
    const int verticals =
        lines.count(lines.number("the number of vertical angles"), "the number of vertical angles");
    const int horizontals =
        lines.count(lines.number("the number of horizontal angles"), "the number of horizontal angles");
    const int type = lines.count(lines.number("the photometric type"), "the photometric type");
    if (type > 3) lines.fail(fmt::format("the photometric type is 1 (C), 2 (B) or 3 (A), not {}", type));
    for (const char* what : {"the unit of lengths", "the luminaire's width", "its length", "its height",
                             "the ballast factor", "the second ballast factor", "the input watts"})
        lines.number(what);

    table.axes = type == 1   ? LightProfile::Axes::C
                 : type == 2 ? LightProfile::Axes::B
                             : LightProfile::Axes::A;
    table.vertical = numbers(lines, verticals, "a vertical angle");
    demandIncreasing(lines, table.vertical, "vertical angles");
    table.horizontal = numbers(lines, horizontals, "a horizontal angle");
    demandIncreasing(lines, table.horizontal, "horizontal angles");
    if (table.axes == LightProfile::Axes::C) table.symmetry = symmetryOf(table.horizontal);
    table.candela = numbers(lines, verticals * horizontals, "an intensity");
    for (float& candela : table.candela) candela *= multiplier;
    return table;
}

LightProfile::Table readEulumdat(const std::string& text) {
    Lines lines(text);
    lines.nextLine("the company");
    lines.numberLine("the type of luminaire");
    const int symmetry = lines.count(lines.numberLine("the symmetry"), "the symmetry", 0);
    if (symmetry > 4) lines.fail(fmt::format("the symmetry is 0 to 4, not {}", symmetry));
    const int planes = lines.count(lines.numberLine("the number of C planes"), "the number of C planes");
    lines.numberLine("the distance of C planes");
    const int verticals = lines.count(lines.numberLine("the number of G angles"), "the number of G angles");
    lines.numberLine("the distance of G angles");
    for (int i = 0; i < 5; ++i) lines.nextLine("a name");  // report, luminaire, number, file, date
    for (int i = 0; i < 13; ++i) lines.nextLine("a size"); // lengths, fluxes, conversion factor, tilt
    const int sets = lines.count(lines.numberLine("the number of lamp sets"), "the number of lamp sets", 0);
    for (int i = 0; i < 6 * sets; ++i) lines.nextLine("a lamp");
    for (int i = 0; i < 10; ++i) lines.numberLine("a direct ratio");

    std::vector<float> all(static_cast<std::size_t>(planes));
    for (float& angle : all) angle = lines.numberLine("a C plane");
    demandIncreasing(lines, all, "C planes");
    LightProfile::Table table;
    table.vertical.resize(static_cast<std::size_t>(verticals));
    for (float& angle : table.vertical) angle = lines.numberLine("a G angle");
    demandIncreasing(lines, table.vertical, "G angles");

    // Which of the planes are in the file.
    constexpr Symmetry symmetries[] = {Symmetry::None, Symmetry::Axial, Symmetry::Half, Symmetry::HalfAside,
                                       Symmetry::Quarter};
    table.symmetry = symmetries[symmetry];
    const float first = table.symmetry == Symmetry::HalfAside ? 90.0f : 0.0f;
    const float last = table.symmetry == Symmetry::Axial     ? 0.0f
                       : table.symmetry == Symmetry::Quarter ? 90.0f
                       : table.symmetry == Symmetry::Half    ? 180.0f
                       : table.symmetry == Symmetry::None    ? 360.0f
                                                             : 270.0f;
    for (const float angle : all)
        if (angle > first - 0.5f && angle < last + 0.5f) table.horizontal.push_back(angle);
    if (table.horizontal.empty() || (table.symmetry != Symmetry::Axial && table.horizontal.size() < 2))
        lines.fail(fmt::format("symmetry {} needs C planes from {} to {} degrees", symmetry, first, last));
    table.candela.resize(table.horizontal.size() * table.vertical.size());
    for (float& candela : table.candela) candela = lines.numberLine("an intensity");
    return table;
}

} // namespace orca::image
