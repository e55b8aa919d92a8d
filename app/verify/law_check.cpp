// SPDX-License-Identifier: Apache-2.0
#include "verify/law_check.h"

#include "verify/pass_settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace orca::app {

namespace {

constexpr double sumRounding = 1e-5;          // of the sum of sizes: samples are added up in single precision
constexpr double leastSize = 1e-2;            // below which rounding is that of this size
constexpr double halfRounding = 1.0 / 2048.0; // half of a unit in the last place, and a little more
constexpr double halfUnderflow = 6e-8;        // the smallest half number

const float* pixelOf(const LayerView& layer, std::size_t pixel) {
    return layer.pixels + pixel * layer.stride;
}

class Checker {
public:
    Checker(const PictureView& picture, const PassLaw& law) : picture_(picture), law_(law) {
        for (const std::size_t layer : law.layers) layers_.push_back(&picture.layers[layer]);
        values_.resize(layers_.size());
        outcome_.law = &law;
        outcome_.perPixel.resize(pixels());
    }

    LawOutcome check() {
        double worst = -std::numeric_limits<double>::infinity();
        for (std::size_t pixel = 0; pixel < pixels(); ++pixel) {
            for (std::size_t i = 0; i < layers_.size(); ++i) values_[i] = pixelOf(*layers_[i], pixel);
            bool violated = false;
            for (int channel = 0; channel < law_.channels; ++channel) {
                const LawSides sides = law_.sides(values_, channel);
                const double apart =
                    sides.isAtMost ? sides.left - sides.right : std::abs(sides.left - sides.right);
                const double beyond = apart - tolerance(channel, sides);
                if (!std::isfinite(beyond)) continue; // reported as such
                if (beyond > worst) {
                    worst = beyond;
                    note(pixel, channel, sides);
                }
                if (beyond <= 0.0) continue;
                violated = true;
                float& shown = outcome_.perPixel[fromTop(pixel)];
                shown = std::max(shown, static_cast<float>(apart));
            }
            outcome_.violated += violated ? 1 : 0;
        }
        return std::move(outcome_);
    }

private:
    [[nodiscard]] std::size_t pixels() const {
        return static_cast<std::size_t>(picture_.width) * static_cast<std::size_t>(picture_.height);
    }
    [[nodiscard]] std::size_t row(std::size_t pixel) const {
        const std::size_t stored = pixel / static_cast<std::size_t>(picture_.width);
        return picture_.isBottomUp ? static_cast<std::size_t>(picture_.height) - 1 - stored : stored;
    }
    [[nodiscard]] std::size_t column(std::size_t pixel) const {
        return pixel % static_cast<std::size_t>(picture_.width);
    }
    [[nodiscard]] std::size_t fromTop(std::size_t pixel) const {
        return row(pixel) * static_cast<std::size_t>(picture_.width) + column(pixel);
    }
    /// The value of a layer that counts for a channel of the law: layers of one number have it for all.
    [[nodiscard]] float valueAt(std::size_t layer, int channel) const {
        return values_[layer][std::min(channel, layers_[layer]->channels - 1)];
    }

    [[nodiscard]] double tolerance(int channel, const LawSides& sides) const {
        double size = std::max({leastSize, std::abs(sides.left), std::abs(sides.right)}), half = 0.0;
        for (std::size_t i = 0; i < layers_.size(); ++i) {
            double largest = std::abs(double{valueAt(i, channel)});
            // Sides of one channel may be made of all of a layer's.
            for (int c = 0; law_.channels == 1 && c < layers_[i]->channels; ++c)
                largest = std::max(largest, std::abs(double{values_[i][c]}));
            size += largest;
            if (layers_[i]->isHalf) half += largest * halfRounding + halfUnderflow;
        }
        return size * sumRounding + half;
    }

    void note(std::size_t pixel, int channel, const LawSides& sides) {
        outcome_.x = picture_.left + static_cast<int>(column(pixel));
        outcome_.y = picture_.top + static_cast<int>(row(pixel));
        outcome_.channel = channel;
        outcome_.sides = sides;
        outcome_.values.clear();
        for (std::size_t i = 0; i < layers_.size(); ++i) outcome_.values.push_back(valueAt(i, channel));
    }

