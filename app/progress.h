// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "render/render_settings.h"

#include <chrono>
#include <string>
#include <string_view>

namespace orca::app {

/// How far a picture is, on standard error. On a terminal one line that is drawn anew; elsewhere a message
/// for every per cent or every ten seconds, whichever comes later, so that logs stay short; for programs a
/// line with a JSON object whenever a phase begins and at most once a second, in long renders every ten
/// seconds.
class Progress {
public:
    enum class Style { Quiet, Bar, Lines, Json };

    Progress(Style style, Log& log, int frame);
    /// Clears the bar.
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// One thread at a time, as all that follows.
    void update(const render::RenderProgress& progress);
    /// The picture is rendered, and its files are being written.
    void writes();
    /// The picture's end, with its exit code.
    void ends(int exitCode);

private:
    using Clock = std::chrono::steady_clock;
    [[nodiscard]] static double secondsSince(Clock::time_point point);
    /// Seconds left of the phase at its pace so far; negative: unknown.
    [[nodiscard]] double remaining(double share) const;
    void clear();
    void drawBar(const render::RenderProgress& progress);
    void postLine(const render::RenderProgress& progress);
    void printObject(std::string_view phase, double share, std::uint64_t samples);

    Style style_;
    Log& log_;
    int frame_;
    Clock::time_point start_, phaseStart_, last_;
    render::RenderPhase phase_ = render::RenderPhase::Prepare;
    bool isFirst_ = true; ///< report of the phase
    std::uint64_t samples_ = 0;
    int lastPercent_ = -1;
    bool drawn_ = false;
};

/// The line of JSON for a frame whose process has died.
void printLostFrame(int frame, int exitCode);

/// "4.2s", "3m07s", "1h02m".
[[nodiscard]] std::string durationText(double seconds);

} // namespace orca::app
