// SPDX-License-Identifier: Apache-2.0
#include "command_documents.h"
#include "diff/difference_picture.h"
#include "layers/layered_picture.h"
#include "layers/report_command.h"
#include "verify/law_check.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace orca::app;

constexpr int exitHolds = 0, exitViolated = 1, exitNothingToCheck = 3;

struct Wanted {
    std::string file, json, picture;
    bool quiet = false;
};

/// Matrices have commas in the image library's texts.
MetadataTexts withoutCommas(MetadataTexts texts) {
    if (const auto matrix = texts.find("worldToCamera"); matrix != texts.end())
        std::replace(matrix->second.begin(), matrix->second.end(), ',', ' ');
    return texts;
}

/// The layers that have the window of the first one, which is the picture.
PictureView viewOf(const std::vector<PictureLayer>& layers) {
    const PictureLayer& first = layers.front();
    PictureView view{
        first.left, first.top, first.width, first.height, false, {}, withoutCommas(first.metadata),
        first.name};
    for (const PictureLayer& layer : layers) {
        if (layer.left != first.left || layer.top != first.top || layer.width != first.width ||
            layer.height != first.height)
            continue;
        const auto filtering = layer.metadata.find("passFiltering");
        view.layers.push_back(
            {layer.name, static_cast<int>(layer.channels.size()), layer.values.data(), layer.channels.size(),
             layer.isHalf, filtering == layer.metadata.end() || filtering->second != "off", layer.metadata});
    }
    return view;
}

nlohmann::ordered_json document(const PictureView& picture, const PictureCheck& check) {
    using nlohmann::ordered_json;
    ordered_json all{{"holds", check.holds()},
                     {"laws", ordered_json::array()},
                     {"black", ordered_json::array()},
                     {"notFinite", check.notFinite},
                     {"notExpected", ordered_json::array()}};
    for (const LawOutcome& outcome : check.outcomes) {
        ordered_json values;
        for (std::size_t i = 0; i < outcome.values.size(); ++i)
            values[picture.layers[outcome.law->layers[i]].name] = outcome.values[i];
        all["laws"].push_back({{"law", outcome.law->text},
                               {"holds", outcome.holds()},
                               {"violated", outcome.violated},
                               {"worst",
                                {{"x", outcome.x},
                                 {"y", outcome.y},
                                 {"channel", outcome.channel},
                                 {"left", outcome.sides.left},
                                 {"right", outcome.sides.right},
                                 {"values", values}}}});
    }
    for (const BlackLayer& layer : check.black)
        all["black"].push_back({{"layer", layer.name}, {"reason", layer.reason}});
    for (const ExemptLaw& law : check.laws.exempt)
        all["notExpected"].push_back({{"law", law.text}, {"reason", law.reason}});
    return all;
}

/// A tile for each law that is violated.
void writeViolations(const Wanted& wanted, const PictureView& picture, const PictureCheck& check) {
    std::vector<DifferenceTile> tiles;
    float white = 0.0f;
    for (const LawOutcome& outcome : check.outcomes) {
        if (outcome.holds()) continue;
        tiles.push_back({picture.width, picture.height, outcome.perPixel});
        white = std::max(white, *std::max_element(outcome.perPixel.begin(), outcome.perPixel.end()));
    }
    if (!tiles.empty()) writeDifferencePicture(wanted.picture, tiles, white);
}

int verify(const Wanted& wanted) {
    const std::vector<PictureLayer> layers = readLayers(wanted.file);
    if (layers.empty()) throw std::runtime_error(fmt::format("\"{}\" has no layers", wanted.file));
    const PictureView picture = viewOf(layers);
    const PictureCheck check = checkPicture(picture);
    if (!wanted.quiet && wanted.json != "-")
        for (const Report part : {Report::Violations, Report::Rest})
            for (const std::string& line : reportLines(picture, check, part)) fmt::print("{}\n", line);
    if (!wanted.json.empty()) writeReport(wanted.json, document(picture, check).dump(2) + "\n");
    if (!wanted.picture.empty()) writeViolations(wanted, picture, check);
    if (!check.holds()) return exitViolated;
    return check.outcomes.empty() ? exitNothingToCheck : exitHolds;
}

} // namespace

/// orca-verify: checks at every pixel of a layered file what has to hold between its layers.
int main(int argc, char** argv) {
    CLI::App app(
        "Checks at every pixel of a layered file what has to hold between its layers: that sums close, "
        "that shadows are what shadowed light lacks, that lights and objects add up.",
        "orca-verify");
    app.set_version_flag("--version", "orca-verify " ORCA_VERSION);
    Wanted wanted;
    app.add_option("file", wanted.file, "a layered OpenEXR of orca-render")->required()->type_name("FILE");
    app.add_option("--json", wanted.json, "writes the report as JSON; - for the standard output")
        ->type_name("FILE");
    app.add_option("--picture", wanted.picture,
                   "writes an image with a tile for each law that is violated: black where it holds")
        ->type_name("FILE");
    app.add_flag("-q,--quiet", wanted.quiet, "prints nothing but errors");
    constexpr ExitCodeMeaning codes[] = {{"0", "all laws hold"},
                                         {"1", "a law is violated"},
                                         {"2", "the command line is wrong"},
                                         {"3", "no law holds between these layers"},
                                         {"4", "a file cannot be read or written"}};
    addDocuments(app, "exr", codes, {});
    return runReport(app, argc, argv, [&] { return verify(wanted); });
}
