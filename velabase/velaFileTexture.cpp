// SPDX-License-Identifier: Apache-2.0
#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaGuards.h"
#include "velaTextureSpace.h"

#include <shader.h>

/// Parameters of velaFileTexture, in declaration order.
struct VelaFileTextureParameters {
    miTag texture;       // an image file, pixels or a procedural texture
    miVector coordinate; // connected: where to look; else the surface's first texture space
    miInteger wrapU;     // one of TextureEdge
    miInteger wrapV;
    miScalar filter;      // scale of the footprint; 0: a point
    miBoolean smooth;     // texels larger than a pixel: cubic instead of bilinear
    miColor gain;         // multiplies the image
    miColor offset;       // added to the product
    miColor defaultColor; // outside the frame of a placement or of the image
    miBoolean alphaFromLuminance;
};

/// What lies beyond an edge of the image.
enum TextureEdge : miInteger { RepeatEdge = 0, ClampEdge = 1, MirrorEdge = 2, DefaultBeyondEdge = 3 };

/// What a file texture returns.
struct FileTextureResult {
    miColor color;
    miScalar alpha;
    miScalar luminance;
    miVector vector;
};

namespace {

using P = VelaFileTextureParameters;

/// What an unreadable image shows: nobody mistakes it for a colour of the scene.
constexpr miColor missing{1.0f, 0.0f, 1.0f, 1.0f};

bool beyondEdge(miInteger edge, float coordinate) {
    return edge == DefaultBeyondEdge && !(coordinate >= 0.0f && coordinate <= 1.0f);
}

miInteger wrapOf(miInteger edge) {
    if (edge == MirrorEdge) return miTEXWRAP_MIRROR;
    return edge == RepeatEdge ? miTEXWRAP_REPEAT : miTEXWRAP_CLAMP;
}

FileTextureResult resultOf(const miColor& color, bool alphaFromLuminance) {
    const float weight = luminance(color);
    return {color, alphaFromLuminance ? weight : color.a, weight, {color.r, color.g, color.b}};
}

miColor imageAt(miState* state, P* record, const TexturePlace& place, miInteger edgeU, miInteger edgeV) {
    const TextureFootprint pixel = textureFootprint(state, record, &P::coordinate, place);
    const float scale = parameterValue(state, record, &P::filter);
    miTexfilter filter{};
    filter.bilinear = parameterValue(state, record, &P::smooth) ? 0.0f : 1.0f;
    filter.wrap_u = wrapOf(edgeU);
    filter.wrap_v = wrapOf(edgeV);
    miMatrix footprint{};
    footprint[0] = pixel.x.x * scale;
    footprint[1] = pixel.x.y * scale;
    footprint[4] = pixel.y.x * scale;
    footprint[5] = pixel.y.y * scale;
    footprint[12] = place.uv.x;
    footprint[13] = place.uv.y;
    miColor color = missing;
    const miTag texture = parameterValue(state, record, &P::texture);
    if (!state->tex_list) {
        if (!mi_lookup_filter_color_texture(&color, state, texture, &filter, footprint)) return missing;
    } else {
        // Procedural textures made of nodes look where this node looks.
        const Restored<miVector> coordinate(state->tex_list[0]);
        state->tex_list[0] = place.uv;
        if (!mi_lookup_filter_color_texture(&color, state, texture, &filter, footprint)) return missing;
    }
    return color * parameterValue(state, record, &P::gain) + parameterValue(state, record, &P::offset);
}

} // namespace

extern "C" {

ORCA_EXPORT int velaFileTexture_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean velaFileTexture(FileTextureResult* result, miState* state,
                                      VelaFileTextureParameters* record) {
    const TexturePlace place = texturePlace(state, record, &P::coordinate);
    const miInteger edgeU = parameterValue(state, record, &P::wrapU);
    const miInteger edgeV = parameterValue(state, record, &P::wrapV);
    const bool shown = !place.outside() && !beyondEdge(edgeU, place.uv.x) && !beyondEdge(edgeV, place.uv.y);
    const miColor color =
        shown ? imageAt(state, record, place, edgeU, edgeV) : parameterValue(state, record, &P::defaultColor);
    *result = resultOf(color, parameterValue(state, record, &P::alphaFromLuminance) != 0);
    return miTRUE;
}

} // extern "C"

#include "declared/velaFileTexture.h"
