// SPDX-License-Identifier: Apache-2.0
#include "command_line.h"

#include "advice.h"
#include "command_documents.h"
#include "exit_codes.h"
#include "frames.h"
#include "pass_catalogue.h"

#include "base/nearest_name.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <map>
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
        if (name == "components") {
            for (const std::string_view component : componentPasses()) add(component);
            continue;
        }
        if (!findPass(name)) {
            const std::string nearest = nearestPassName(name);
            throw CLI::ValidationError(
                "--passes",
                fmt::format("there is no pass \"{}\"{}; --list-passes prints them all", name,
                            nearest.empty() ? "" : fmt::format(", did you mean \"{}\"?", nearest)));
        }
        add(name);
    }
    return unique;
}

/// Options as CLI11 fills them, before they are checked and converted.
struct RawOptions {
    std::string size, part, samples, pixel, frames, files = "on", verbosity, checkpoint;
    std::vector<int> window;
    std::vector<std::string> passes, includes, libraryPaths, texturePaths, links, sets, registry;
    std::map<std::string_view, std::vector<std::string>> options; ///< by the scene's words
};

/// An option that stands for a statement of the scene's options. Values and ranges are the statement's.
struct SceneOption {
    const char* flag;
    std::string_view words;
    const char* type;
    const char* help; ///< its words to choose from are added
};
constexpr SceneOption pictureOptions[] = {
    {"--samples", "samples", "MIN [MAX]",
     "levels of adaptive sampling: 4^N samples a pixel at least and at most"},
    {"--contrast", "contrast", "R [G B [A]]", "difference of neighbours that asks for more samples"},
    {"--filter", "filter", "NAME [W [H]]", "pixel filter, with its width and height in pixels"},
    {"--trace", "trace", "SWITCH", "secondary rays"},
    {"--trace-depth", "trace depth", "N", "limits of reflections, refractions and their sum"},
    {"--shadow", "shadow", "MODE", "shadows"},
    {"--motion", "motion", "SWITCH", "motion blur"},
    {"--shutter", "shutter", "T", "[OPEN] CLOSE in frames"},
    {"--gamma", "gamma", "X", "for files of whole numbers"},
    {"--colorclip", "colorclip", "MODE", "what is kept in files of whole numbers"},
    {"--premultiply", "premultiply", "SWITCH", "colours times alpha in files of whole numbers"},
    {"--desaturate", "desaturate", "SWITCH", "grey out colours that files of whole numbers cannot hold"},
    {"--dither", "dither", "SWITCH", "noise against bands in 8-bit files"}};
constexpr SceneOption machineOptions[] = {
    {"--tile-size", "task size", "N", "edge of a tile in pixels; 0: automatic"}};

void addSceneOption(CLI::App& app, const std::string& group, const SceneOption& option, RawOptions& raw) {
    const scene::OptionStatement& statement = scene::optionStatement(option.words);
    const std::string choices = listOf(statement.choices);
    const int words = statement.choices.empty() ? 0 : 1;
    const int fewest = option.words == "contrast" ? 1 : statement.fewest; // one number for all channels
    app.add_option(option.flag, raw.options[option.words],
                   choices.empty() ? option.help : fmt::format("{} ({})", option.help, choices))
        ->group(group)
        ->expected(words + fewest, words + statement.most)
        ->type_name(option.type);
}

void convertSceneOption(const SceneOption& option, RawOptions& raw, Overrides& overrides) {
    std::vector<std::string>& given = raw.options[option.words];
    if (given.empty()) return;
    if (option.words == "contrast" && given.size() == 1) given.resize(3, given.front());
    Overrides::Option converted{&scene::optionStatement(option.words), {}};
    if (const std::string problem = parseOption(*converted.statement, given, converted.values);
        !problem.empty())
        throw CLI::ValidationError(option.flag, problem);
    overrides.options.push_back(converted);
}

void addOutputOptions(CLI::App& app, CommandLine& command, RawOptions& raw) {
    const std::string group = "Output";
    app.add_option("-o,--output", command.output,
                   "layered OpenEXR to write; #### is replaced by the frame number (default: SCENE.exr)")
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
    app.add_flag("--no-space-check{false}", command.checksSpace,
                 "render even where the disk seems too full for the files")
        ->group(group);
    app.add_option("--stats-json", command.statisticsFile,
                   "add a line of JSON for every picture: counts, times, what it cost and what became of it")
        ->group(group)
        ->type_name("FILE");
    app.add_flag("--list-outputs", command.listsOutputs, "print files, parts and channels; render nothing")
        ->group(group);
}

