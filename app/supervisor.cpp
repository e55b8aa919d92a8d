// SPDX-License-Identifier: Apache-2.0
#include "supervisor.h"

#include "checkpoints.h"
#include "crash_handler.h"
#include "exit_codes.h"
#include "frames.h"
#include "progress.h"
#include "render_process.h"
#include "report.h"
#include "run_reports.h"

#include "base/utc_time.h"

#include <fmt/format.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>
#include <variant>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orca::app {

namespace {

/// What a fault of the process or a system in need ends it by, and not somebody's wish.
bool isFault(int signal) {
    constexpr int faults[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS, SIGKILL};
    return std::find(std::begin(faults), std::end(faults), signal) != std::end(faults);
}

/// "SIGSEGV", with the number for a signal without a name.
std::string signalName(int signal) {
    const char* const name = ::sigabbrev_np(signal);
    return name ? fmt::format("SIG{}", name) : fmt::format("signal {}", signal);
}

/// Kinds of calls as miSHADER_* count them.
std::string_view callName(int type) {
    static constexpr std::string_view names[] = {
        "shader",   "lens",         "light",    "shadow", "environment",   "volume",
        "texture",  "displacement", "output",   "photon", "photon volume", "light emitter",
        "material", "geometry",     "lightmap", "state",  "contour"};
    return type > 0 && type < static_cast<int>(std::size(names)) ? names[type] : "shader";
}

/// Which shader, for which object and pixel.
std::string describe(const Crash& crash) {
    std::string text = fmt::format("shader \"{}\"", crash.shader);
    if (*crash.element && std::strcmp(crash.element, crash.shader) != 0)
        text += fmt::format(" (\"{}\")", crash.element);
    if (*crash.library) text += fmt::format(" of \"{}\"", crash.library);
    text += fmt::format(", called as {}", callName(crash.callType));
    if (*crash.object) text += fmt::format(" for instance \"{}\"", crash.object);
    if (crash.pixelX >= 0) text += fmt::format(" at pixel {},{}", crash.pixelX, crash.pixelY);
    return text + ", ended the process";
}

std::string describe(const Death& death, const std::optional<Crash>& crash) {
    const int signal = crash && crash->signal ? crash->signal : death.signal();
    if (signal == SIGKILL)
        return fmt::format(
            "the process was killed (SIGKILL), as the system does when memory runs out; it had "
            "used up to {:.2f} GB",
            static_cast<double>(death.peakMemoryBytes()) * 1e-9);
    std::string how;
    if (signal != 0) how = fmt::format("by a fault: {} ({})", ::sigdescr_np(signal), signalName(signal));
    else if (!crash) how = fmt::format("with exit status {}", WEXITSTATUS(death.status));
    else how = crash->saidWhy ? "with a fatal message" : "by calling exit()";
    if (crash && crash->stackIsFull) how += ": its stack is full, as by calls of itself without end";
    if (WIFSIGNALED(death.status) && WCOREDUMP(death.status)) how += " (core dumped)";
    return (crash && *crash->shader ? describe(*crash) : "the process ended") + " " + how;
}

/// Ends this process by the signal that has ended the other one, whose core is the one of interest.
int dieOf(int signal) {
    const rlimit none{};
    ::setrlimit(RLIMIT_CORE, &none);
    ::signal(signal, SIG_DFL);
    ::raise(signal);
    return 128 + signal; // where it is blocked
}

/// How far the pictures of a command have come, over all processes that rendered them.
class Run {
public:
    Run(const CommandLine& command, Log& log, const std::vector<std::string>& scenes, OutputFiles& files)
        : command_(command), log_(log), scenes_(scenes), files_(files) {}

    [[nodiscard]] const RunStart& start() const { return start_; }
    void take(const Report& report);
    /// Reports a death that nobody has asked for.
    void bury(const Death& death);
    /// Where another process goes on. False: there is nothing more to render.
    bool goesOn();
    /// Of the process; none when it has died.
    [[nodiscard]] const std::optional<int>& announced() const { return announced_; }
    [[nodiscard]] bool hasCrashed() const { return crash_.has_value(); }
    /// Says which pictures are missing. The exit code is that of the first failure.
    int finish(int exitCode);

private:
    void fail(int exitCode) {
        if (exitCode_ == exitRendered) exitCode_ = exitCode;
    }
    void reportLoss(const Death& death, const std::string& reason);

    const CommandLine& command_;
    Log& log_;
    const std::vector<std::string>& scenes_;
    OutputFiles& files_;