    const PictureView& picture_;
    const PassLaw& law_;
    std::vector<const LayerView*> layers_;
    std::vector<const float*> values_;
    LawOutcome outcome_;
};

struct Contents {
    bool isBlack = true, isFinite = true;
};

Contents contentsOf(const LayerView& layer, std::size_t pixels) {
    Contents contents;
    for (std::size_t pixel = 0; pixel < pixels; ++pixel)
        for (int c = 0; c < layer.channels; ++c) {
            const float value = pixelOf(layer, pixel)[c];
            contents.isBlack &= value == 0.0f;
            contents.isFinite &= std::isfinite(value);
        }
    return contents;
}

std::string whyBlack(const PassSettings& settings) {
    const auto isEmpty = [](const Members& members) {
        return !members.isAll && members.names && members.names->empty();
    };
    if (isEmpty(settings.objects)) return "no object of the scene takes part in it";
    if (isEmpty(settings.lights)) return "no light of the scene takes part in it";
    const auto range = [](const LevelRange& levels) {
        return fmt::format("{} to {}", levels.least, levels.most);
    };
    if (!settings.isDirect())
        return fmt::format("nothing is seen at its levels: {} reflections, {} refractions",
                           range(settings.reflection), range(settings.refraction));
    return "no material that is seen writes it, or what they write is black";
}

/// How near to being violated a law came that holds.
std::string closestOf(const LawOutcome& outcome) {
    const LawSides& sides = outcome.sides;
    return sides.isAtMost ? fmt::format("; largest {:.6g}", sides.left)
                          : fmt::format("; {:.2g} apart at most", std::abs(sides.left - sides.right));
}

std::string numbersOf(const PictureView& picture, const LawOutcome& outcome) {
    std::vector<std::string> terms;
    for (std::size_t i = 0; i < outcome.values.size(); ++i)
        terms.push_back(
            fmt::format("{} {:.6g}", picture.layers[outcome.law->layers[i]].name, outcome.values[i]));
    return fmt::format("{}", fmt::join(terms, ", "));
}

} // namespace

bool PictureCheck::holds() const {
    return notFinite.empty() && std::all_of(outcomes.begin(), outcomes.end(),
                                            [](const LawOutcome& outcome) { return outcome.holds(); });
}

PictureCheck checkPicture(const PictureView& picture) {
    PictureCheck check{lawsOf(picture), {}, {}, {}};
    for (const PassLaw& law : check.laws.holding) check.outcomes.push_back(Checker(picture, law).check());
    const std::size_t pixels =
        static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
    for (const LayerView& layer : picture.layers) {
        const Contents contents = contentsOf(layer, pixels);
        if (!contents.isFinite) check.notFinite.push_back(layer.name);
        const std::optional<PassSettings> settings = settingsOf(layer, {}, {});
        if (contents.isBlack && settings) check.black.push_back({layer.name, whyBlack(*settings)});
    }
    return check;
}

std::vector<std::string> reportLines(const PictureView& picture, const PictureCheck& check, Report report) {
    std::vector<std::string> lines;
    if (report == Report::Violations) {
        constexpr const char* channels[] = {"R", "G", "B"};
        for (const LawOutcome& outcome : check.outcomes)
            if (!outcome.holds())
                lines.push_back(fmt::format(
                    "violated: {}: {} pixels; worst at {},{} {}: {:.6g} and {:.6g}, with {}",
                    outcome.law->text, outcome.violated, outcome.x, outcome.y, channels[outcome.channel],
                    outcome.sides.left, outcome.sides.right, numbersOf(picture, outcome)));
        for (const std::string& layer : check.notFinite)
            lines.push_back(fmt::format("violated: {} has values that are no numbers, or infinite", layer));
        return lines;
    }
    for (const LawOutcome& outcome : check.outcomes)
        if (outcome.holds())
            lines.push_back(fmt::format("holds: {}{}", outcome.law->text, closestOf(outcome)));
    for (const BlackLayer& layer : check.black)
        lines.push_back(fmt::format("black: {}: {}", layer.name, layer.reason));
    for (const ExemptLaw& law : check.laws.exempt)
        lines.push_back(fmt::format("not expected: {}: {}", law.text, law.reason));
    if (check.outcomes.empty()) lines.push_back("nothing to check: no law holds between these layers");
    return lines;
}

} // namespace orca::app