void addPictureOptions(CLI::App& app, CommandLine& command, RawOptions& raw) {
    const std::string group = "Picture";
    app.add_option("--passes", raw.passes,
                   "layers to make on a scene that sets up none: a list with commas; \"all\" means the "
                   "materials' passes, \"utility\" those of geometry, \"components\" those that add up to "
                   "the picture")
        ->group(group)
        ->type_name("LIST");
    app.add_flag("--list-passes", command.listsPasses, "print the passes that there are")->group(group);
    app.add_flag("--dump-passes", command.dumpsPasses,
                 "print what --passes adds to the scene as text to paste into it; render nothing")
        ->group(group);
    app.add_option("--size", raw.size, "resolution in pixels")->group(group)->type_name("WxH");
    app.add_option("--window", raw.window,
                   "render these pixels only: X0 Y0 X1 Y1, inclusive, from the lower left")
        ->group(group)
        ->expected(4)
        ->type_name("N");
    app.add_option(
           "--part", raw.part,
           "render one part of the picture, cut into W columns and H rows: N from 1, in rows from the lower "
           "left; orca-merge joins the parts")
        ->group(group)
        ->type_name("N/WxH")
        ->excludes("--window");
    app.add_option(
           "--sample-range", raw.samples,
           "render samples A to B-1 of each pixel, or share K of N, and write their sums; orca-merge joins "
           "the ranges")
        ->group(group)
        ->type_name("A:B|K/N");
    app.add_option("--pixel", raw.pixel, "render one pixel and print the values of its layers")
        ->group(group)
        ->type_name("X,Y");
    app.add_option("--frames", raw.frames, "frames to render, such as 1-100x2 or 3,5,9-12")
        ->group(group)
        ->type_name("RANGE");
    app.add_flag_function(
           "--default-light,!--no-default-light",
           [&command](std::int64_t count) { command.defaultLight = count > 0; },
           "add a light along the camera's view, or leave it out; by default it is added, with a warning, "
           "where nothing in the scene gives light")
        ->group(group);
    for (const SceneOption& option : pictureOptions) addSceneOption(app, group, option, raw);
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
    app.add_flag("--check", command.checksOnly,
                 "read the scene and look for its mistakes, shaders, textures and pass masks; render nothing")
        ->group(group);
    app.add_flag("--list-inputs", command.listsInputs,
                 "print every file that the scene needs, one a line; render nothing")
        ->group(group);
    app.add_flag("--strict", command.strict,
                 "a missing texture or light profile, a statement without effect and a frame buffer that no "
                 "shader writes are errors")
        ->group(group);
    app.add_flag("--render-anyway", command.renderAnyway, "render a scene that has errors")->group(group);
}

void addMachineOptions(CLI::App& app, CommandLine& command, RawOptions& raw) {
    const std::string group = "Machine";
    app.add_option("-t,--threads", command.threads, "rendering threads (default: all processors)")
        ->group(group)
        ->type_name("N")
        ->check(CLI::Range(0, 1024));
    app.add_option(
           "--checkpoint", raw.checkpoint,
           "write what is rendered every so many seconds, and when stopped, so that it can be gone on with "
           "(default file: that of -o, with .checkpoint added)")
        ->group(group)
        ->type_name("SECONDS[,FILE]");
    app.add_flag("--resume", command.resumes,
                 "go on from the checkpoints of an earlier run; frames that it finished are left as they are")
        ->group(group);
    app.add_flag("--skip-existing", command.skipsExisting,
                 "leave out frames whose files are complete and of the same scene and options")
        ->group(group);
    app.add_flag(
           "--portable", command.portable,
           "use no more than the instructions that all processors have: the same pixels on machines with "
           "other vector units, more slowly")
        ->group(group);
    app.add_option("--develop", command.developed,
                   "write what a checkpoint holds as a picture (-o, --png); render nothing")
        ->group(group)
        ->type_name("FILE");
    for (const SceneOption& option : machineOptions) addSceneOption(app, group, option, raw);
    app.add_option("--texture-memory", command.textureMegabytes, "texture cache in MB")
        ->group(group)
        ->type_name("MB")
        ->check(CLI::Range(16, 1 << 20));
    app.add_option(
           "--progress", command.progress,
           "how far a picture is: a bar or lines of the log (auto, with -v 5 where standard error is no "
           "terminal), nothing (off), or a JSON object a line on standard error (json)")
        ->group(group)
        ->type_name("HOW")
        ->check(CLI::IsMember({"auto", "off", "json"}));
    app.add_option(
           "-v,--verbose", raw.verbosity,
           "0 silent, 1 fatal, 2 errors, 3 warnings (default), 4 info, 5 progress and a closing report, "
           "6 shaders' debugging messages, and all of a shader's messages however often they come, 7 "
           "shaders' "
           "most detailed messages")
        ->group(group)
        ->type_name("LEVEL");
}

