// SPDX-License-Identifier: Apache-2.0
#include "render/contours.h"

#include "render/contour/contour_cells.h"
#include "render/contour/contour_drawing.h"
#include "render/contour/contour_tracer.h"

#include <algorithm>
#include <cmath>

namespace orca::render {

namespace {

constexpr int tileSize = 32; // pixels

bool anyMaterialHasContours(const Frame& frame) {
    for (miTag tag = 1; tag < frame.database.endTag(); ++tag)
        if (const miMaterial* const material = frame.materialOf(tag); material && material->contour)
            return true;
    return false;
}

/// Parts of the picture from which lines can reach the window. They lie the same in any window.
std::vector<PixelWindow> contourTiles(const PixelWindow& window, const miCamera& camera) {
    const int reach = 1 + static_cast<int>(std::ceil(0.5f * 0.01f * miCONTOUR_MAX_WIDTH *
                                                     static_cast<float>(camera.x_resolution)));
    std::vector<PixelWindow> tiles;
    for (int y = std::max(window.yl - reach, 0) / tileSize * tileSize;
         y <= std::min(window.yh + reach, camera.y_resolution - 1); y += tileSize)
        for (int x = std::max(window.xl - reach, 0) / tileSize * tileSize;
             x <= std::min(window.xh + reach, camera.x_resolution - 1); x += tileSize)
            tiles.push_back({x, y, std::min(x + tileSize, camera.x_resolution) - 1,
                             std::min(y + tileSize, camera.y_resolution) - 1});
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

bool traceContours(TileRenderer& tiles, const Frame& frame, const PixelWindow& window,
                   std::vector<ContourSegment>& lines) {
    const std::vector<PixelWindow> windows = contourTiles(window, frame.camera);
    std::vector<std::vector<ContourSegment>> found(windows.size());
    tiles.begin(RenderPhase::Contours);
    const auto find = [&](RenderContext& context, std::size_t i) {
        ContourTracer tracer(context);
        findContours(tracer, windows[i], found[i]);
    };
    if (!tiles.forEach(windows.size(), RenderPhase::Contours, 0.0, 1.0, find,
                       [](std::size_t, const RenderTally&) {}))
        return false;
    for (const auto& segments : found) lines.insert(lines.end(), segments.begin(), segments.end());
    const auto depth = [](const ContourSegment& segment) {
        return std::max(segment.from.point.z, segment.to.point.z);
    };
    std::stable_sort(lines.begin(), lines.end(),
                     [&](const ContourSegment& a, const ContourSegment& b) { return depth(a) > depth(b); });
    return true;
}

void drawContours(const Frame& frame, FrameResult& result, std::span<const ContourSegment> lines,
                  int threads) {
    Film& film = result.film();
    std::vector<ColorPixels> pictures;
    const auto add = [&](const image::Buffer& buffer) {
        pictures.push_back({film.finished(buffer), film.pixelWords()});
    };
    for (const image::Buffer& buffer : frame.framebuffers.buffers())
        if (buffer.source == image::BuiltinSource::Contour) add(buffer);
    const auto& statements = frame.framebuffers.outputShaders();
    const bool leftToShader = !frame.options.no_output &&
                              std::any_of(statements.begin(), statements.end(),
                                          [](const image::OutputShaders& s) { return s.wantsContours; });
    if (pictures.empty() && !leftToShader) add(frame.primaryBuffer);
    drawContours(lines, frame.camera.x_resolution, film.window(), pictures, threads);
}

} // namespace orca::render
