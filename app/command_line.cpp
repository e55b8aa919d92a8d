// SPDX-License-Identifier: Apache-2.0
#include "command_line.h"

#include "exit_codes.h"
#include "frames.h"
#include "pass_catalogue.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <sstream>

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

bool switchValue(const std::string& option, const std::string& text) {
    if (text == "on" || text == "true") return true;
    if (text == "off" || text == "false") return false;
    refuse(option, text, "on or off");
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

std::vector<std::string> passNames(const std::vector<std::string>& lists) {
    std::vector<std::string> names;
    appendSplit(names, lists, ',');
    std::vector<std::string> unique;
    const auto add = [&](std::string_view name) {
        if (std::find(unique.begin(), unique.end(), name) == unique.end()) unique.emplace_back(name);
    };
    for (const std::string& name : names) {
        if (name == "all" || name == "utility") {
            for (const PassDescription& pass : name == "all" ? materialPasses() : utilityPasses())
                add(pass.name);
            continue;
        }
        if (!findPass(name)) {
            const std::string nearest = nearestPassName(name);
            throw CLI::ValidationError(
                "--passes",
                fmt::format("there is no pass \"{}\"{}; --list-passes names them all", name,
                            nearest.empty() ? "" : fmt::format(", did you mean \"{}\"?", nearest)));
        }
        add(name);
    }
    return unique;
}

/// Options as CLI11 fills them, before they are checked and converted.
struct RawOptions {
    std::string size, pixel, frames, trace, motion, files = "on", verbosity;
    std::vector<int> window, samples;
    std::vector<float> contrast;
    std::vector<std::string> filter, passes, includes, libraryPaths, texturePaths, links, sets, registry;
};

void addOutputOptions(CLI::App& app, CommandLine& command, RawOptions& raw) {
    const std::string group = "Output";
    app.add_option("-o,--output", command.output,
                   "layered OpenEXR to write; #### stands for the frame number (default: SCENE.exr)")
        ->group(group)
        ->type_name("FILE");
    app.add_flag("--single-part", command.singlePart, "all layers in one part of the file")->group(group);
    app.add_option("--png", command.png, "also write the picture for looking at")
        ->group(group)
        ->type_name("FILE");
    app.add_option("--png-layers", command.pngLayers,
                   "also write every layer for looking at, as DIR/LAYER.png")
        ->group(group)
        ->type_name("DIR");
    app.add_option("--file-dir", command.fileDirectory, "where the files go that the scene itself names")
        ->group(group)
        ->type_name("DIR");
    app.add_option("--files", raw.files, "on, off: write no file; layers: only the layered file")
        ->group(group)
        ->type_name("WHICH")
        ->check(CLI::IsMember({"on", "off", "layers"}));
    app.add_flag("--reproducible", command.reproducible,
                 "leave the render time out, so that equal pictures are equal files")
        ->group(group);
    app.add_option("--stats-json", command.statisticsFile, "write counts and times of every picture")
        ->group(group)
        ->type_name("FILE");
    app.add_flag("--list-outputs", command.listsOutputs, "print files, parts and channels; render nothing")
        ->group(group);
}

void addPictureOptions(CLI::App& app, CommandLine& command, RawOptions& raw) {
    const std::string group = "Picture";
    Overrides& overrides = command.overrides;
    app.add_option("--passes", raw.passes,
                   "layers to make on a scene that sets up none: a list with commas; all stands for the "
                   "materials' passes, utility for those of geometry")
        ->group(group)
        ->type_name("LIST");
    app.add_flag("--list-passes", command.listsPasses, "print the passes that there are")->group(group);
    app.add_option("--size", raw.size, "resolution in pixels")->group(group)->type_name("WxH");
    app.add_option("--window", raw.window,
                   "render these pixels only: X0 Y0 X1 Y1, inclusive, from the lower left")
        ->group(group)
        ->expected(4)
        ->type_name("N");
    app.add_option("--pixel", raw.pixel, "render one pixel and print the values of its layers")
        ->group(group)
        ->type_name("X,Y");
    app.add_option("--frames", raw.frames, "frames to render, such as 1-100x2 or 3,5,9-12")
        ->group(group)
        ->type_name("RANGE");
    app.add_option("--samples", raw.samples,
                   "levels of adaptive sampling: 4^N samples a pixel at least and at most")
        ->group(group)
        ->expected(1, 2)
        ->type_name("MIN [MAX]");
    app.add_option("--contrast", raw.contrast,
                   "difference of neighbours that asks for more samples: R G B [A]")
        ->group(group)
        ->expected(1, 4)
        ->type_name("X");
    app.add_option("--filter", raw.filter,
                   "box, triangle, gauss, mitchell or lanczos, with a width in pixels")
        ->group(group)
        ->expected(1, 3)
        ->type_name("NAME [W [H]]");
    app.add_option("--trace", raw.trace, "secondary rays on or off")->group(group)->type_name("SWITCH");
    app.add_option("--trace-depth", overrides.traceDepth, "limits of reflections, refractions and their sum")
        ->group(group)
        ->expected(1, 3)
        ->type_name("N");
    app.add_option("--shadow", overrides.shadow, "off, on, sort or segments")
        ->group(group)
        ->type_name("MODE")
        ->check(CLI::IsMember({"off", "on", "sort", "segments"}));
    app.add_option("--motion", raw.motion, "motion blur on or off")->group(group)->type_name("SWITCH");
    app.add_option("--shutter", overrides.shutter, "[OPEN] CLOSE in frames")
        ->group(group)
        ->expected(1, 2)
        ->type_name("T");
    app.add_option("--gamma", overrides.gamma, "for files of whole numbers")
        ->group(group)
        ->type_name("X")
        ->check(CLI::PositiveNumber);
}

void addSceneOptions(CLI::App& app, CommandLine& command, RawOptions& raw) {
    const std::string group = "Scene";
    app.add_option("scenes", command.scenes,
                   "scene files, read as if they were one; - is standard input; a name may "
                   "hold #### for the frame number")
        ->type_name("SCENE");
    app.add_option("-I,--include", raw.includes, "where $include looks, joined by colons")
        ->group(group)
        ->type_name("DIR");
    app.add_option("-L,--library-path", raw.libraryPaths, "where shader libraries are, joined by colons")
        ->group(group)
        ->type_name("DIR");
    app.add_option("-T,--texture-path", raw.texturePaths, "where textures are, joined by colons")
        ->group(group)
        ->type_name("DIR");
    app.add_option("--link", raw.links, "shader library to load before the scene")
        ->group(group)
        ->type_name("FILE");
    app.add_option("--set", raw.sets, "variable for $ifdef")->group(group)->type_name("NAME[=VALUE]");
    app.add_option("--registry", raw.registry, "value of {NAME} in file names")
        ->group(group)
        ->type_name("NAME=VALUE");
    app.add_flag("--render-anyway", command.renderAnyway, "render a scene that has errors")->group(group);
}

void addMachineOptions(CLI::App& app, CommandLine& command, RawOptions& raw) {
    const std::string group = "Machine";
    app.add_option("-t,--threads", command.threads, "rendering threads (default: all processors)")
        ->group(group)
        ->type_name("N")
        ->check(CLI::Range(0, 1024));
    app.add_option("--tile-size", command.overrides.tileSize, "edge of a tile in pixels")
        ->group(group)
        ->type_name("N")
        ->check(CLI::Range(4, 1024));
    app.add_option("--texture-memory", command.textureMegabytes, "texture cache in MB")
        ->group(group)
        ->type_name("MB")
        ->check(CLI::Range(16, 1 << 20));
    app.add_option(
           "-v,--verbose", raw.verbosity,
           "0 silent, 1 fatal, 2 errors, 3 warnings (default), 4 info, 5 progress and a closing report, 6, 7")
        ->group(group)
        ->type_name("LEVEL");
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
    if (!raw.window.empty()) {
        overrides.window = {raw.window[0], raw.window[1], raw.window[2], raw.window[3]};
        if (raw.window[0] > raw.window[2] || raw.window[1] > raw.window[3])
            throw CLI::ValidationError("--window",
                                       "the window is empty; give X0 Y0 X1 Y1 with X0 <= X1 and Y0 <= Y1");
    }
    if (!raw.pixel.empty()) {
        command.pixel = numberPair("--pixel", raw.pixel, ',', "a pixel such as 120,45");
        const auto [x, y] = *command.pixel;
        overrides.window = {x, y, x, y};
    }
    if (!raw.frames.empty()) {
        command.frames = framesOf(raw.frames);
        if (!command.frames) refuse("--frames", raw.frames, "a range such as 1-100x2");
    }
    if (!raw.samples.empty()) {
        overrides.samples = {raw.samples.front(), raw.samples.back()};
        if (raw.samples.front() > raw.samples.back() || raw.samples.front() < -8 || raw.samples.back() > 8)
            throw CLI::ValidationError("--samples", "levels run from -8 to 8, the least one first");
    }
    if (!raw.contrast.empty()) {
        std::array<float, 4> contrast;
        for (std::size_t i = 0; i < 4; ++i) contrast[i] = raw.contrast[std::min(i, raw.contrast.size() - 1)];
        overrides.contrast = contrast;
    }
    if (!raw.filter.empty()) {
        overrides.filter = raw.filter.front();
        CLI::IsMember names({"box", "triangle", "gauss", "mitchell", "lanczos"});
        if (const std::string problem = names(*overrides.filter); !problem.empty())
            throw CLI::ValidationError("--filter", problem);
        for (std::size_t i = 1; i < raw.filter.size(); ++i) {
            float width = 0.0f;
            if (!CLI::detail::lexical_cast(raw.filter[i], width) || !(width > 0.0f))
                refuse("--filter", raw.filter[i], "a width above 0");
            overrides.filterSize.push_back(width);
        }
    }
    if (!raw.trace.empty()) overrides.trace = switchValue("--trace", raw.trace);
    if (!raw.motion.empty()) overrides.motion = switchValue("--motion", raw.motion);
    if (!raw.verbosity.empty()) command.verbosity = verbosityOf(raw.verbosity);
    command.writesFiles = raw.files != "off";
    command.writesSceneFiles = raw.files == "on";
    command.passes = passNames(raw.passes);
    appendSplit(command.includePaths, raw.includes, ':');
    appendSplit(command.libraryPaths, raw.libraryPaths, ':');
    appendSplit(command.texturePaths, raw.texturePaths, ':');
    command.libraries = raw.links;
    for (const std::string& text : raw.sets) command.variables.insert(assignment("--set", text));
    for (const std::string& text : raw.registry) command.registry.insert(assignment("--registry", text));
}

} // namespace

ParsedCommandLine parseCommandLine(int argc, const char* const* argv) {
    CLI::App app("Renders scene files and their passes.", "orca-render");
    app.set_version_flag("--version", "orca-render " ORCA_VERSION);
    app.get_formatter()->column_width(34);
    CommandLine command;
    RawOptions raw;
    addSceneOptions(app, command, raw);
    addPictureOptions(app, command, raw);
    addOutputOptions(app, command, raw);
    addMachineOptions(app, command, raw);
    // An option of several values must not swallow the scene that follows it; lists of paths come one at a
    // time.
    for (const char* list : {"-I", "-L", "-T", "--link", "--set", "--registry", "--passes"})
        app.get_option(list)->allow_extra_args(false);
    try {
        app.parse(argc, argv);
        convert(raw, command);
        if (command.scenes.empty() && !command.listsPasses)
            throw CLI::ValidationError("SCENE", "a scene file is needed; orca-render --help says more");
    } catch (const CLI::Success& done) {
        return {{}, app.exit(done)};
    } catch (const CLI::ParseError& problem) {
        fmt::print(stderr, "orca-render: {}\n", problem.what());
        return {{}, exitUsage};
    }
    return {std::move(command), exitRendered};
}

} // namespace orca::app
