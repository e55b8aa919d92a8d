// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/color_profile.h"
#include "scene/elements/element.h"

#include <optional>
#include <string>
#include <vector>

namespace orca::scene {

/// `texture`: an image file, pixels written in the scene, or a shader.
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
    std::string file;           ///< as written, registry and environment references replaced
    std::string sceneDirectory; ///< where a relative file is looked for first
    int width = 0, height = 0;  ///< of inline pixels, rows bottom up
    int components = 0;         ///< interleaved: 4, 1 or 3 by kind
    int bytesPerComponent = 1;  ///< 1, 2 (big-endian) or 4 (big-endian float)
    std::vector<unsigned char> pixels;
    miTag shader = miNULLTAG; ///< of a procedural texture
};

} // namespace orca::scene
