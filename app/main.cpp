// SPDX-License-Identifier: Apache-2.0
#include "advice.h"
#include "checkpoints.h"
#include "command_line.h"
#include "exit_codes.h"
#include "frames.h"
#include "layer_arrays.h"
#include "limit_watcher.h"
#include "output_files.h"
#include "overrides.h"
#include "pass_catalogue.h"
#include "portable.h"
#include "report.h"
#include "run_reports.h"
#include "scene_echo.h"
#include "scene_run.h"
#include "stop_signal.h"
#include "supervisor.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <functional>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace orca::app {

namespace {

/// The option whose name for several frames' files is the same; empty when there is none.
std::string sharedByFrames(const CommandLine& command, std::size_t frames) {
    if (frames < 2 || !command.writesFiles || command.pixel) return {};
    const std::pair<const char*, const std::string&> names[] = {
        {"-o", command.output}, {"--png", command.png}, {"--png-layers", command.pngLayers}};
    for (const auto& [option, name] : names)
        if (!name.empty() && !hasFramePattern(name) && !isStream(name)) return option;
    return {};
}

/// Renders the scenes of some frames, in a process of its own. Returns an exit code.
int renderFrames(const CommandLine& command, Log& log, const std::vector<std::optional<int>>& frames,
                 OutputFiles& files, const RunStart& start) {
    StopSignal stop(log);
    LimitWatcher limits(command.limits, stop, log);
    std::map<std::string, InputFile> inputs;
    int exitCode = exitRendered;
    for (std::size_t scene = start.scene; scene < frames.size(); ++scene) {
        send(SceneBegins{scene});
        SceneRun run(command, log, stop, limits, files, frames[scene],
                     scene == start.scene ? start.pictures : 0);
        const int code = run.run();
        inputs.insert(run.inputs().begin(), run.inputs().end());
        if (exitCode == exitRendered) exitCode = code;
        if (stop.exitCode() != 0) return code == exitStopped ? code : stop.exitCode();
    }
    if (command.listsInputs)
        for (const auto& [path, file] : inputs)
            if (!file.missing) fmt::print("{}\n", path);
    return exitCode;
}

/// The exit code of the action; that of a render error, with a message, when it throws.
int reported(Log& log, const std::function<int()>& action) {
    try {
        return action();
    } catch (const std::bad_alloc&) {
        log.write(LogLevel::Fatal, "MAIN", "there is too little memory for the scene or its pictures");
    } catch (const std::exception& failure) {
        log.write(LogLevel::Fatal, "MAIN", "{}", failure.what());
    }
    return exitRenderError;
}

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

    if (const std::string option = sharedByFrames(command, frames.size()); !option.empty()) {
        fmt::print(stderr,
                   "orca-render: frames {} and {} would both be written under the name given to {}: put #### "
                   "into it\n",
                   *frames[0], *frames[1], option);
        return exitUsage;
    }

    if (!reportWithoutEffect(command.overrides, command.strict, log)) return exitUsage;

    OutputFiles files(command, log);
    std::vector<std::string> names;
    for (const std::optional<int>& frame : frames)
        names.push_back(frame ? withFrame(command.scenes.back(), *frame) : command.scenes.back());
    return supervise(command, log, names, files, [&](const RunStart& start) {
        return reported(log, [&] { return renderFrames(command, log, frames, files, start); });
    });
}

/// Rays that nest deeply run shaders within shaders, on the first thread as on the others.
void raiseStackLimit() {
    constexpr rlim_t wanted = rlim_t{64} << 20;
    rlimit limit{};
    if (::getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur >= wanted) return;
    limit.rlim_cur = std::min(wanted, limit.rlim_max);
    ::setrlimit(RLIMIT_STACK, &limit); // where it is refused, the limit stays
}

} // namespace

} // namespace orca::app

int main(int argc, char** argv) {
    using namespace orca::app;
    raiseStackLimit();
    const ParsedCommandLine parsed = parseCommandLine(argc, argv);
    if (!parsed.command) return parsed.exitCode;
    if (parsed.command->portable && !useCommonMathematics(argv)) {
        fmt::print(stderr, "orca-render: --portable: the program cannot be started again: {}\n",
                   std::strerror(errno));
        return exitRenderError;
    }
    if (parsed.command->listsPasses) {
        fmt::print("{}", passTable());
        return exitRendered;
    }
    // Nobody takes the arrays of a render whose program is gone.
    if (parsed.command->arraysTo) ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    orca::Log log(parsed.command->verbosity.value_or(orca::LogLevel::Warning));
    log.setAdvice(adviceFor);
    log.setStamped(!::isatty(STDERR_FILENO));
    return reported(log, [&] {
        if (!parsed.command->developed.empty())
            return holdsArrays(parsed.command->developed) ? developArrays(*parsed.command, log)
                                                          : developCheckpoint(*parsed.command, log);
        if (!parsed.command->echoFile.empty()) return echoScenes(*parsed.command, log);
        return renderAll(*parsed.command, log);
    });
}
