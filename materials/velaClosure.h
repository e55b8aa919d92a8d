// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velaFacetLobe.h"
#include "velaGlass.h"

#include "orcaScatter.h"

#include <shader.h>

#include <array>
#include <optional>

namespace vela {

/// A reflecting layer of a closure. Its share counts times `weight`, what the layers above it leave.
struct FacetLayer {
    LayerFrame frame;
    FacetLobe lobe;
    miColor weight;
    bool isCoat;
    bool tracesRays; ///< false: only lights are seen in it; other rays bring the rest
};

/// Clear matter below the layers above.
struct GlassLayer {
    LayerFrame frame;
    Glass glass;
    miColor weight;
    miColor tint;       ///< of each crossing of the boundary
    miColor absorbance; ///< of the inside, per scene unit
    float index;        ///< of the inside
    float dispersion;   ///< index of blue less that of red, over (index - 1)
    bool thin;          ///< a pane: light crosses both its boundaries at once and keeps its direction
};

/// Light that travels below the surface.
struct ScatterLayer {
    miColor weight; ///< what the layers above leave of the viewer's direction, times the layer's share
    ScatterSettings settings;
};

/// What a material is at a hit: layers with their weights as seen from the ray's origin. The sum of their
/// albedos is at most 1.
struct Closure {
    static constexpr int mostLayers = 4;
    static constexpr int mostScatterLayers = 3;

    LayerFrame frame; ///< of the base
    miVector view;    ///< to the ray's origin, local to the base
    std::array<std::optional<FacetLayer>, mostLayers> layers;
    int layerCount = 0;

    miColor diffuseColor{};         ///< diffuse reflectance is this times the level
    miColor diffuseLevel{};         ///< what the layers above leave of the viewer's direction, times weights
    std::optional<FacetLobe> above; ///< the layer over the diffuse one, which also takes light on its way in
    miColor translucence{};         ///< diffuse transmittance of light from behind
    miColor sheen{};                ///< reflectance of fibres
    float sheenRoughness = 1.0f;
    std::array<ScatterLayer, mostScatterLayers> scatter{};
    int scatterCount = 0;
    std::optional<GlassLayer> glass;
    miColor ambientLight{};
    miColor emission{};
    miColor opacity{1.0f, 1.0f, 1.0f, 1.0f};

    FacetLayer& add(const LayerFrame& layerFrame, const FacetLobe& lobe, const miColor& weight, bool isCoat,
                    bool tracesRays) {
        return layers[static_cast<std::size_t>(layerCount++)].emplace(
            FacetLayer{layerFrame, lobe, weight, isCoat, tracesRays});
    }
    /// @param weight       share of the viewer's direction that travels in this layer
    /// @param albedo       share of that which leaves the surface again; it shapes how far light spreads
    /// @param meanFreePath scene units
    void addScatter(const miColor& weight, const miColor& albedo, const miColor& meanFreePath,
                    miInteger samples) {
        scatter[static_cast<std::size_t>(scatterCount++)] = {weight,
                                                             {albedo, meanFreePath, samples, miFALSE}};
    }
    /// Factor on the diffuse reflectance for light of a cosine, of which the cosine-weighted mean is 1.
    [[nodiscard]] miColor entering(float cosine) const noexcept;
};

/// Effort and limits of a shading call.
struct Effort {
    int reflectionRays;                   ///< at level 0, of each rough layer; further down one ray in all
    int highlightSamples;                 ///< of area lights
    int reflectionLimit, refractionLimit; ///< levels from which on the environment replaces rays
    int occlusionRays;                    ///< 0: none
    float occlusionDistance;              ///< scene units; 0: unlimited
};

} // namespace vela
