// SPDX-License-Identifier: Apache-2.0
#include "command_documents.h"
#include "exit_codes.h"
#include "import/confined.h"

#include "imported_scene.h"
#include "scene_text.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <filesystem>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orca::app {

namespace {

namespace fs = std::filesystem;

struct ImportCommand {
    std::vector<std::string> models;
    std::string model; ///< that is being imported
    std::string output;
    bridge::ImportOptions options;
    ConfinedLimits limits;
    bool geometryOnly = false, tagged = false, quiet = false;
};

/// Two whole numbers with a mark between them, such as 960x540; nothing for anything else.
std::optional<std::pair<int, int>> pairOf(const std::string& text, char mark) {
    std::pair<int, int> pair;
    const char* const end = text.data() + text.size();
    const auto [middle, fault] = std::from_chars(text.data(), end, pair.first);
    if (fault != std::errc{} || middle == end || *middle != mark) return {};
    const auto [last, secondFault] = std::from_chars(middle + 1, end, pair.second);
    return secondFault == std::errc{} && last == end ? std::optional(pair) : std::nullopt;
}

void addOptions(CLI::App& app, ImportCommand& command) {
    bridge::ImportOptions& options = command.options;
    app.add_option(
           "models", command.models,
           "files to import, each into a scene of its own: OBJ, glTF, GLB, FBX, PLY, STL, Collada and others")
        ->required()
        ->type_name("MODEL");
    app.add_option(
           "-o,--output", command.output,
           "scene to write for a single model; - is standard output (default: MODEL.mi in this folder)")
        ->type_name("FILE");
    app.add_option("--scale", options.scale, "multiplies all lengths, after the file's own unit (default: 1)")
        ->type_name("X")
        ->check(CLI::PositiveNumber);
    app.add_option_function<std::string>(
           "--up", [&options](const std::string& axis) { options.zIsUp = axis == "z"; },
           "axis that points up (default: as the file says, else y)")
        ->type_name("AXIS")
        ->check(CLI::IsMember({"y", "z"}));
    app.add_option("--smooth", options.creaseDegrees,
                   "where a mesh has no normals, faces that meet at less than this angle become one smooth "
                   "surface; 0: all are flat (default: 60)")
        ->type_name("DEGREES")
        ->check(CLI::Range(0.0, 180.0));
    app.add_option_function<std::string>(
           "--frames",
           [&options](const std::string& text) {
               options.frames = pairOf(text, ':');
               if (!options.frames || options.frames->first > options.frames->second)
                   throw CLI::ValidationError("--frames", "give the first and the last frame, such as 0:48");
           },
           "frames of the animation to write, such as 0:48; frame 0 is its start")
        ->type_name("A:B");
    app.add_option("--fps", options.framesPerSecond, "frames a second (default: 24)")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    app.add_option("--animation", options.animation, "which one of the file, from 1 (default: 1)")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    app.add_option("--shutter", options.shutter,
                   "blur what moves over this part of a frame, such as 0.5 (default: 0)")
        ->type_name("FRAMES")
        ->check(CLI::Range(0.0, 1.0));
    app.add_option_function<std::string>(
           "--size",
           [&options](const std::string& text) {
               options.size = pairOf(text, 'x');
               if (!options.size || options.size->first < 1 || options.size->second < 1)
                   throw CLI::ValidationError("--size", "give width and height in pixels, such as 960x540");
           },
           "resolution in pixels (default: 960 wide, of the shape of the file's camera)")
        ->type_name("WxH");
    app.add_option("--camera", options.camera,
                   "which of the file's cameras renders (default: the first; without any, one that sees all)")
        ->type_name("NAME");
    app.add_flag_function(
        "--studio,!--no-studio", [&options](std::int64_t count) { options.studio = count > 0; },
        "add a dome of light and a sun, or leave them out; by default they are added where the file has no "
        "light");
    app.add_flag("--ground", options.ground, "add a floor below everything");
    app.add_flag("--geometry", command.geometryOnly,
                 "write the triangles alone, as the statements of one object, for $include");
    app.add_flag("--tagged", command.tagged,
                 "with --geometry: triangles carry the number of their material, for \"tagged\" objects")
        ->needs("--geometry");
    app.add_option("--limit-time", command.limits.seconds, "stop after so many seconds")
        ->type_name("SECONDS")
        ->check(CLI::PositiveNumber);
    app.add_option("--limit-memory", command.limits.megabytes,
                   "stop when more memory is asked for, in MB (default: the machine's)")
        ->type_name("MB")
        ->check(CLI::PositiveNumber);
    app.add_flag("-q,--quiet", command.quiet, "do not say what was imported and what was not");
}

std::string counted(std::size_t count, const char* one, const char* many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

void report(const ImportCommand& command, const bridge::ImportSummary& done) {
    if (command.quiet) return;
    fmt::print(stderr, "{}: {}, {}, {}, {}, {}, {}, {}\n", command.output,
               counted(done.objects, "object", "objects"), counted(done.instances, "instance", "instances"),
               counted(done.triangles, "triangle", "triangles"),
               counted(done.materials, "material", "materials"), counted(done.lights, "light", "lights"),
               counted(done.cameras, "camera", "cameras"), counted(done.frames, "frame", "frames"));
    for (const std::string& loss : done.losses) fmt::print(stderr, "orca-import: left out: {}\n", loss);
}

/// Returns an exit code.
int importModel(const ImportCommand& command) {
    try {
        const bridge::ModelFile model(command.model);
        if (command.geometryOnly) {
            bridge::writeGeometry(model, command.options, command.tagged, command.output);
        } else {
            report(command, bridge::writeScene(model, command.options, command.output));
        }
        return exitRendered;
    } catch (const bridge::WriteError& failure) {
        fmt::print(stderr, "orca-import: {}\n", failure.what());
        return exitNotWritten;
    } catch (const std::bad_alloc&) {
        fmt::print(stderr, "orca-import: \"{}\": {}\n", command.model,
                   command.limits.megabytes > 0
                       ? fmt::format("the limit of {} MB of memory (--limit-memory) is reached",
                                     command.limits.megabytes)
                       : "it needs more memory than there is");
        return exitLimit;
    } catch (const std::exception& failure) {
        fmt::print(stderr, "orca-import: {}\n", failure.what());
        return exitSceneError;
    }
}

/// Imports in a process of its own, so that a file that its reader does not withstand costs a message.
int importConfined(ImportCommand command, const std::string& model) {
    command.model = model;
    if (command.output.empty()) command.output = fs::path(command.model).stem().string() + ".mi";
    std::error_code ignored;
    if (fs::equivalent(command.model, command.output, ignored)) {
        fmt::print(stderr, "orca-import: \"{}\" is the model itself; give another name\n", command.output);
        return exitUsage;
    }
    if (command.limits.seconds == 0) { // readers of damaged files may look for their ends for ever
        constexpr std::uint64_t least = 120, bytesPerSecond = 1 << 20;
        const std::uintmax_t size = fs::file_size(command.model, ignored);
        command.limits.processorSeconds = least + (ignored ? 0 : size / bytesPerSecond);
    }
    const ConfinedEnd end = runConfined(command.limits, [&] { return importModel(command); });
    if (!end.failure.empty()) fmt::print(stderr, "orca-import: \"{}\": {}\n", command.model, end.failure);
    fs::remove(bridge::unfinishedName(command.output), ignored); // of a process that was ended
    return end.exitCode;
}

} // namespace

} // namespace orca::app

