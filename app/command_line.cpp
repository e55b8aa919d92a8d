// SPDX-License-Identifier: Apache-2.0
#include "command_line.h"

#include "advice.h"
#include "command_documents.h"
#include "command_options.h"
#include "denoise_guides.h"
#include "exit_codes.h"
#include "frames.h"
#include "layered_format_words.h"

#include "base/nearest_name.h"
#include "scene/elements/options_element.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace orca::app {

namespace {

[[noreturn]] void refuse(const std::string& option, const std::string& text, const std::string& expected) {
    throw CLI::ValidationError(option, fmt::format("\"{}\" is not {}", text, expected));
}

/// Two whole numbers with a separator between them.
std::pair<int, int> numberPair(const std::string& option, const std::string& text, char separator,
                               const std::string& expected) {
    std::pair<int, int> pair;
    const char *begin = text.data(), *end = begin + text.size();
    const auto first = std::from_chars(begin, end, pair.first);
    if (first.ec != std::errc() || first.ptr == end || *first.ptr != separator)
        refuse(option, text, expected);
    const auto second = std::from_chars(first.ptr + 1, end, pair.second);
    if (second.ec != std::errc() || second.ptr != end) refuse(option, text, expected);
    return pair;
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream list(text);
    for (std::string part; std::getline(list, part, separator);)
        if (!part.empty()) parts.push_back(part);
    return parts;
}

void appendSplit(std::vector<std::string>& to, const std::vector<std::string>& lists, char separator) {
    for (const std::string& list : lists)
        for (std::string& part : split(list, separator)) to.push_back(std::move(part));
}

std::pair<std::string, std::string> assignment(const std::string& option, const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == 0) refuse(option, text, "NAME=VALUE");
    if (equals == std::string::npos) return {text, ""};
    return {text.substr(0, equals), text.substr(equals + 1)};
}

LogLevel verbosityOf(const std::string& text) {
    if (text == "on") return LogLevel::Progress;
    if (text == "off") return LogLevel::Error;
    int level = -1;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), level);
    if (end.ec != std::errc() || end.ptr != text.data() + text.size() || level < 0 || level > 7)
        refuse("--verbose", text, "a level from 0 (silent) to 7, on or off");
    return static_cast<LogLevel>(level);
}

PassRequests passRequests(const std::vector<std::string>& lists) {
    try {
        return parsePassRequests(lists);
    } catch (const std::invalid_argument& problem) {
        throw CLI::ValidationError("--passes", problem.what());
    }
}

void convertSceneOption(const SceneOptionName& option, RawOptions& raw, Overrides& overrides) {
    std::vector<std::string>& given = raw.options[option.words];
    if (given.empty()) return;
    if (option.words == "contrast" && given.size() == 1) given.resize(3, given.front());
    Overrides::Option converted{&scene::optionStatement(option.words), {}};
    if (const std::string problem = parseOption(*converted.statement, given, converted.values);
        !problem.empty())
        throw CLI::ValidationError(option.flag, problem);
    overrides.options.push_back(converted);
}

void convertFormat(const RawOptions& raw, image::LayeredFormat& format) {
    if (raw.singlePart) format.layout = image::PartLayout::SinglePart;
    if (!raw.compression.empty()) {
        if (const std::string fault = parseCompression(raw.compression, format.compression); !fault.empty())
            throw CLI::ValidationError("--exr-compression", fault);
        if (raw.singlePart && !format.compression.isLossless())
            throw CLI::ValidationError(
                "--exr-compression",
                fmt::format("with --single-part, {} would round depths and positions too",
                            format.compression.word));
    }
    std::vector<std::string> types;
    appendSplit(types, raw.types, ',');
    if (const std::string fault = parseTypes(types, format); !fault.empty())
        throw CLI::ValidationError("--exr-type", fault);
    if (format.isTiled() && (!raw.samples.empty() || !raw.part.empty()))
        throw CLI::ValidationError("--exr-tiles", "orca-merge joins files of rows only");
}

