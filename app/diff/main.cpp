// SPDX-License-Identifier: Apache-2.0
#include "command_documents.h"
#include "diff/difference_picture.h"
#include "diff/layer_difference.h"
#include "layers/layered_picture.h"
#include "layers/report_command.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <fnmatch.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace orca::app;

constexpr int exitAlike = 0, exitDifferent = 1;

struct Wanted {
    std::string first, second;
    std::vector<std::string> layers; ///< patterns; empty: all
    Tolerance tolerance;
    double share = 0.0; ///< of a layer's pixels that may differ
    std::string picture, json;
    float white = 0.0f; ///< 0: the largest difference
    bool quiet = false;
};

/// A layer of either file, or of both.
struct Comparison {
    const PictureLayer *first, *second; ///< null where the file has none of that name
    LayerDifference difference;         ///< of both, where they have the same shape
    bool differs;

    [[nodiscard]] const PictureLayer& layer() const { return first ? *first : *second; }
    [[nodiscard]] bool isMeasured() const { return first && second && haveSameShape(*first, *second); }
};

const PictureLayer* layerNamed(const std::vector<PictureLayer>& layers, const std::string& name) {
    const auto found = std::find_if(layers.begin(), layers.end(),
                                    [&](const PictureLayer& layer) { return layer.name == name; });
    return found == layers.end() ? nullptr : &*found;
}

bool isWanted(const Wanted& wanted, const std::string& name) {
    return wanted.layers.empty() ||
           std::any_of(wanted.layers.begin(), wanted.layers.end(), [&](const std::string& pattern) {
               return ::fnmatch(pattern.c_str(), name.c_str(), FNM_NOESCAPE) == 0;
           });
}

Comparison compareLayers(const Wanted& wanted, const PictureLayer* first, const PictureLayer* second) {
    Comparison comparison{first, second, {}, true};
    if (!comparison.isMeasured()) return comparison;
    comparison.difference = differenceOf(*first, *second, wanted.tolerance);
    const LayerDifference& d = comparison.difference;
    comparison.differs = static_cast<double>(d.differing) > wanted.share * static_cast<double>(d.pixels);
    return comparison;
}

std::vector<Comparison> compareAll(const Wanted& wanted, const std::vector<PictureLayer>& first,
                                   const std::vector<PictureLayer>& second) {
    std::vector<Comparison> comparisons;
    for (const PictureLayer& layer : first)
        if (isWanted(wanted, layer.name))
            comparisons.push_back(compareLayers(wanted, &layer, layerNamed(second, layer.name)));
    for (const PictureLayer& layer : second)
        if (isWanted(wanted, layer.name) && !layerNamed(first, layer.name))
            comparisons.push_back(compareLayers(wanted, nullptr, &layer));
    return comparisons;
}

std::string shownName(const PictureLayer& layer) {
    return layer.name.empty() ? "(picture)" : layer.name;
}

std::string shapeOf(const PictureLayer& layer) {
    return fmt::format("{} x {} at {},{} with {}", layer.width, layer.height, layer.left, layer.top,
                       fmt::join(layer.channels, ","));
}

std::string describe(const Wanted& wanted, const Comparison& comparison) {
    if (!comparison.second) return fmt::format("only in {}", wanted.first);
    if (!comparison.first) return fmt::format("only in {}", wanted.second);
    if (!comparison.isMeasured())
        return fmt::format("{} and {}", shapeOf(*comparison.first), shapeOf(*comparison.second));
    const LayerDifference& d = comparison.difference;
    if (d.largest == 0.0f) return "alike";
    return fmt::format("{} of {} pixels differ; at most {:.3g} ({} at {},{}), RMS {:.3g}, PSNR {:.1f} dB",
                       d.differing, d.pixels, d.largest, comparison.first->channels[d.channel], d.x, d.y,
                       d.rms, d.psnr.value_or(0.0));
}

nlohmann::ordered_json document(const Comparison& comparison) {
    nlohmann::ordered_json entry{{"layer", comparison.layer().name},
                                 {"inFirst", comparison.first != nullptr},
                                 {"inSecond", comparison.second != nullptr},
                                 {"sameShape", comparison.isMeasured()},
                                 {"differs", comparison.differs}};
    if (!comparison.isMeasured()) return entry;
    const LayerDifference& d = comparison.difference;
    entry.update({{"pixels", d.pixels},
                  {"differing", d.differing},
                  {"largest", d.largest},
                  {"channel", comparison.first->channels[d.channel]},
                  {"x", d.x},
                  {"y", d.y},
                  {"rms", d.rms}});
    if (d.psnr) entry["psnr"] = *d.psnr;
    return entry;
}