    RunStart start_;
    std::optional<PictureBegins> picture_; ///< that is being rendered
    std::string pictureStart_;             ///< UTC
    bool readsScene_ = false;
    std::optional<Crash> crash_;
    std::optional<int> announced_;
    std::vector<int> lost_; ///< frames
    bool wentOn_ = false;
    int exitCode_ = exitRendered;
};

void Run::take(const Report& report) {
    if (const auto* scene = std::get_if<SceneBegins>(&report)) {
        if (scene->scene != start_.scene) start_ = {scene->scene, 0};
        readsScene_ = true;
    } else if (const auto* picture = std::get_if<PictureBegins>(&report)) {
        ++start_.pictures;
        picture_ = *picture;
        pictureStart_ = utcTime();
        files_.remember(picture->files);
    } else if (const auto* end = std::get_if<PictureEnds>(&report)) {
        picture_.reset();
        fail(end->exitCode);
    } else if (const auto* announced = std::get_if<ProcessEnds>(&report)) {
        announced_ = announced->exitCode;
        readsScene_ = false;
    } else if (const auto* crash = std::get_if<Crash>(&report)) {
        crash_ = *crash;
    }
}

void Run::bury(const Death& death) {
    fail(exitRenderError);
    const std::string reason = describe(death, crash_);
    if (::isatty(STDERR_FILENO)) fmt::print(stderr, "\r\033[K"); // a progress bar
    if (picture_) reportLoss(death, reason);
    else if (readsScene_)
        log_.write(LogLevel::Fatal, "MAIN", "\"{}\", outside of its pictures: {}", scenes_[start_.scene],
                   reason);
    else log_.write(LogLevel::Fatal, "MAIN", "{}", reason);
}

void Run::reportLoss(const Death& death, const std::string& reason) {
    const PictureFiles& files = picture_->files;
    log_.write(LogLevel::Fatal, "MAIN", "frame {}: {}; the frame is not complete and was not written",
               files.frame, reason);
    if (std::error_code ignored;
        !files.checkpoint.empty() && std::filesystem::exists(files.checkpoint, ignored))
        log_.warning(
            "MAIN",
            "frame {}: \"{}\" holds what was rendered when it was written, and this goes on with it: {}",
            files.frame, files.checkpoint, resumingCommand(command_));
    lost_.push_back(files.frame);
    if (command_.progress == "json") printLostFrame(files.frame, death.exitCode());
    if (!command_.statisticsFile.empty())
        appendStatistics(command_.statisticsFile,
                         LostPicture{files.frame, files.layered, pictureStart_, death.exitCode(), reason,
                                     death.peakMemoryBytes()},
                         log_);
}

bool Run::goesOn() {
    const bool rendersNothing =
        command_.checksOnly || command_.listsInputs || command_.listsOutputs || command_.dumpsPasses;
    const bool cannotBeReadAgain =
        std::find(command_.scenes.begin(), command_.scenes.end(), "-") != command_.scenes.end();
    if (rendersNothing || cannotBeReadAgain || !readsScene_) return false;
    if (!picture_ || picture_->isLast) start_ = {start_.scene + 1, 0};
    picture_.reset();
    crash_.reset();
    readsScene_ = false;
    wentOn_ = start_.scene < scenes_.size();
    return wentOn_;
}

int Run::finish(int exitCode) {
    fail(exitCode);
    if (wentOn_ && !lost_.empty())
        log_.error("MAIN", "the process ended in {} frame{}, not written: {}", lost_.size(),
                   lost_.size() == 1 ? "" : "s", rangesOf(lost_));
    return exitCode_;
}

} // namespace

int supervise(const CommandLine& command, Log& log, const std::vector<std::string>& scenes,
              OutputFiles& files, const std::function<int(const RunStart&)>& render) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return render({}); // it reports faults itself, and follows into no other process
#else
    SignalQueue signals;
    Run run(command, log, scenes, files);
    for (;;) {
        RenderProcess process(signals);
        if (process.isThisOne()) {
            reportCrashes(log);
            return announceEnd(render(run.start()));
        }
        const Death death = process.watch(signals, [&](const Report& report) { run.take(report); });
        if (death.signal() == 0 && run.announced() && !run.hasCrashed()) {
            const int code = *run.announced();
            const bool stopped = code == exitStopped || code > 128;
            return stopped ? code : run.finish(code);
        }
        if (death.signal() != 0 && !isFault(death.signal())) {
            signals.release();
            return dieOf(death.signal());
        }
        run.bury(death);
        if (process.stop() != 0) return 128 + process.stop();
        if (!run.goesOn()) return run.finish(exitRenderError);
    }
#endif
}

} // namespace orca::app
