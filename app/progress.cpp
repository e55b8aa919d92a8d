// SPDX-License-Identifier: Apache-2.0
#include "progress.h"

#include "base/utc_time.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>

#include <unistd.h>

namespace orca::app {

namespace {

using Json = nlohmann::ordered_json;
using render::RenderPhase;

constexpr double barInterval = 0.1;   // seconds between drawings
constexpr double lineInterval = 10.0; // seconds between messages

std::string remainingText(double seconds) {
    return seconds < 0.0 ? "?" : durationText(seconds);
}

std::string_view phaseName(RenderPhase phase) {
    switch (phase) {
    case RenderPhase::Prepare: return "prepare";
    case RenderPhase::LightMaps: return "lightmaps";
    case RenderPhase::Gather: return "gather";
    case RenderPhase::Render: return "render";
    case RenderPhase::Contours: return "contours";
    case RenderPhase::Denoise: return "denoise";
    }
    return "?";
}

/// What of the frame is going on, where it is not the picture itself.
std::string_view phaseNote(RenderPhase phase) {
    return phase == RenderPhase::LightMaps  ? "light maps "
           : phase == RenderPhase::Gather   ? "gather prepass "
           : phase == RenderPhase::Contours ? "contours "
           : phase == RenderPhase::Denoise  ? "denoising "
                                            : "";
}

/// A stream that is closed is no reason to lose the picture.
void print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

/// Memory that the process occupies now, bytes.
std::uint64_t residentBytes() {
    std::uint64_t total = 0, resident = 0; // pages
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

double rounded(double number) {
    return std::round(number * 1000.0) / 1000.0;
}

} // namespace

std::string durationText(double seconds) {
    if (seconds < 60.0) return fmt::format("{:.1f}s", seconds);
    const long whole = static_cast<long>(seconds);
    if (whole < 3600) return fmt::format("{}m{:02}s", whole / 60, whole % 60);
    return fmt::format("{}h{:02}m", whole / 3600, whole / 60 % 60);
}

void printLostFrame(int frame, int exitCode) {
    print(Json{{"time", utcTime()}, {"frame", frame}, {"phase", "lost"}, {"exitCode", exitCode}}.dump() +
          '\n');
}

Progress::Progress(Style style, Log& log, int frame)
    : style_(style), log_(log), frame_(frame), start_(Clock::now()), phaseStart_(start_), last_(start_) {
}

double Progress::secondsSince(Clock::time_point point) {
    return std::chrono::duration<double>(Clock::now() - point).count();
}

double Progress::remaining(double share) const {
    return share > 0.005 ? secondsSince(phaseStart_) / share * (1.0 - share) : -1.0;
}

void Progress::update(const render::RenderProgress& progress) {
    if (style_ == Style::Quiet) return;
    if (progress.phase != phase_) {
        phase_ = progress.phase;
        phaseStart_ = Clock::now();
        lastPercent_ = -1;
        isFirst_ = true;
    }
    samples_ = progress.samples;
    const double sinceLast = secondsSince(last_);
    const bool isDue = isFirst_ || (phase_ == RenderPhase::Render && progress.share >= 1.0);
    if (style_ == Style::Json) {
        const double interval = std::clamp(secondsSince(start_) / 100.0, 1.0, 10.0);
        if (!isDue && sinceLast < interval) return;
        printObject(phaseName(phase_), progress.share, progress.samples);
    } else if (phase_ == RenderPhase::Prepare) {
        return;
    } else if (style_ == Style::Bar) {
        if (!isDue && sinceLast < barInterval) return;
        drawBar(progress);
    } else {
        const int percent = static_cast<int>(progress.share * 100.0);
        if (percent == lastPercent_ || (!isDue && sinceLast < lineInterval)) return;
        lastPercent_ = percent;
        postLine(progress);
    }
    isFirst_ = false;
    last_ = Clock::now();
}

void Progress::writes() {
    clear();
    if (style_ == Style::Json) printObject("write", 0.0, samples_);
}

void Progress::ends(int exitCode) {
    clear();
    if (style_ != Style::Json) return;
    print(Json{{"time", utcTime()},
               {"frame", frame_},
               {"phase", "done"},
               {"elapsedSeconds", rounded(secondsSince(start_))},
               {"samples", samples_},
               {"exitCode", exitCode}}
              .dump() +
          '\n');
}

void Progress::clear() {
    if (drawn_) print("\r\033[K");
    drawn_ = false;
}

void Progress::drawBar(const render::RenderProgress& progress) {
    constexpr int width = 30;
    const int filled = static_cast<int>(progress.share * width);
    // The cursor goes back to the line's start, so that a message overwrites the bar instead of following it.
    print(fmt::format("\rframe {} {}[{:=<{}}{: <{}}] {:3.0f} %  {} elapsed, {} left\033[K\r", frame_,
                      phaseNote(phase_), "", filled, "", width - filled, progress.share * 100.0,
                      durationText(secondsSince(start_)), remainingText(remaining(progress.share))));
    drawn_ = true;
}

void Progress::postLine(const render::RenderProgress& progress) {
    log_.write(LogLevel::Progress, "RNDR", "frame {}: {}{:3.0f} %, {} elapsed, {} left", frame_,
               phaseNote(phase_), progress.share * 100.0, durationText(secondsSince(start_)),
               remainingText(remaining(progress.share)));
}

void Progress::printObject(std::string_view phase, double share, std::uint64_t samples) {
    // Of the whole picture: what a prepass leaves to be done is not known.
    const double left = phase_ == RenderPhase::Render ? remaining(share) : -1.0;
    print(Json{{"time", utcTime()},
               {"frame", frame_},
               {"phase", phase},
               {"fraction", rounded(share)},
               {"elapsedSeconds", rounded(secondsSince(start_))},
               {"remainingSeconds", left < 0.0 ? Json() : Json(rounded(left))},
               {"samples", samples},
               {"memoryBytes", residentBytes()}}
              .dump() +
          '\n');
}

} // namespace orca::app
