// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "render/session.h"
#include "scene/database.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orca::app {

/// What a picture costs the process, from the meter's construction on.
class CostMeter {
public:
    explicit CostMeter(const Log& log);

    [[nodiscard]] const std::string& start() const { return start_; } ///< UTC
    [[nodiscard]] double cpuSeconds() const;                          ///< of all threads
    [[nodiscard]] int warnings() const;
    [[nodiscard]] int errors() const;

private:
    const Log& log_;
    std::string start_;
    double cpuBefore_;
    int warningsBefore_, errorsBefore_;
};

/// What became of one picture.
struct PictureReport {
    int frame = 0;
    std::string file;
    int width = 0, height = 0;      ///< of the whole picture, pixels
    render::PixelWindow window{};   ///< that was rendered
    int minLevel = 0, maxLevel = 0; ///< of sampling
    std::vector<std::string> layers;
    render::RenderStatistics statistics;
    bool interrupted = false;
    std::uint64_t bytesWritten = 0;
    int exitCode = 0;

    PictureReport(int frameNumber, std::string layeredFile, const render::FrameResult& result);
};

/// Logs a picture's counts and times, at progress level.
void reportPicture(const PictureReport& picture, Log& log);

/// A picture whose process has died.
struct LostPicture {
    int frame = 0;
    std::string file;
    std::string start; ///< UTC, as of CostMeter
    int exitCode = 0;  ///< of the process, 128 + N for signal N
    std::string reason;
    std::uint64_t peakMemoryBytes = 0;
};

/// Adds a line with a JSON object to the file: the picture's counts and times, and what it cost up to now.
/// False, with a message, when it cannot be written.
bool appendStatistics(const std::string& path, const PictureReport& picture, const CostMeter& cost, Log& log);
/// Fewer fields of the same names, and the reason.
bool appendStatistics(const std::string& path, const LostPicture& picture, Log& log);

/// Logs, at progress level, every database pin and every memory block that was not released, with the code
/// that took it.
void reportLeaks(const scene::Database& database, Log& log);

} // namespace orca::app