/// orca-import: writes models of other formats as scenes.
int main(int argc, char** argv) {
    using namespace orca::app;
    CLI::App app(
        "Writes a model of another format as a scene that renders at once: meshes, materials, textures, "
        "lights, cameras and animation.",
        "orca-import");
    app.set_version_flag("--version", "orca-import " ORCA_VERSION);
    ImportCommand command;
    command.options.program = "orca-import " ORCA_VERSION;
    addOptions(app, command);
    constexpr ExitCodeMeaning codes[] = {
        {"0", "the scene is written"},
        {"2", "the command line is wrong"},
        {"3", "the model cannot be read, or its reader did not withstand it"},
        {"4", "the scene or an image cannot be written"},
        {"6", "a limit of --limit-time or --limit-memory was reached"},
        {"128+N", "ended by signal N"}};
    addDocuments(app, "*", codes, {});
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& done) {
        return app.exit(done);
    } catch (const CLI::ParseError& problem) {
        fmt::print(stderr, "orca-import: {}\n", problem.what());
        return exitUsage;
    }
    if (command.models.size() > 1 && !command.output.empty()) {
        fmt::print(stderr, "orca-import: -o names the scene of one model, but there are {}\n",
                   command.models.size());
        return exitUsage;
    }
    int exitCode = exitRendered; // of the first failure
    for (const std::string& model : command.models)
        if (const int code = importConfined(command, model); exitCode == exitRendered) exitCode = code;
    return exitCode;
}
