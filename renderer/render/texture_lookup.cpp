// SPDX-License-Identifier: Apache-2.0
#include "render/texture_lookup.h"

#include "render/render_context.h"
#include "scene/elements.h"

namespace orca::render {

namespace {

/// Calls a texture shader with the coordinate where it looks for it.
miBoolean callTextureShader(void* result, miState* state, miTag shader, const miVector& coord) {
    const miVector before = state->tex;
    state->tex = coord;
    const miBoolean delivered =
        renderContextOf(state).runtime.call(static_cast<miColor*>(result), miSHADER_TEXTURE, state, shader);
    state->tex = before;
    return delivered;
}

/// The shader behind a texture tag: a procedural texture's, or the tag itself; 0 for an image.
miTag shaderBehind(const Frame& frame, miTag texture, const scene::TextureElement*& image) {
    const scene::Element* element = frame.database.get(texture);
    if (!element) return miNULLTAG;
    if (element->type != miSCENE_TEXTURE) return texture;
    const auto* textureElement = static_cast<const scene::TextureElement*>(element);
    if (textureElement->shader != miNULLTAG) return textureElement->shader;
    image = textureElement;
    return miNULLTAG;
}

template <class T>
miBoolean lookUp(T& result, miState* state, miTag texture, const miVector& coord,
                 const image::TextureFootprint& footprint, T (*fromPixel)(const miColor&)) {
    if (texture == miNULLTAG) return miFALSE;
    const Frame& frame = renderContextOf(state).frame;
    const scene::TextureElement* image = nullptr;
    if (const miTag shader = shaderBehind(frame, texture, image); shader != miNULLTAG)
        return callTextureShader(&result, state, shader, coord);
    miColor pixel;
    if (!image || !frame.textures.lookup(*image, coord.x, coord.y, footprint, pixel)) return miFALSE;
    result = fromPixel(pixel);
    return miTRUE;
}

} // namespace

miBoolean lookUpColor(miColor& result, miState* state, miTag texture, const miVector& coord,
                      const image::TextureFootprint& footprint) {
    return lookUp<miColor>(result, state, texture, coord, footprint,
                           [](const miColor& pixel) { return pixel; });
}

miBoolean lookUpScalar(miScalar& result, miState* state, miTag texture, const miVector& coord) {
    // A scalar image is its alpha where it has one, which the cache leaves below 1 somewhere, else its
    // intensity; the cache hands out one channel as a grey with alpha 1.
    return lookUp<miScalar>(result, state, texture, coord, {}, [](const miColor& pixel) {
        return pixel.a < 1.0f ? pixel.a : 0.299f * pixel.r + 0.587f * pixel.g + 0.114f * pixel.b;
    });
}

miBoolean lookUpVector(miVector& result, miState* state, miTag texture, const miVector& coord) {
    return lookUp<miVector>(result, state, texture, coord, {}, [](const miColor& pixel) {
        return miVector{pixel.r, pixel.g, pixel.b};
    });
}

} // namespace orca::render
