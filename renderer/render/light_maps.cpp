// SPDX-License-Identifier: Apache-2.0
#include "render/light_maps.h"

#include "render/lightmap/light_map_plan.h"
#include "render/tile_renderer.h"
#include "scene/elements/elements.h"
#include "scene/light_map_targets.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

namespace orca::render {

namespace {

constexpr int paddingTexels =
    16; // around what is laid out; no look-up of the four finest levels goes further

/// Texels of a tile that several triangles lie over.
struct Overlaps {
    std::size_t ofOneInstance = 0, ofSeveral = 0;
};

/// Shades the texels of one tile of a map.
void shadeTile(RenderContext& context, LightMap& map, std::size_t index, unsigned samples,
               Overlaps& overlaps) {
    const TexelLayout::Tile tile = map.layout.tile(index);
    Sampler places;
    for (std::size_t texel = 0; texel < tile.candidates.size(); ++texel) {
        if (tile.candidates[texel].empty()) continue;
        if (context.frame.stopped()) return;
        const int x = tile.x + static_cast<int>(texel) % tile.width;
        const int y = tile.y + static_cast<int>(texel) / tile.width;
        miColor sum{};
        float count = 0.0f;
        const LaidOutTriangle *covering = nullptr, *below = nullptr;
        for (unsigned i = 0; i < samples; ++i) {
            places.startSample(context.frame.seed, x, y, i);
            const double u = x + (samples > 1 ? places.eye(EyeFilterX) : 0.5);
            const double v = y + (samples > 1 ? places.eye(EyeFilterY) : 0.5);
            const TexelPoint point = map.layout.find(tile, texel, u, v);
            if (!point.triangle) continue;
            if (!below) {
                covering = point.triangle;
                below = map.layout.findBelow(tile, texel, u, v, point);
            }
            miColor color;
            if (!shadeTexel(context, map.shaders[point.triangle->shader], point, x, y, i, color)) continue;
            sum = {sum.r + color.r, sum.g + color.g, sum.b + color.b, sum.a + color.a};
            ++count;
        }
        if (below)
            ++(below->meshInstance == covering->meshInstance ? overlaps.ofOneInstance : overlaps.ofSeveral);
        if (count == 0.0f) continue;
        const std::size_t at = static_cast<std::size_t>(y) * static_cast<std::size_t>(map.texels.width) +
                               static_cast<std::size_t>(x);
        map.texels.colors[at] = {sum.r / count, sum.g / count, sum.b / count, sum.a / count};
        map.texels.filled[at] = 1;
    }
}

void reportOverlaps(const LightMap& map, const std::vector<Overlaps>& tiles, Log& log) {
    Overlaps sum;
    for (const Overlaps& tile : tiles) {
        sum.ofOneInstance += tile.ofOneInstance;
        sum.ofSeveral += tile.ofSeveral;
    }
    const auto warn = [&](std::size_t texels, const char* why) {
        if (texels > 0)
            log.warningAt(map.texture.location, "RNDR",
                          "light map \"{}\": {} of its texels are covered more "
                          "than once: {}",
                          map.texture.name, texels, why);
    };
    warn(sum.ofOneInstance, "the texture coordinates of an object overlap; its first triangles count");
    warn(sum.ofSeveral,
         "several instances write them, and the last one counts; give each a texture or a part "
         "of it");
}

constexpr std::size_t verticesPerChunk = 256;

std::size_t chunksOf(const VertexCalls& calls) {
    return (calls.vertices.size() + verticesPerChunk - 1) / verticesPerChunk;
}

/// Calls a shader that keeps itself what it computes, for the vertices of one chunk.
void callForVertices(RenderContext& context, const VertexCalls& calls, std::size_t chunk) {
    const std::size_t end = std::min(calls.vertices.size(), (chunk + 1) * verticesPerChunk);
    for (std::size_t i = chunk * verticesPerChunk; i < end; ++i) {
        if (context.frame.stopped()) return;
        const VertexCalls::Vertex& vertex = calls.vertices[i];
        const LaidOutTriangle triangle{vertex.meshInstance, vertex.triangle, 0, {}};
        const TexelPoint corner{&triangle, vertex.corner == 1 ? 1.0f : 0.0f,
                                vertex.corner == 2 ? 1.0f : 0.0f};
        miColor unused;
        shadeTexel(context, calls.shader, corner, static_cast<int>(i), 0, 0, unused);
    }
}

/// Puts what was made into the texture.
void store(LightMap& map, image::Textures& textures) {
    padEdges(map.texels, paddingTexels);
    textures.forget(map.texture);
    map.texture.baked = std::make_shared<const std::vector<miColor>>(std::move(map.texels.colors));
    ++map.texture.revision; // look-ups know a texture by it
}

unsigned samplesPerTexel(const miOptions& options) {
    return 1u << (2 * std::max(0, options.max_samples));
}

} // namespace

LightMapOutcome makeLightMaps(const FrameParts& parts, Film& film, RenderState& state,
                              const RenderSettings& settings, int threads) {
    LightMapOutcome outcome;
    if (!scene::hasLightMapShaders(parts.database)) return outcome;
    const Frame frame(parts);
    const LightMapPlan plan = planLightMaps(frame);
    TileRenderer tiles(frame, film, state, settings, threads, 1);
    tiles.begin(RenderPhase::LightMaps);
    std::size_t all = 0, done = 0; // tiles
    for (const auto& map : plan.maps) all += map->layout.tiles();
    for (const VertexCalls& calls : plan.vertexCalls) all += chunksOf(calls);
    const auto share = [&](std::size_t count) {
        return static_cast<double>(count) / static_cast<double>(all);
    };
    for (const auto& map : plan.maps) {
        const auto start = std::chrono::steady_clock::now();
        const std::size_t count = map->layout.tiles();
        std::vector<Overlaps> overlaps(count);
        const auto shade = [&, &target = *map](RenderContext& context, std::size_t i) {
            shadeTile(context, target, i, samplesPerTexel(frame.options), overlaps[i]);
        };
        outcome.complete = tiles.forEach(count, RenderPhase::LightMaps, share(done), share(done + count),
                                         shade, [](std::size_t, const RenderTally&) {});
        if (!outcome.complete) break;
        done += count;
        reportOverlaps(*map, overlaps, frame.log);
        const auto filled = std::count(map->texels.filled.begin(), map->texels.filled.end(), 1);
        store(*map, frame.textures);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        frame.log.info("RNDR", "light map \"{}\": {} of {} x {} texels in {:.1f} s", map->texture.name,
                       filled, map->texture.width, map->texture.height, taken.count());
        if (settings.lightMapDone) settings.lightMapDone(map->texture);
    }
    for (const VertexCalls& calls : plan.vertexCalls) {
        if (!outcome.complete) break;
        const std::size_t count = chunksOf(calls);
        if (count == 0) continue;
        const auto call = [&](RenderContext& context, std::size_t i) { callForVertices(context, calls, i); };
        outcome.complete = tiles.forEach(count, RenderPhase::LightMaps, share(done), share(done + count),
                                         call, [](std::size_t, const RenderTally&) {});
        done += count;
    }
    tiles.close();
    outcome.counts = tiles.tally().counts;
    return outcome;
}

} // namespace orca::render
