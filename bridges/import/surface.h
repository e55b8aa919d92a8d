// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene_text.h"

#include <optional>
#include <string>

namespace orca::bridge {

/// An image on a surface.
struct SurfaceMap {
    aiString texture;
    int wrapU = 0, wrapV = 0; ///< as of velaFileTexture
    unsigned space = 0;       ///< texture space, counted from 0
    /// Coordinates are multiplied by `repeat`, then turned about (0.5, 0.5), then moved by `offset`.
    aiVector2D repeat{1, 1}, offset{0, 0};
    float rotateDegrees = 0; ///< as of velaPlace2d's `rotateUV`
    bool isPlaced = false;   ///< one of these three differs from its default
};

/// A material as formats of all kinds describe it. Colours are linear.
struct Surface {
    enum class Model {
        Diffuse,
        Phong,    ///< a highlight of some size and colour
        Metallic, ///< base colour, metalness, roughness
    };
    std::string name;
    Model model = Model::Diffuse;
    aiColor3D base{0.8f, 0.8f, 0.8f};
    std::optional<SurfaceMap> baseMap;
    float metalness = 0, roughness = 1; ///< 0 to 1; roughness is the square root of the facets' slope
    std::optional<SurfaceMap> metalnessMap, roughnessMap;
    bool isPackedMap = false;    ///< one image: roughness in green, metalness in blue
    aiColor3D specular{0, 0, 0}; ///< of Phong
    float exponent = 0;          ///< of Phong's cosine
    float reflectivity = 0;      ///< of Phong
    float refractiveIndex = 1.5f;
    float opacity = 1;
    std::optional<SurfaceMap> opacityMap;
    bool opacityIsAlpha = false; ///< of opacityMap; else its brightness
    float cutoff = 0;            ///< opacities from there on are 1, others 0; 0: no cutting
    float transmission = 0;      ///< share of light that the base colour tints and lets through
    bool refracts = false;
    aiColor3D inside{1, 1, 1}; ///< what white light becomes within `insideDistance`
    float insideDistance = 0;  ///< units of the file; 0: the inside is clear
    float anisotropy = 0;      ///< 0 to 1
    float coat = 0, coatRoughness = 0;
    aiColor3D sheen{0, 0, 0};
    float sheenRoughness = 0; ///< square root of the width of the fibres' slopes
    aiColor3D emission{0, 0, 0};
    std::optional<SurfaceMap> emissionMap, normalMap, bumpMap;
    float normalStrength = 1;
    bool isUnlit = false;

    /// Shown by velaSurfaceX, all others by the classic materials.
    [[nodiscard]] bool isLayered() const { return model == Model::Metallic && !isUnlit; }
};

/// What nothing in `Surface` holds is a loss.
[[nodiscard]] Surface surfaceOf(const aiMaterial& material, const ModelFile& model, Losses& losses);

} // namespace orca::bridge
