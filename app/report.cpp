// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include "progress.h"

#include "base/memory.h"
#include "base/utc_time.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace orca::app {

namespace {

constexpr auto progress = LogLevel::Progress;

std::vector<std::pair<const char*, std::uint64_t>> countsOf(const render::RayCounts& rays) {
    return {{"eye", rays.eye},
            {"transparent", rays.transparent},
            {"reflection", rays.reflection},
            {"refraction", rays.refraction},
            {"shadow", rays.shadow},
            {"gather", rays.gather},
            {"occlusion", rays.occlusion},
            {"environment", rays.environment}};
}

std::string hostName() {
    char name[256] = {};
    return ::gethostname(name, sizeof name - 1) == 0 ? name : "";
}

rusage usage() {
    rusage used{};
    ::getrusage(RUSAGE_SELF, &used);
    return used;
}

double cpuSecondsSoFar() {
    const rusage used = usage();
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(used.ru_utime) + seconds(used.ru_stime);
}

nlohmann::ordered_json json(const PictureReport& picture, const CostMeter& cost) {
    const render::RenderStatistics& statistics = picture.statistics;
    const render::PixelWindow& window = picture.window;
    nlohmann::ordered_json rays;
    for (const auto& [kind, count] : countsOf(statistics.rays)) rays[kind] = count;
    return {{"version", ORCA_VERSION},
            {"frame", picture.frame},
            {"file", picture.file},
            {"exitCode", picture.exitCode},
            {"interrupted", picture.interrupted},
            {"host", hostName()},
            {"start", cost.start()},
            {"end", utcTime()},
            {"threads", statistics.threads},
            {"cpuSeconds", cost.cpuSeconds()},
            {"peakMemoryBytes", static_cast<std::uint64_t>(usage().ru_maxrss) * 1024},
            {"buildSeconds", statistics.buildSeconds},
            {"renderSeconds", statistics.renderSeconds},
            {"size", {picture.width, picture.height}},
            {"window", {window.xl, window.yl, window.xh, window.yh}},
            {"samplingLevels", {picture.minLevel, picture.maxLevel}},
            {"layers", picture.layers},
            {"bytesWritten", picture.bytesWritten},
            {"warnings", cost.warnings()},
            {"errors", cost.errors()},
            {"samples", statistics.rays.samples},
            {"rays", std::move(rays)},
            {"materialCalls", statistics.rays.materialCalls},
            {"lightCalls", statistics.rays.lightCalls},
            {"triangles", statistics.triangles},
            {"hairSegments", statistics.hairSegments},
            {"instances", statistics.meshInstances},
            {"lights", statistics.lights},
            {"filmBytes", statistics.filmBytes}};
}

nlohmann::ordered_json json(const LostPicture& picture) {
    return {{"version", ORCA_VERSION},  {"frame", picture.frame},
            {"file", picture.file},     {"exitCode", picture.exitCode},
            {"reason", picture.reason}, {"interrupted", false},
            {"host", hostName()},       {"start", picture.start},
            {"end", utcTime()},         {"peakMemoryBytes", picture.peakMemoryBytes}};
}

/// In one piece, so that the lines of several processes do not mix.
bool appendLine(const std::string& path, const nlohmann::ordered_json& object, Log& log) {
    // A file name need not be UTF-8.
    const std::string line =
        object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
    const int file = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    const bool written =
        file >= 0 && ::write(file, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    const bool closed = file >= 0 && ::close(file) == 0;
    if (!written || !closed) log.error("MAIN", "cannot write \"{}\": {}", path, std::strerror(errno));
    return written && closed;
}

} // namespace

CostMeter::CostMeter(const Log& log)
    : log_(log),
      start_(utcTime()),
      cpuBefore_(cpuSecondsSoFar()),
      warningsBefore_(log.count(LogLevel::Warning)),
      errorsBefore_(log.count(LogLevel::Error)) {
}

double CostMeter::cpuSeconds() const {
    return cpuSecondsSoFar() - cpuBefore_;
}

int CostMeter::warnings() const {
    return log_.count(LogLevel::Warning) - warningsBefore_;
}

int CostMeter::errors() const {
    return log_.count(LogLevel::Error) - errorsBefore_;
}

PictureReport::PictureReport(int frameNumber, std::string layeredFile, const render::FrameResult& result)
    : frame(frameNumber),
      file(std::move(layeredFile)),
      width(result.frame().width),
      height(result.frame().height),
      window(result.film().window()),
      minLevel(result.picture().options.options.min_samples),
      maxLevel(result.picture().options.options.max_samples),
      statistics(result.statistics),
      interrupted(result.interrupted) {
    for (const image::Layer& layer : result.layers()) layers.push_back(layer.buffer->name);
}

void reportPicture(const PictureReport& picture, Log& log) {
    const render::RenderStatistics& statistics = picture.statistics;
    log.write(progress, "RNDR",
              "frame {}: {} triangles, {}{} instances, {} lights; prepared in {}, rendered in {} on "
              "{} threads",
              picture.frame, statistics.triangles,
              statistics.hairSegments ? fmt::format("{} segments of hairs, ", statistics.hairSegments) : "",
              statistics.meshInstances, statistics.lights, durationText(statistics.buildSeconds),
              durationText(statistics.renderSeconds), statistics.threads);
    const double seconds = std::max(statistics.renderSeconds, 1e-9);
    std::string rays;
    for (const auto& [kind, count] : countsOf(statistics.rays))
        if (count > 0) rays += fmt::format("{} {} {}", rays.empty() ? "" : ",", count, kind);
    log.write(
        progress, "RNDR", "frame {}: {} samples ({:.2f} million a second); rays:{}; frame buffers {:.1f} MB",
        picture.frame, statistics.rays.samples, static_cast<double>(statistics.rays.samples) / seconds / 1e6,
        rays, static_cast<double>(statistics.filmBytes) / 1e6);
}

bool appendStatistics(const std::string& path, const PictureReport& picture, const CostMeter& cost,
                      Log& log) {
    return appendLine(path, json(picture, cost), log);
}

bool appendStatistics(const std::string& path, const LostPicture& picture, Log& log) {
    return appendLine(path, json(picture), log);
}

void reportLeaks(const scene::Database& database, Log& log) {
    const auto pins = database.unbalancedPins();
    for (const auto& pin : pins)
        log.write(progress, "MAIN", "pins: \"{}\" (tag {}) is {} by {}", pin.name, pin.tag,
                  pin.pins > 0 ? "still held" : "released too often", std::abs(pin.pins));
    const auto leaks = MemoryLedger::instance().leaks();
    for (const auto& leak : leaks) {
        // The records of a render state that never saw a sample are kept on purpose.
        const bool known = leak.file.find("FrameBufferState") != std::string::npos;
        log.write(progress, "MAIN", "memory: {} bytes in {} block{} of {}:{}{} were not released{}",
                  leak.bytes, leak.blocks, leak.blocks == 1 ? "" : "s", leak.file, leak.line,
                  leak.arena ? " (an arena)" : "",
                  known ? "; known: a render state that never saw a sample keeps its slots" : "");
    }
    if (pins.empty() && leaks.empty()) log.write(progress, "MAIN", "pins and memory are balanced");
}

} // namespace orca::app
