// SPDX-License-Identifier: Apache-2.0
#include "velaMaterialShader.h"

#include "orcaVector.h"

#include <algorithm>
#include <cmath>

/// Parameters of velaSurfaceX, in declaration order.
struct VelaSurfaceXParameters {
    miScalar base; // weight of the base colour
    miColor baseColor;
    miScalar metalness;       // 0 dielectric to 1 metal
    miScalar roughness;       // 0 mirror to 1
    miScalar anisotropy;      // 0 to 1
    miScalar anisotropyAngle; // degrees, from the texture's u direction
    miScalar specular;        // 0 to 1: weight of the dielectric's reflection
    miColor specularColor;    // dielectric: tint of the reflection; metal: reflectance at grazing incidence
    miScalar specularIndex;   // refractive index
    miScalar transmission;    // 0 to 1: clear instead of diffuse
    miColor transmissionColor;
    miScalar transmissionDepth; // scene units in which the inside takes on the colour; 0: its boundary has it
    miScalar dispersion;        // index of blue less that of red, over (index - 1)
    miBoolean thinWalled;       // a leaf or pane, without an inside
    miScalar subsurface;        // 0 to 1: light travels below the surface
    miColor subsurfaceColor;
    miColor subsurfaceRadius; // mean free path per channel, times the scale, scene units
    miScalar subsurfaceScale;
    miInteger subsurfaceSamples;
    miScalar sheen;
    miColor sheenColor;
    miScalar sheenRoughness;
    miScalar coat;
    miColor coatColor; // of light that goes through it and back
    miScalar coatRoughness;
    miScalar coatIndex;
    miVector coatNormal;    // connected: the coat's shading normal; else that of the surface without bumps
    miScalar filmThickness; // nanometres
    miScalar filmIndex;
    miScalar emission;
    miColor emissionColor;
    miColor opacity;
    miVector bumpNormal;     // connected: the shading normal
    miColor ambientColor;    // even light from everywhere
    miColor irradianceColor; // weight of the indirect light
    miColor irradiance;      // connected: the indirect light itself
    miInteger reflectionSamples;
    miInteger highlightSamples;
    miInteger reflectionLimit;
    miInteger refractionLimit;
    miInteger occlusionSamples;
    miScalar occlusionDistance;
};

namespace vela {
namespace {

using P = VelaSurfaceXParameters;

/// Builds a closure from the top layer to the base: what a layer leaves is the weight of the next.
class SurfaceLayers {
public:
    /// @param bare shading normal without bumps
    SurfaceLayers(miState* state, P* record, const miVector& bare)
        : state_(state), record_(record), left_(withAlpha(WHITE, 0.0f)) {
        closure_.frame = layerFrame(state, state->normal, value(&P::anisotropyAngle));
        closure_.view = viewFrom(state, closure_.frame);
        closure_.opacity = withAlpha(shareColor(state, record, &P::opacity), 1.0f);
        closure_.ambientLight = value(&P::ambientColor);
        closure_.emission = value(&P::emissionColor) * value(&P::emission);
        addCoat(bare);
        addSheen();
        addBase();
    }
    static constexpr const char* name = "vela_surfacex";
    [[nodiscard]] const Closure& closure() const noexcept { return closure_; }
    [[nodiscard]] Effort effort() const {
        return {value(&P::reflectionSamples), value(&P::highlightSamples), value(&P::reflectionLimit),
                value(&P::refractionLimit),   value(&P::occlusionSamples), value(&P::occlusionDistance)};
    }

private:
    template <class T>
    [[nodiscard]] T value(T P::*field) const {
        return parameterValue(state_, record_, field);
    }
    [[nodiscard]] miScalar part(miScalar P::*field) const { return share(state_, record_, field); }

    /// Without its boundary seen from the inside.
    [[nodiscard]] bool inside() const { return state_->inv_normal && !value(&P::thinWalled); }

    void addCoat(const miVector& bare) {
        const miScalar coat = part(&P::coat);
        if (!(coat > 0.0f) || (inside() && part(&P::transmission) > 0.0f)) return;
        const miVector normal = isConnected(state_, record_, &P::coatNormal) ? value(&P::coatNormal) : bare;
        const LayerFrame frame = layerFrame(state_, normal, 0.0f);
        const miColor atNormal =
            withAlpha(WHITE * normalReflectance(std::max(1.0f, value(&P::coatIndex))), 0.0f);
        const FacetLobe lobe(viewFrom(state_, frame), Roughness(value(&P::coatRoughness), 0.0f),
                             {atNormal, withAlpha(WHITE, 0.0f)});
        closure_.add(frame, lobe, left_ * coat, true, true);
        const miColor tint = WHITE + (shareColor(state_, record_, &P::coatColor) - WHITE) * coat;
        left_ = withAlpha(left_ * rest(lobe.albedo() * coat) * tint, 0.0f);
    }

    void addSheen() {
        const miScalar sheen = part(&P::sheen);
        if (!(sheen > 0.0f)) return;
        const miColor color = shareColor(state_, record_, &P::sheenColor) * sheen;
        closure_.sheenRoughness = std::clamp(value(&P::sheenRoughness), leastSheenRoughness, 1.0f);
        closure_.sheen = left_ * color;
        left_ = left_ *
                rest(WHITE * (largestChannel(color) * sheenAlbedo(closure_.sheenRoughness, closure_.view.z)));
    }

