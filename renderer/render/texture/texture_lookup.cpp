// SPDX-License-Identifier: Apache-2.0
#include "render/texture/texture_lookup.h"

#include "render/context/render_context.h"
#include "render/texture/footprint.h"
#include "scene/elements/elements.h"

namespace orca::render {

namespace {

/// Calls a texture shader with the coordinate in `state->tex`.
template <class T>
miBoolean callTextureShader(T* result, miState* state, miTag shader, const miVector& coord) {
    const miVector before = state->tex;
    state->tex = coord;
    const miBoolean delivered = renderContextOf(state).runtime.call(result, miSHADER_TEXTURE, state, shader);
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

/// The look-up that the texture's own statement asks for.
image::TextureLookup ownLookup(const scene::TextureElement& texture, const miState* state) {
    image::TextureLookup how;
    how.filtered = texture.filter.has_value();
    if (!how.filtered) return how;
    const float scale = *texture.filter > 0.0f ? *texture.filter : 1.0f;
    how.footprint = footprintOf(state);
    for (float* each : {&how.footprint.dsdx, &how.footprint.dtdx, &how.footprint.dsdy, &how.footprint.dtdy})
        *each *= scale;
    return how;
}

template <class T, class FromImage>
miBoolean lookUp(T& result, miState* state, miTag texture, const miVector& coord,
                 const image::TextureLookup* how, const FromImage& fromImage) {
    if (texture == miNULLTAG) return miFALSE;
    const Frame& frame = renderContextOf(state).frame;
    const scene::TextureElement* image = nullptr;
    if (const miTag shader = shaderBehind(frame, texture, image); shader != miNULLTAG)
        return callTextureShader(&result, state, shader, coord);
    if (!image) return miFALSE;
    return fromImage(frame.textures, *image, how ? *how : ownLookup(*image, state)) ? miTRUE : miFALSE;
}

image::TextureLookup::Wrap wrapOf(miInteger wrap) {
    using Wrap = image::TextureLookup::Wrap;
    switch (wrap) {
    case miTEXWRAP_CLAMP: return Wrap::Clamp;
    case miTEXWRAP_MIRROR: return Wrap::Mirror;
    default: return Wrap::Repeat;
    }
}

} // namespace

miBoolean lookUpColor(miColor& result, miState* state, miTag texture, const miVector& coord,
                      const image::TextureLookup* how) {
    return lookUp(result, state, texture, coord, how,
                  [&](image::Textures& textures, const scene::TextureElement& image,
                      const image::TextureLookup& lookup) {
                      return textures.lookup(image, coord.x, coord.y, lookup, result);
                  });
}

miBoolean lookUpFilteredColor(miColor& result, miState* state, miTag texture, const miTexfilter* filter,
                              const miScalar* screenToTexture) {
    const miScalar* const m = screenToTexture;
    image::TextureLookup how;
    how.filtered = true;
    float scale = 1.0f;
    if (filter) {
        how.wrapS = wrapOf(filter->wrap_u);
        how.wrapT = wrapOf(filter->wrap_v);
        if (filter->bilinear == 0.0f) how.magnified = image::TextureLookup::Magnified::Cubic;
        if (filter->circle_radius > 0.0f) scale = filter->circle_radius;
    }
    how.footprint = {m[0] * scale, m[1] * scale, m[4] * scale, m[5] * scale};
    return lookUpColor(result, state, texture, {m[12], m[13], m[14]}, &how);
}

miBoolean lookUpScalar(miScalar& result, miState* state, miTag texture, const miVector& coord) {
    return lookUp(result, state, texture, coord, nullptr,
                  [&](image::Textures& textures, const scene::TextureElement& image,
                      const image::TextureLookup& lookup) {
                      return textures.lookupScalar(image, coord.x, coord.y, lookup, result);
                  });
}

miBoolean lookUpVector(miVector& result, miState* state, miTag texture, const miVector& coord) {
    return lookUp(result, state, texture, coord, nullptr,
                  [&](image::Textures& textures, const scene::TextureElement& image,
                      const image::TextureLookup& lookup) {
                      miColor pixel;
                      if (!textures.lookup(image, coord.x, coord.y, lookup, pixel)) return false;
                      result = {pixel.r, pixel.g, pixel.b};
                      return true;
                  });
}

} // namespace orca::render
