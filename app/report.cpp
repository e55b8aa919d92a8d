// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include "progress.h"

#include "base/memory.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') result += '\\';
        if (static_cast<unsigned char>(c) < 0x20) result += fmt::format("\\u{:04x}", static_cast<int>(c));
        else result += c;
    }
    return result + '"';
}

std::string json(const PictureReport& picture) {
    const render::RenderStatistics& statistics = picture.statistics;
    std::string rays;
    for (const auto& [kind, count] : countsOf(statistics.rays))
        rays += fmt::format("{}\"{}\": {}", rays.empty() ? "" : ", ", kind, count);
    return fmt::format("    {{\"frame\": {}, \"file\": {}, \"interrupted\": {}, \"threads\": {},\n"
                       "     \"buildSeconds\": {:.6f}, \"renderSeconds\": {:.6f}, \"samples\": {},\n"
                       "     \"rays\": {{{}}},\n"
                       "     \"materialCalls\": {}, \"lightCalls\": {},\n"
                       "     \"triangles\": {}, \"instances\": {}, \"lights\": {}, \"filmBytes\": {}}}",
                       picture.frame, quoted(picture.file), picture.interrupted, statistics.threads,
                       statistics.buildSeconds, statistics.renderSeconds, statistics.rays.samples, rays,
                       statistics.rays.materialCalls, statistics.rays.lightCalls, statistics.triangles,
                       statistics.meshInstances, statistics.lights, statistics.filmBytes);
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
    std::string text = "{\n  \"version\": \"" ORCA_VERSION "\",\n  \"pictures\": [\n";
    for (std::size_t i = 0; i < pictures.size(); ++i) text += (i > 0 ? ",\n" : "") + json(pictures[i]);
    text += "\n  ]\n}\n";
    std::FILE* file = std::fopen(path.c_str(), "wb");
    const bool written = file && std::fwrite(text.data(), 1, text.size(), file) == text.size();
    const bool closed = file && std::fclose(file) == 0;
    if (!written || !closed) log.error("MAIN", "cannot write \"{}\": {}", path, std::strerror(errno));
    return written && closed;
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