void convertCheckpoint(const RawOptions& raw, CommandLine& command) {
    constexpr double usualSeconds = 60.0;
    if (raw.checkpoint.empty() && !command.resumes) return;
    command.checkpointSeconds = usualSeconds;
    if (!raw.checkpoint.empty()) {
        const char* const end = raw.checkpoint.data() + raw.checkpoint.size();
        const auto read = std::from_chars(raw.checkpoint.data(), end, *command.checkpointSeconds);
        const bool hasFile = read.ptr != end && *read.ptr == ',' && read.ptr + 1 != end;
        if (read.ec != std::errc() || (read.ptr != end && !hasFile) || !(*command.checkpointSeconds >= 0) ||
            *command.checkpointSeconds > 1e9)
            refuse("--checkpoint", raw.checkpoint, "a number of seconds from 0 on, or SECONDS,FILE");
        if (hasFile) command.checkpointFile.assign(read.ptr + 1, end);
    }
    const auto refuseWith = [](const std::string& other) {
        throw CLI::ValidationError("--checkpoint", "a checkpoint cannot be taken with " + other);
    };
    if (command.pixel) refuseWith("--pixel");
    if (std::find(command.scenes.begin(), command.scenes.end(), "-") != command.scenes.end())
        refuseWith("a scene from standard input, which cannot be read again");
    if (!command.writesFiles && command.checkpointFile.empty())
        throw CLI::ValidationError("--checkpoint", "no file is written to name it after: give SECONDS,FILE");
}

/// Deep samples are of one process and of a whole picture, or of a window.
void refuseWithDeep(const RawOptions& raw, const CommandLine& command) {
    if (command.deep.empty()) return;
    const struct {
        bool isGiven;
        const char *option, *reason;
    } cases[] = {{!raw.part.empty(), "--part", "orca-merge joins no deep files"},
                 {!raw.samples.empty(), "--sample-range", "orca-merge joins no deep files"},
                 {command.checkpointSeconds.has_value(), "--checkpoint and --resume",
                  "checkpoints hold no deep samples"},
                 {command.denoises, "--denoise",
                  "deep samples keep the noise, so that they would not add up to the picture"}};
    for (const auto& [isGiven, option, reason] : cases)
        if (isGiven) throw CLI::ValidationError("--deep", fmt::format("leave out {}: {}", option, reason));
}

void convert(RawOptions& raw, CommandLine& command) {
    Overrides& overrides = command.overrides;
    if (!raw.size.empty()) {
        overrides.size = numberPair("--size", raw.size, 'x', "a size such as 1920x1080");
        constexpr int most = 65536;
        const auto [width, height] = *overrides.size;
        if (width < 1 || height < 1 || width > most || height > most)
            refuse("--size", raw.size, "a size between 1x1 and 65536x65536");
    }
    if (!raw.overscan.empty()) {
        Overrides::Overscan given{0, raw.overscan.back() == '%'};
        const char* const end = raw.overscan.data() + raw.overscan.size() - (given.percent ? 1 : 0);
        const auto read = std::from_chars(raw.overscan.data(), end, given.number);
        const double most = given.percent ? 100 : scene::overscanAtMost;
        if (read.ec != std::errc() || read.ptr != end || !(given.number >= 0) || given.number > most ||
            (!given.percent && given.number != std::floor(given.number)))
            refuse("--overscan", raw.overscan,
                   fmt::format("a number of pixels from 0 to {}, or of percent from 0% to 100%",
                               scene::overscanAtMost));
        overrides.overscan = given;
    }
    if (!raw.window.empty()) {
        overrides.window = {raw.window[0], raw.window[1], raw.window[2], raw.window[3]};
        if (raw.window[0] > raw.window[2] || raw.window[1] > raw.window[3])
            throw CLI::ValidationError("--window",
                                       "the window is empty; give X0 Y0 X1 Y1 with X0 <= X1 and Y0 <= Y1");
    }
    if (!raw.part.empty()) {
        constexpr const char* expected = "a part such as 3/2x2, which has four";
        const std::size_t slash = raw.part.find('/');
        if (slash == std::string::npos) refuse("--part", raw.part, expected);
        const auto [columns, rows] = numberPair("--part", raw.part.substr(slash + 1), 'x', expected);
        int number = 0;
        const auto read = std::from_chars(raw.part.data(), raw.part.data() + slash, number);
        constexpr int most = 1024;
        if (read.ec != std::errc() || read.ptr != raw.part.data() + slash || columns < 1 || rows < 1 ||
            columns > most || rows > most || number < 1 || number > columns * rows)
            refuse("--part", raw.part, expected);
        overrides.part = GridPart{number, columns, rows};
    }
    if (!raw.pixel.empty()) {
        command.pixel = numberPair("--pixel", raw.pixel, ',', "a pixel such as 120,45");
        const auto [x, y] = *command.pixel;
        overrides.window = {x, y, x, y};
    }
    if (!raw.samples.empty()) {
        command.samples = sampleRequest(raw.samples);
        if (!command.samples)
            refuse("--sample-range", raw.samples, "a range such as 0:16, or a share such as 1/4");
        if (command.pixel || !command.png.empty() || !command.pngLayers.empty() || command.arraysTo)
            throw CLI::ValidationError("--sample-range",
                                       "some of the samples make no picture to look at: leave out --pixel, "
                                       "--png, --png-layers and --arrays-to, and give them when orca-merge "
                                       "has joined the ranges");
    }
    if (command.denoises && (!raw.samples.empty() || !raw.part.empty()))
        throw CLI::ValidationError("--denoise",
                                   "noise is filtered out of whole pictures: leave out --part and "
                                   "--sample-range");
    if (const std::string reason = whyNoLayeredFile(command.output); !reason.empty())
        throw CLI::ValidationError("--output", reason);
    if (const std::string reason = whyNoDeepFile(command.deep); !reason.empty())
        throw CLI::ValidationError("--deep", reason);
    if (const std::string reason = whyNoPreview(command.png); !reason.empty())
        throw CLI::ValidationError("--png", reason);
    if (!raw.frames.empty()) {
        command.frames = framesOf(raw.frames);
        if (!command.frames) refuse("--frames", raw.frames, "a range such as 1-100x2");
    }
    for (const SceneOptionName& option : sceneOptionNames()) convertSceneOption(option, raw, overrides);
    if (!raw.verbosity.empty()) command.verbosity = verbosityOf(raw.verbosity);
    command.writesFiles = raw.files != "off";
    command.writesSceneFiles = raw.files == "on";
    convertFormat(raw, command.format);
    convertCheckpoint(raw, command);
    refuseWithDeep(raw, command);
    if (command.denoises) raw.passes.emplace_back(denoiseGuidePasses);
    command.passes = passRequests(raw.passes);
    if (command.dumpsPasses && command.passes.empty())
        throw CLI::ValidationError("--dump-passes", "give the passes with --passes");
    appendSplit(command.includePaths, raw.includes, ':');
    appendSplit(command.libraryPaths, raw.libraryPaths, ':');
    appendSplit(command.texturePaths, raw.texturePaths, ':');
    command.libraries = raw.links;
    for (const std::string& text : raw.sets) command.variables.insert(assignment("--set", text));
    for (const std::string& text : raw.registry) command.registry.insert(assignment("--registry", text));
}

