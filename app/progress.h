// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdio>
#include <string>

namespace orca::app {

/// How far a picture is. On a terminal one line that is drawn anew; elsewhere a line for every per cent or
/// every ten seconds, whichever comes later, so that logs stay short.
class Progress {
public:
    enum class Style { Quiet, Bar, Lines };

    Progress(Style style, std::FILE* stream, std::string title);
    /// Clears the bar.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// `share` of the picture from 0 to 1. One thread at a time.
    void update(double share);

private:
    using Clock = std::chrono::steady_clock;
    void print(const std::string& text);
    void drawBar(double share, double elapsed);
    void printLine(double share, double elapsed);

    Style style_;
    std::FILE* stream_;
    std::string title_;
    Clock::time_point start_, last_;
    int lastPercent_ = -1;
    bool drawn_ = false;
};

/// "4.2s", "3m07s", "1h02m".
[[nodiscard]] std::string durationText(double seconds);

} // namespace orca::app
