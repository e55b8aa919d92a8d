// SPDX-License-Identifier: Apache-2.0
#include "scene_echo.h"

#include "advice.h"
#include "exit_codes.h"
#include "file_policy.h"
#include "frames.h"
#include "image/file_in_place.h"
#include "mesh_import.h"
#include "scene/language/scene_writer.h"
#include "scene_run.h"
#include "stop_signal.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <optional>

namespace orca::app {

namespace {

/// Reads the scenes of one frame into a writer. Returns an exit code.
int readInto(scene::SceneWriter& writer, scene::Scene& scene, const CommandLine& command,
             std::optional<int> frame, const FilePolicy& policy, const StopSignal& stop, Log& log) {
    scene::ParserOptions options = parserOptions(command);
    options.stop = &stop.flag();
    options.writer = &writer;
    if (policy.restrictsReading())
        options.mayRead = [&](const std::string& path) { return policy.mayRead(path); };
    scene::ParserCallbacks callbacks;
    callbacks.importMesh = [&](const std::string& path, bool tagged) {
        return importMesh(path, tagged, command.limits.megabytes, stop.flag());
    };
    for (const std::string& file : command.scenes) {
        if (const std::string reason = whyNoScene(file); !reason.empty()) {
            log.error("MAIN", "{}", reason);
            return exitSceneError;
        }
        scene.parseFile(frame ? withFrame(file, *frame) : file, options, callbacks);
    }
    writer.beginStatement();
    if (stop.exitCode() != 0) return stop.exitCode();
    return scene.errors() > 0 ? exitSceneError : exitRendered;
}

int echoScene(const CommandLine& command, std::optional<int> frame, const StopSignal& stop, Log& log) {
    const FilePolicy policy(command);
    scene::Scene scene(log);
    if (command.echoFile == "-") {
        std::string text;
        scene::SceneWriter writer([&](std::string_view part) { text += part; });
        const int code = readInto(writer, scene, command, frame, policy, stop, log);
        if (code == exitRendered) fmt::print("{}", text);
        return code;
    }
    const std::string path = frame ? withFrame(command.echoFile, *frame) : command.echoFile;
    if (!policy.mayWrite(path)) {
        log.error("MAIN", "\"{}\", the scene that is written (--echo), is refused: {}", path,
                  policy.writingRule());
        return exitNotWritten;
    }
    try {
        image::FileInPlace file(path, &stop.flag());
        scene::SceneWriter writer([&](std::string_view part) { file.write(part.data(), part.size()); });
        const int code = readInto(writer, scene, command, frame, policy, stop, log);
        if (code != exitRendered) return code;
        const bool isInput = std::any_of(scene.files().begin(), scene.files().end(), [&](const auto& read) {
            std::error_code ignored;
            return std::filesystem::equivalent(read.path, path, ignored);
        });
        if (isInput) {
            log.error("MAIN", "\"{}\" is read by the scene, and --echo would replace it", path);
            return exitUsage;
        }
        file.commit();
    } catch (const std::exception& failure) {
        log.error("MAIN", "cannot write \"{}\": {}", path, failure.what());
        return stop.exitCode() != 0 ? stop.exitCode() : exitNotWritten;
    }
    log.write(LogLevel::Progress, "MAIN", "wrote \"{}\"", path);
    return exitRendered;
}

} // namespace

int echoScenes(const CommandLine& command, Log& log) {
    const bool perFrame = std::any_of(command.scenes.begin(), command.scenes.end(), hasFramePattern);
    if (perFrame && (!command.frames || (command.frames->size() > 1 && !hasFramePattern(command.echoFile)))) {
        fmt::print(
            stderr,
            "orca-render: scenes of one file per frame need --frames, and #### in the name of --echo\n");
        return exitUsage;
    }
    const StopSignal stop(log);
    if (!perFrame) return echoScene(command, {}, stop, log);
    for (const int frame : *command.frames)
        if (const int code = echoScene(command, frame, stop, log); code != exitRendered) return code;
    return exitRendered;
}

} // namespace orca::app
