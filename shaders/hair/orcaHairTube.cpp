// SPDX-License-Identifier: Apache-2.0
#include "orcaFibre.h"
#include "orcaRamp.h"
#include "orcaStandardSurface.h"

#include <cmath>
#include <numbers>

/// How the highlights of a tube are computed.
enum TubeHighlight : miInteger { TUBE_PHONG = 0, TUBE_BLINN = 1 };

/// What the tube material appends to SurfaceParameters.
struct TubeParameters {
    miInteger tubeDirection; // 0: the tube runs along u of the first texture space; else along v
    int i_colorRamp;         // multiplies `color`, over each whole number of that coordinate
    int n_colorRamp;
    RampColorEntry colorRamp[1];
    miInteger highlightModel; // a TubeHighlight
    miColor specularColor;
    miScalar cosinePower;     // Phong: above 0; the larger, the narrower
    miScalar eccentricity;    // Blinn: 0 to 1
    miScalar specularRollOff; // Blinn: 0 to 1
    miScalar specularShift;   // degrees that the highlight is moved against the tube's direction
    miColor secondaryColor;   // of a second highlight, which takes the tube's colour too
    miScalar secondaryShift;  // degrees along the tube's direction
};
static_assert(sizeof(TubeParameters) == 23 * 4);

/// Parameters of orcaVelaHairTubeShader, in declaration order.
struct HairTubeParameters : SurfaceParameters, TubeParameters, ReflectionParameters {};

namespace {

using P = HairTubeParameters;

constexpr miScalar radians = std::numbers::pi_v<miScalar> / 180.0f;

class TubeMaterialColor {
public:
    TubeMaterialColor(miState* state, P* record)
        : color_(parameterValue(state, record, &P::color)),
          diffuse_(parameterValue(state, record, &P::diffuse)) {
        const bool alongU = parameterValue(state, record, &P::tubeDirection) == 0;
        const miVector& n = state->normal;
        miVector along = state->derivs[alongU ? 0 : 1];
        along = along - n * dot(n, along);
        miVector across;
        if (dot(along, along) > 0.0f) along_ = normalized(along);
        else orthonormalBasis(n, along_, across); // without texture coordinates: any direction
        if (*mi_eval_integer(&record->n_colorRamp) == 0) return;
        Ramp ramp;
        miColor tint = WHITE;
        const miScalar coordinate = alongU ? state->tex_list[0].x : state->tex_list[0].y;
        ramp_constructor(&ramp, state, &record->i_colorRamp, 1);
        ramp_get_interp_color(coordinate == 1.0f ? 1.0f : coordinate - std::floor(coordinate), &ramp, &tint);
        ramp_destructor(&ramp);
        color_ *= withAlpha(tint, 1.0f);
    }
    [[nodiscard]] miColor operator()() const { return withAlpha(color_ * diffuse_, 1.0f); }
    [[nodiscard]] const miColor& color() const noexcept { return color_; }
    [[nodiscard]] miScalar diffuse() const noexcept { return diffuse_; }
    /// Direction of the tube in its surface, unit length.
    [[nodiscard]] const miVector& along() const noexcept { return along_; }

private:
    miColor color_;
    miScalar diffuse_;
    miVector along_;
};

/// The highlights of a thin tube: those of the normal about the tube, of all that it has, that reflects most.
class TubeSpecularComponent {
public:
    static constexpr bool present = true;

    TubeSpecularComponent(miState* state, P* record, const TubeMaterialColor& tube)
        : along_(tube.along()),
          color_(parameterValue(state, record, &P::specularColor)),
          secondary_(tube.color() * parameterValue(state, record, &P::secondaryColor)),
          shift_(-radians * parameterValue(state, record, &P::specularShift)),
          secondaryShift_(radians * parameterValue(state, record, &P::secondaryShift)),
          facets_(parameterValue(state, record, &P::highlightModel) == TUBE_BLINN),
          power_(std::max(0.0f, parameterValue(state, record, &P::cosinePower))),
          eccentricity_(parameterValue(state, record, &P::eccentricity)),
          rollOff_(parameterValue(state, record, &P::specularRollOff)) {}

    [[nodiscard]] miColor materialColor() const { return color_ + secondary_; }
    [[nodiscard]] miColor operator()(miState* state, const LightSample& sample) const {
        if (!(sample.nDotL > 0.0f)) return BLACK; // the tube itself is in between
        miColor sum = BLACK;
        if (anyAbove(color_, 0.0f)) sum += color_ * strength(state, sample, shift_);
        if (anyAbove(secondary_, 0.0f)) sum += secondary_ * strength(state, sample, secondaryShift_);
        return sum;
    }

private:
    [[nodiscard]] miScalar strength(miState* state, const LightSample& sample, miScalar shift) const {
        const miVector& light = sample.specularDirection;
        if (!facets_) {
            const miVector mirror = fibreMirror(along_, state->dir, light, shift);
            return compute_phong_specular(&mirror, &light, state, power_, sample.nDotL);
        }
        // A mirror's normal turns by half of what its reflection does.
        const miVector half = light - state->dir;
        const miVector across = normalized(half - along_ * dot(half, along_));
        const miVector normal = across * std::cos(0.5f * shift) + along_ * std::sin(0.5f * shift);
        return compute_blinn_specular(&light, &normal, state, std::max(0.0f, dot(normal, light)),
                                      std::max(VELA_EPS, -dot(normal, state->dir)), eccentricity_, rollOff_,
                                      sample.nDotL);
    }

    miVector along_;
    miColor color_, secondary_;
    miScalar shift_, secondaryShift_; ///< radians along the tube's direction
    bool facets_;
    miScalar power_, eccentricity_, rollOff_;
};

using HairTubeShader =
    Surface<P, SurfaceShaderReturnType, SpecularShaderHelper<P>, DefaultAmbientMaterialColorComponent<P>,
            DefaultAmbientComponent<P>, TubeMaterialColor, DefaultDiffuseComponent<P>, TubeSpecularComponent,
            DefaultSpecularReflectionComponent<P>, DefaultRefractionComponent<P>, DefaultScatterComponent<P>,
            DefaultIndirectComponent<P>, DefaultIncandescenceComponent<P>, DefaultCustomComponent<P>>;

} // namespace

ORCA_EXPORT_SHADER(orcaVelaHairTubeShader, SurfaceShaderReturnType, HairTubeShader, HairTubeParameters,
                   "orcaHairTube", 134)

#include "declared/orcaVelaHairTubeShader.h"