void writeJson(const std::string& path, const std::vector<Comparison>& comparisons) {
    nlohmann::ordered_json all = nlohmann::ordered_json::array();
    for (const Comparison& comparison : comparisons) all.push_back(document(comparison));
    writeReport(path, all.dump(2) + "\n");
}

void writePicture(const Wanted& wanted, const std::vector<Comparison>& comparisons) {
    std::vector<DifferenceTile> tiles;
    float white = wanted.white;
    for (const Comparison& comparison : comparisons) {
        if (!comparison.isMeasured() || comparison.difference.largest == 0.0f) continue;
        tiles.push_back({comparison.first->width, comparison.first->height, comparison.difference.perPixel});
        if (wanted.white == 0.0f) white = std::max(white, comparison.difference.largest);
    }
    if (!tiles.empty()) writeDifferencePicture(wanted.picture, tiles, white);
    else if (!wanted.quiet) fmt::print(stderr, "orca-diff: no picture, as nothing differs\n");
}

int compareFiles(const Wanted& wanted) {
    const std::vector<PictureLayer> first = readLayers(wanted.first), second = readLayers(wanted.second);
    const std::vector<Comparison> comparisons = compareAll(wanted, first, second);
    if (comparisons.empty()) throw std::runtime_error("neither file has a layer of these names");
    std::size_t longest = 0;
    for (const Comparison& comparison : comparisons)
        longest = std::max(longest, shownName(comparison.layer()).size());
    const bool prints = !wanted.quiet && wanted.json != "-";
    for (const Comparison& comparison : comparisons)
        if (prints)
            fmt::print("{:<{}}  {}\n", shownName(comparison.layer()), longest, describe(wanted, comparison));
    if (!wanted.json.empty()) writeJson(wanted.json, comparisons);
    if (!wanted.picture.empty()) writePicture(wanted, comparisons);
    return std::any_of(comparisons.begin(), comparisons.end(), [](const Comparison& c) { return c.differs; })
               ? exitDifferent
               : exitAlike;
}

} // namespace

/// orca-diff: compares two pictures layer by layer.
int main(int argc, char** argv) {
    CLI::App app("Compares two pictures layer by layer, by name.", "orca-diff");
    app.set_version_flag("--version", "orca-diff " ORCA_VERSION);
    Wanted wanted;
    app.add_option("first", wanted.first, "a layered OpenEXR, or an image of another format")
        ->required()
        ->type_name("A");
    app.add_option("second", wanted.second, "what it is compared with")->required()->type_name("B");
    app.add_option("--layers", wanted.layers, "only layers whose names match; * and ? stand for anything")
        ->type_name("PATTERN")
        ->delimiter(',');
    app.add_option("--tolerance", wanted.tolerance.absolute, "how far values may be apart (0)")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--relative", wanted.tolerance.relative, "or by which share of the larger one (0)")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--share", wanted.share, "share of a layer's pixels that may be further apart (0)")
        ->type_name("N")
        ->check(CLI::Range(0.0, 1.0));
    app.add_option(
           "--picture", wanted.picture,
           "writes an image of the differences, a tile for each layer that differs: black where alike, "
           "through red and yellow to white")
        ->type_name("FILE");
    app.add_option("--white", wanted.white,
                   "difference that the image shows white; by default the largest that there is")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    app.add_option("--json", wanted.json, "writes the figures as JSON; - for the standard output")
        ->type_name("FILE");
    app.add_flag("-q,--quiet", wanted.quiet, "prints nothing but errors");
    constexpr ExitCodeMeaning codes[] = {
        {"0", "all layers are alike, within the tolerance"},
        {"1", "layers differ, or one of the files lacks some"},
        {"2", "the command line is wrong"},
        {"4", "a file cannot be read or written, or no layer has such a name"}};
    addDocuments(app, "exr", codes, {});
    return runReport(app, argc, argv, [&] { return compareFiles(wanted); });
}