/// What is wrong with a word that names no option, and which one may be meant.
std::string unknownOption(const CLI::App& app, const std::string& word) {
    const std::string given = word.substr(0, word.find('='));
    const std::string name = given.substr(std::min(given.find_first_not_of('-'), given.size()));
    std::vector<std::string_view> names;
    for (const CLI::Option* const option : app.get_options())
        for (const std::string& known : option->get_lnames()) names.push_back(known);
    const std::string nearest = nearestName(name, names);
    return fmt::format("there is no option \"{}\"; {}", given,
                       nearest.empty() ? "orca-render --help lists them all"
                                       : fmt::format("did you mean \"--{}\"?", nearest));
}

} // namespace

ParsedCommandLine parseCommandLine(int argc, const char* const* argv) {
    CLI::App app("Renders scene files and their passes.", "orca-render");
    app.set_version_flag("--version", "orca-render " ORCA_VERSION);
    app.get_formatter()->column_width(34);
    CommandLine command;
    RawOptions raw;
    addOptions(app, command, raw);
    addDocuments(
        app, "mi", exitCodes(),
        {{"Environment",
          {{"MI_RAY_INCPATH", "directories as of --include, joined by colons, searched after those"},
           {"MI_LIBRARY_PATH", "as of --library-path"},
           {"MI_TEXTURE_PATH", "as of --texture-path"},
           {"OCIO", "colour configuration, as of --ocio; without --display, --view or --ocio it is used for "
                    "textures alone"}}}});
    try {
        app.parse(argc, argv);
        convert(raw, command);
        command.words.assign(argv, argv + argc);
        if (command.scenes.empty() && !command.listsPasses && command.developed.empty())
            throw CLI::ValidationError("SCENE", "a scene file is needed; orca-render --help says more");
    } catch (const CLI::Success& done) {
        return {{}, app.exit(done)};
    } catch (const CLI::ExtrasError&) {
        for (const std::string& word : app.remaining())
            fmt::print(stderr, "orca-render: {}\n", unknownOption(app, word));
        return {{}, exitUsage};
    } catch (const CLI::ParseError& problem) {
        fmt::print(stderr, "orca-render: {}\n", problem.what());
        return {{}, exitUsage};
    }
    return {std::move(command), exitRendered};
}

} // namespace orca::app
