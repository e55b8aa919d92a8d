// SPDX-License-Identifier: Apache-2.0
#include "render/contours.h"

#include "render/contour/contour_cells.h"
#include "render/contour/contour_drawing.h"
#include "render/contour/contour_tracer.h"
#include "render/film/overscan.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>

namespace orca::render {

namespace {

constexpr int tileSize = 32; // pixels

bool anyMaterialHasContours(const Frame& frame) {
    for (miTag tag = 1; tag < frame.database.endTag(); ++tag)
        if (const miMaterial* const material = frame.materialOf(tag); material && material->contour)
            return true;
    return false;
}

/// Parts of a region from which lines can reach the window. They lie the same in any window.
std::vector<PixelWindow> contourTiles(const PixelWindow& window, const PixelWindow& region,
                                      const miCamera& camera) {
    const int reach = 1 + static_cast<int>(std::ceil(0.5f * 0.01f * miCONTOUR_MAX_WIDTH *
                                                     static_cast<float>(camera.x_resolution)));
    const auto firstTile = [reach](int low, int first) {
        return first + std::max(low - reach - first, 0) / tileSize * tileSize;
    };
    std::vector<PixelWindow> tiles;
    for (int y = firstTile(window.yl, region.yl); y <= std::min(window.yh + reach, region.yh); y += tileSize)
        for (int x = firstTile(window.xl, region.xl); x <= std::min(window.xh + reach, region.xh);
             x += tileSize)
            tiles.push_back(
                {x, y, std::min(x + tileSize - 1, region.xh), std::min(y + tileSize - 1, region.yh)});
    return tiles;
}

} // namespace

bool hasContours(const Frame& frame) {
    const bool stores = frame.options.contour_store != miNULLTAG;
    const bool contrasts = frame.options.contour_contrast != miNULLTAG;
    if (stores && contrasts) return true;
    const auto& buffers = frame.framebuffers.buffers();
    const bool wanted = std::any_of(buffers.begin(), buffers.end(), [](const image::Buffer& buffer) {
        return buffer.source == image::BuiltinSource::Contour;
    });
    if (stores || contrasts || wanted)
        frame.log.warning("RNDR", "no contours are drawn: the options have no \"contour {}\" shader",
                          stores ? "contrast" : "store");
    else if (anyMaterialHasContours(frame))
        frame.log.info("RNDR", "no contours are drawn: materials have contour shaders, the options have no "
                               "\"contour store\" and \"contour contrast\" shaders");
    return false;
}

bool traceContours(TileRenderer& tiles, const Frame& frame, const std::vector<PixelWindow>& regions,
                   const PixelWindow& window, std::vector<RegionContours>& contours) {
    std::vector<PixelWindow> windows;
    std::vector<std::size_t> endOfRegion; // in `windows`
    for (const PixelWindow& region : regions) {
        if (const auto part = intersection(region, window))
            for (const PixelWindow& tile : contourTiles(*part, region, frame.camera)) windows.push_back(tile);
        endOfRegion.push_back(windows.size());
    }
    std::vector<std::vector<ContourSegment>> found(windows.size());
    tiles.begin(RenderPhase::Contours);
    const auto find = [&](RenderContext& context, std::size_t i) {
        ContourTracer tracer(context);
        findContours(tracer, windows[i], found[i]);
    };
    if (!tiles.forEach(windows.size(), RenderPhase::Contours, 0.0, 1.0, find,
                       [](std::size_t, const RenderTally&) {}))
        return false;
    const auto depth = [](const ContourSegment& segment) {
        return std::max(segment.from.point.z, segment.to.point.z);
    };
    std::size_t tile = 0;
    for (std::size_t r = 0; r < regions.size(); ++r) {
        std::vector<ContourSegment>& lines = contours.emplace_back(RegionContours{regions[r], {}}).lines;
        for (; tile < endOfRegion[r]; ++tile)
            lines.insert(lines.end(), found[tile].begin(), found[tile].end());
        std::stable_sort(lines.begin(), lines.end(), [&](const ContourSegment& a, const ContourSegment& b) {
            return depth(a) > depth(b);
        });
    }
    return true;
}

void drawContours(const Frame& frame, FrameResult& result, std::span<const RegionContours> contours,
                  int threads) {
    Film& film = result.film();
    const auto rowWords = static_cast<std::size_t>(film.window().width()) * film.pixelWords();
    std::vector<ColorPixels> pictures;
    const auto add = [&](const image::Buffer& buffer) {
        pictures.push_back({film.finished(buffer), film.pixelWords(), rowWords});
    };
    for (const image::Buffer& buffer : frame.framebuffers.buffers())
        if (buffer.source == image::BuiltinSource::Contour) add(buffer);
    const auto& statements = frame.framebuffers.outputShaders();
    const bool leftToShader = !frame.options.no_output &&
                              std::any_of(statements.begin(), statements.end(),
                                          [](const image::OutputShaders& s) { return s.wantsContours; });
    if (pictures.empty() && !leftToShader) add(frame.primaryBuffer);
    for (const RegionContours& each : contours) {
        const std::optional<PixelWindow> part = intersection(each.region, film.window());
        if (!part || each.lines.empty()) continue;
        std::vector<ColorPixels> parts = pictures;
        for (ColorPixels& pixels : parts)
            pixels.first += static_cast<std::size_t>(part->yl - film.window().yl) * rowWords +
                            static_cast<std::size_t>(part->xl - film.window().xl) * pixels.stride;
        drawContours(each.lines, frame.camera.x_resolution, *part, parts, threads);
    }
}

} // namespace orca::render