/// For scenes from strangers.
void addConfinementOptions(CLI::App& app, CommandLine& command) {
    const std::string group = "Confinement";
    CLI::Validator folder = CLI::ExistingDirectory;
    folder.description(""); // the type's name says it
    app.add_flag("--no-link", command.linksShippedOnly,
                 "refuse the shader libraries that the scene names, except those that come with the command")
        ->group(group);
    app.add_option(
           "--read-only-under", command.readFolders,
           "refuse files that the scene names, libraries included, unless they are below this folder; "
           "may be given several times")
        ->group(group)
        ->type_name("DIR")
        ->check(folder);
    app.add_option("--write-only-under", command.writeFolders,
                   "refuse to write files unless they are below this folder; may be given several times")
        ->group(group)
        ->type_name("DIR")
        ->check(folder);
    app.add_option("--limit-time", command.limits.seconds, "stop after so many seconds")
        ->group(group)
        ->type_name("SECONDS")
        ->check(CLI::PositiveNumber);
    app.add_option("--limit-memory", command.limits.megabytes, "stop when more memory is in use, in MB")
        ->group(group)
        ->type_name("MB")
        ->check(CLI::PositiveNumber);
    app.add_option("--limit-rays", command.limits.rays, "stop after so many rays, of all pictures together")
        ->group(group)
        ->type_name("N")
        ->check(CLI::PositiveNumber);
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
        if (command.pixel || !command.png.empty() || !command.pngLayers.empty())
            throw CLI::ValidationError(
                "--sample-range", "some of the samples make no picture to look at: leave out --pixel, --png "
                                  "and --png-layers, and give them when orca-merge has joined the ranges");
    }
    if (const std::string reason = whyNoLayeredFile(command.output); !reason.empty())
        throw CLI::ValidationError("--output", reason);
    if (const std::string reason = whyNoPreview(command.png); !reason.empty())
        throw CLI::ValidationError("--png", reason);
    if (!raw.frames.empty()) {
        command.frames = framesOf(raw.frames);
        if (!command.frames) refuse("--frames", raw.frames, "a range such as 1-100x2");
    }
    for (const SceneOption& option : pictureOptions) convertSceneOption(option, raw, overrides);
    for (const SceneOption& option : machineOptions) convertSceneOption(option, raw, overrides);
    if (!raw.verbosity.empty()) command.verbosity = verbosityOf(raw.verbosity);
    command.writesFiles = raw.files != "off";
    command.writesSceneFiles = raw.files == "on";
    convertCheckpoint(raw, command);
    command.passes = passNames(raw.passes);
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
    addSceneOptions(app, command, raw);
    addPictureOptions(app, command, raw);
    addOutputOptions(app, command, raw);
    addMachineOptions(app, command, raw);
    addConfinementOptions(app, command);
    // An option of several values must not swallow the scene that follows it; lists of paths come one at a
    // time.
    for (const char* list : {"-I", "-L", "-T", "--link", "--set", "--registry", "--passes",
                             "--read-only-under", "--write-only-under"})
        app.get_option(list)->allow_extra_args(false);
    addDocuments(app, "mi", exitCodes(),
                 {{"Environment",
                   {{"MI_RAY_INCPATH", "directories as of --include, joined by colons, searched after those"},
                    {"MI_LIBRARY_PATH", "as of --library-path"},
                    {"MI_TEXTURE_PATH", "as of --texture-path"}}}});
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
