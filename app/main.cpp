// SPDX-License-Identifier: Apache-2.0
#include "advice.h"
#include "command_line.h"
#include "exit_codes.h"
#include "frames.h"
#include "pass_catalogue.h"
#include "report.h"
#include "scene_run.h"
#include "stop_signal.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>

namespace orca::app {

namespace {

/// Renders every frame of scenes whose names hold ####, or the scenes once.
int renderAll(const CommandLine& command, Log& log) {
    const bool perFrame = std::any_of(command.scenes.begin(), command.scenes.end(), hasFramePattern);
    if (perFrame && !command.frames) {
        fmt::print(stderr, "orca-render: \"{}\" names one file per frame: give the frames with --frames\n",
                   *std::find_if(command.scenes.begin(), command.scenes.end(), hasFramePattern));
        return exitUsage;
    }
    std::vector<std::optional<int>> frames{std::nullopt};
    if (perFrame) frames.assign(command.frames->begin(), command.frames->end());

    const StopSignal stop;
    std::vector<PictureReport> pictures;
    int exitCode = exitRendered;
    for (const std::optional<int>& frame : frames) {
        SceneRun run(command, log, stop, frame);
        const int code = run.run();
        pictures.insert(pictures.end(), run.pictures().begin(), run.pictures().end());
        if (exitCode == exitRendered) exitCode = code;
        if (stop.exitCode() != 0) return stop.exitCode();
    }
    const bool counted = command.statisticsFile.empty() || command.listsOutputs ||
                         writeStatistics(command.statisticsFile, pictures, log);
    return exitCode == exitRendered && !counted ? exitNotWritten : exitCode;
}

} // namespace

} // namespace orca::app

int main(int argc, char** argv) {
    using namespace orca::app;
    const ParsedCommandLine parsed = parseCommandLine(argc, argv);
    if (!parsed.command) return parsed.exitCode;
    if (parsed.command->listsPasses) {
        fmt::print("{}", passTable());
        return exitRendered;
    }
    orca::Log log(parsed.command->verbosity.value_or(orca::LogLevel::Warning));
    log.setAdvice(adviceFor);
    try {
        return renderAll(*parsed.command, log);
    } catch (const std::exception& failure) {
        log.write(orca::LogLevel::Fatal, "MAIN", "{}", failure.what());
        return exitRenderError;
    }
}
