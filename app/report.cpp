// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include "progress.h"

#include "base/memory.h"
#include "image/file_in_place.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <utility>

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

nlohmann::ordered_json json(const PictureReport& picture) {
    const render::RenderStatistics& statistics = picture.statistics;
    nlohmann::ordered_json rays;
    for (const auto& [kind, count] : countsOf(statistics.rays)) rays[kind] = count;
    return {{"frame", picture.frame},
            {"file", picture.file},
            {"interrupted", picture.interrupted},
            {"threads", statistics.threads},
            {"buildSeconds", statistics.buildSeconds},
            {"renderSeconds", statistics.renderSeconds},
            {"samples", statistics.rays.samples},
            {"rays", std::move(rays)},
            {"materialCalls", statistics.rays.materialCalls},
            {"lightCalls", statistics.rays.lightCalls},
            {"triangles", statistics.triangles},
            {"instances", statistics.meshInstances},
            {"lights", statistics.lights},
            {"filmBytes", statistics.filmBytes}};
}

} // namespace

void reportPicture(const PictureReport& picture, Log& log) {
    const render::RenderStatistics& statistics = picture.statistics;
    log.write(progress, "RNDR",
              "frame {}: {} triangles, {} instances, {} lights; prepared in {}, rendered in {} on "
              "{} threads",
              picture.frame, statistics.triangles, statistics.meshInstances, statistics.lights,
              durationText(statistics.buildSeconds), durationText(statistics.renderSeconds),
              statistics.threads);
    const double seconds = std::max(statistics.renderSeconds, 1e-9);
    std::string rays;
    for (const auto& [kind, count] : countsOf(statistics.rays))
        if (count > 0) rays += fmt::format("{} {} {}", rays.empty() ? "" : ",", count, kind);
    log.write(
        progress, "RNDR", "frame {}: {} samples ({:.2f} million a second); rays:{}; frame buffers {:.1f} MB",
        picture.frame, statistics.rays.samples, static_cast<double>(statistics.rays.samples) / seconds / 1e6,
        rays, static_cast<double>(statistics.filmBytes) / 1e6);
}

bool writeStatistics(const std::string& path, const std::vector<PictureReport>& pictures, Log& log) {
    nlohmann::ordered_json all{{"version", ORCA_VERSION}, {"pictures", nlohmann::ordered_json::array()}};
    for (const PictureReport& picture : pictures) all["pictures"].push_back(json(picture));
    // A file name need not be UTF-8.
    const std::string text = all.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
    try {
        image::FileInPlace file(path);
        file.write(text.data(), text.size());
        file.commit();
        return true;
    } catch (const std::exception& failure) {
        log.error("MAIN", "cannot write \"{}\": {}", path, failure.what());
        return false;
    }
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
