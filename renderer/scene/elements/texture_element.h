// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/color_profile.h"
#include "scene/elements/color_spaces.h"
#include "scene/elements/element.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orca::scene {

/// `texture`: an image file, pixels written in the scene, or a shader. Writable ones are filled by light map
/// shaders.
struct TextureElement final : Element {
    static constexpr miScene_type elementType = miSCENE_TEXTURE;
    enum class Kind { Color, Scalar, Vector };
    TextureElement() : Element(miSCENE_TEXTURE) {}
    void* record() override { return this; }
    [[nodiscard]] int recordSize() const override { return sizeof(TextureElement); }
    void visitReferences(const std::function<void(miTag)>& visit) const override { visit(shader); }

    Kind kind = Kind::Color;
    bool local = false, writable = false;
    std::optional<float> filter;                      ///< scale of the pyramid filter; nothing: unfiltered
    ColorProfile colorProfile = ColorProfile::Linear; ///< of an image file or of pixels
    /// Of an image file whose profile is a colour space of a configuration, in place of `colorProfile`; null
    /// otherwise. Outlives the texture.
    const ColorSpaces* colorSpaces = nullptr;
    std::string colorSpace;     ///< its name
    std::string file;           ///< as written, registry and environment references replaced
    std::string sceneDirectory; ///< where a relative file is looked for first
    int width = 0, height = 0;  ///< of inline pixels and light maps, rows bottom up; 0: not given
    int components = 0;         ///< interleaved: 4, 1 or 3 by kind
    int bytesPerComponent = 1;  ///< 1, 2 (big-endian) or 4 (big-endian float)
    std::vector<unsigned char> pixels;
    miTag shader = miNULLTAG; ///< of a procedural texture

    // of a writable texture
    std::string fileType, pixelFormat; ///< words of its statement; empty: by the file's name, by its kind
    /// What light map shaders have left: width x height colours, not multiplied by alpha, in linear light. It
    /// replaces file and pixels. Null: nothing yet.
    std::shared_ptr<const std::vector<miColor>> baked;
};

} // namespace orca::scene
