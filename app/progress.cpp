// SPDX-License-Identifier: Apache-2.0
#include "progress.h"

#include <fmt/format.h>

#include <algorithm>

namespace orca::app {

namespace {

constexpr double barInterval = 0.1;   // seconds between drawings
constexpr double lineInterval = 10.0; // seconds between lines

/// Time left at the present pace; unknown until a little is done.
std::string remainingText(double share, double elapsed) {
    return share > 0.005 ? durationText(elapsed / share * (1.0 - share)) : "?";
}

} // namespace

std::string durationText(double seconds) {
    if (seconds < 60.0) return fmt::format("{:.1f}s", seconds);
    const long whole = static_cast<long>(seconds);
    if (whole < 3600) return fmt::format("{}m{:02}s", whole / 60, whole % 60);
    return fmt::format("{}h{:02}m", whole / 3600, whole / 60 % 60);
}

Progress::Progress(Style style, std::FILE* stream, std::string title)
    : style_(style), stream_(stream), title_(std::move(title)), start_(Clock::now()), last_(start_) {
}

Progress::~Progress() {
    if (!drawn_) return;
    print("\r\033[K");
}

void Progress::update(double share) {
    if (style_ == Style::Quiet) return;
    share = std::clamp(share, 0.0, 1.0);
    const Clock::time_point now = Clock::now();
    const double elapsed = std::chrono::duration<double>(now - start_).count();
    const double sinceLast = std::chrono::duration<double>(now - last_).count();
    const int percent = static_cast<int>(share * 100.0);
    if (style_ == Style::Bar) {
        if (drawn_ && sinceLast < barInterval && share < 1.0) return;
        drawBar(share, elapsed);
    } else {
        if (percent == lastPercent_ || (lastPercent_ >= 0 && sinceLast < lineInterval && share < 1.0)) return;
        printLine(share, elapsed);
    }
    lastPercent_ = percent;
    last_ = now;
}

/// A stream that is closed is no reason to lose the picture.
void Progress::print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream_);
    std::fflush(stream_);
}

void Progress::drawBar(double share, double elapsed) {
    constexpr int width = 30;
    const int filled = static_cast<int>(share * width);
    // The cursor goes back to the line's start, so that a message overwrites the bar instead of following it.
    print(fmt::format("\r{} [{:=<{}}{: <{}}] {:3.0f} %  {} elapsed, {} left\033[K\r", title_, "", filled, "",
                      width - filled, share * 100.0, durationText(elapsed), remainingText(share, elapsed)));
    drawn_ = true;
}

void Progress::printLine(double share, double elapsed) {
    print(fmt::format("{} {:3.0f} %  {} elapsed, {} left\n", title_, share * 100.0, durationText(elapsed),
                      remainingText(share, elapsed)));
}

} // namespace orca::app