    void addBase() {
        const miScalar metalness = part(&P::metalness), transmission = part(&P::transmission);
        const miScalar clear = (1.0f - metalness) * transmission, solid = 1.0f - clear;
        const Roughness roughness(value(&P::roughness), value(&P::anisotropy));
        const miColor baseColor =
            withAlpha(shareColor(state_, record_, &P::baseColor) * part(&P::base), 0.0f);
        const miScalar index = std::max(1.0f, value(&P::specularIndex));
        const miColor tint = shareColor(state_, record_, &P::specularColor);
        const miColor level = tint * part(&P::specular);
        const Reflectance dielectric =
            filmed({level * normalReflectance(index), withAlpha(WHITE * part(&P::specular), 0.0f)});

        if (solid > 0.0f) {
            // Both kinds of reflection are linear in their reflectances: one lobe serves them.
            const miScalar metal = metalness / solid;
            const Reflectance metallic = filmed({baseColor, tint});
            const Reflectance mixed{dielectric.normal + (metallic.normal - dielectric.normal) * metal,
                                    dielectric.grazing + (metallic.grazing - dielectric.grazing) * metal};
            closure_.add(closure_.frame, FacetLobe(closure_.view, roughness, mixed), left_ * solid, false,
                         true);
        }
        if (clear > 0.0f) addGlass(roughness, index, level, dielectric, left_ * clear);
        addDiffuse(FacetLobe(closure_.view, roughness, dielectric), baseColor,
                   left_ * ((1.0f - metalness) * (1.0f - transmission)));
    }

    [[nodiscard]] Reflectance filmed(const Reflectance& bare) const {
        const ThinFilm film{value(&P::filmThickness), std::max(1.0f, value(&P::filmIndex))};
        if (!(film.thickness > 0.0f)) return bare;
        const miColor color = filmReflectance(film, closure_.view.z, bare.normal, bare.grazing);
        return {color, color};
    }

    void addGlass(const Roughness& roughness, miScalar index, const miColor& level,
                  const Reflectance& dielectric, const miColor& weight) {
        const bool thin = value(&P::thinWalled) != 0, leaving = inside();
        const bool hasFilm = value(&P::filmThickness) > 0.0f;
        const miColor color = shareColor(state_, record_, &P::transmissionColor);
        const miScalar depth = thin ? 0.0f : value(&P::transmissionDepth);
        const auto crossing = [&](float c) { return thin ? c : std::sqrt(c); }; // a solid is crossed twice
        const auto perUnit = [&](float c) { return -std::log(std::max(c, 1e-4f)) / depth; };
        const miScalar eta = std::max(1.0001f, index);
        closure_.glass = GlassLayer{
            closure_.frame,
            {roughness, leaving ? 1.0f / eta : eta, level, hasFilm, dielectric.normal},
            weight,
            depth > 0.0f ? withAlpha(WHITE, 0.0f)
                         : miColor{crossing(color.r), crossing(color.g), crossing(color.b), 0.0f},
            depth > 0.0f ? miColor{perUnit(color.r), perUnit(color.g), perUnit(color.b), 0.0f} : BLACK,
            eta,
            std::max(0.0f, value(&P::dispersion)),
            thin};
        // Rays bring all that glass reflects but lights without a shape of their own.
        if (!leaving)
            closure_.add(closure_.frame, FacetLobe(closure_.view, roughness, dielectric), weight, false,
                         false);
    }

    /// Diffuse light, what travels below the surface and what a thin wall lets through.
    void addDiffuse(const FacetLobe& above, const miColor& baseColor, const miColor& weight) {
        const miScalar subsurface = part(&P::subsurface);
        const miColor level = withAlpha(weight * rest(above.albedo()), 0.0f);
        closure_.above.emplace(above);
        closure_.diffuseColor = baseColor;
        closure_.diffuseLevel = level * (1.0f - subsurface);
        if (!(subsurface > 0.0f)) return;
        const miColor color = shareColor(state_, record_, &P::subsurfaceColor);
        if (value(&P::thinWalled)) {
            // Half of what enters a leaf leaves it on either side.
            closure_.translucence = withAlpha(level * color * (0.5f * subsurface), 0.0f);
            closure_.diffuseColor =
                withAlpha(baseColor * (1.0f - subsurface), 0.0f) + color * (0.5f * subsurface);
            closure_.diffuseLevel = level;
            return;
        }
        closure_.addScatter(level * subsurface, color,
                            value(&P::subsurfaceRadius) * value(&P::subsurfaceScale),
                            value(&P::subsurfaceSamples));
    }

    miState* state_;
    P* record_;
    miColor left_; ///< what the layers so far leave
    Closure closure_;
};

} // namespace
} // namespace vela

using SurfaceX = vela::MaterialShader<VelaSurfaceXParameters, vela::SurfaceLayers>;

ORCA_EXPORT_SHADER(velaSurfaceX, MaterialComponents, SurfaceX, VelaSurfaceXParameters, "velaSurfaceX",
                   __LINE__)

#include "declared/velaSurfaceX.h"
