// SPDX-License-Identifier: Apache-2.0
#include "orcaFibre.h"
#include "orcaFibreComponents.h"
#include "orcaFibreParameters.h"
#include "orcaNoise.h"
#include "orcaSpecular.h"

#include <algorithm>
#include <cmath>

namespace {

using P = FurParameters;

miScalar mixedAlong(miScalar base, miScalar tip, miScalar position) {
    return base + (tip - base) * position;
}

miColor mixedAlong(const miColor& base, const miColor& tip, miScalar position) {
    return base + (tip - base) * position;
}

miScalar opacityAt(miState* state, P* record, miScalar position) {
    return std::clamp(mixedAlong(parameterValue(state, record, &P::baseOpacity),
                                 parameterValue(state, record, &P::tipOpacity), position),
                      0.0f, 1.0f);
}

/// A hair of the fur at a hit, evaluated once per shading call.
class FurHair {
public:
    FurHair(miState* state, P* record)
        : frame_(fibreFrame(state)),
          color_(withAlpha(mixedAlong(parameterValue(state, record, &P::color),
                                      parameterValue(state, record, &P::tipColor), frame_.position) *
                               brightness(state, record),
                           1.0f)),
          transparency_(withAlpha(WHITE - (WHITE - parameterValue(state, record, &P::transparency)) *
                                              opacityAt(state, record, frame_.position),
                                  0.0f)),
          diffuse_(parameterValue(state, record, &P::diffuse)),
          translucence_(parameterValue(state, record, &P::translucence)),
          highlight_(parameterValue(state, record, &P::specularColor)),
          power_(std::max(0.0f, parameterValue(state, record, &P::specularPower))),
          // Light of the fur's depth: what the hairs above leave of it (Beer-Lambert law).
          lit_(std::exp(-std::max(0.0f, parameterValue(state, record, &P::selfShadow)) *
                        (1.0f - frame_.position))) {
        if (frame_.position < parameterValue(state, record, &P::specularStart)) highlight_ = BLACK;
    }

    [[nodiscard]] static miColor shadowTransmission(miState* state, P* record) {
        const miColor opacity = WHITE - parameterValue(state, record, &P::transparency);
        const miScalar density = std::clamp(parameterValue(state, record, &P::shadowDensity), 0.0f, 1.0f);
        return withAlpha(
            WHITE - opacity * (density * opacityAt(state, record, std::clamp(state->bary[1], 0.0f, 1.0f))),
            0.0f);
    }

    [[nodiscard]] miColor operator()() const { return withAlpha(color_ * diffuse_, 1.0f); }
    [[nodiscard]] const miColor& color() const noexcept { return color_; }
    [[nodiscard]] miScalar diffuse() const noexcept { return diffuse_ * lit_; }
    [[nodiscard]] const miColor& transparency() const noexcept { return transparency_; }
    [[nodiscard]] miColor opacity() const noexcept { return WHITE - transparency_; }
    [[nodiscard]] const FibreFrame& frame() const noexcept { return frame_; }
    [[nodiscard]] const miColor& highlightColor() const noexcept { return highlight_; }

    [[nodiscard]] DiffuseShares scattered(const LightSample& sample) const {
        const miColor received = color_ * (fibreCosine(frame_.along, sample.direction) * lit_);
        return {received * diffuse_, received * (translucence_ * shareFromBehind(frame_, sample.direction))};
    }
    [[nodiscard]] miColor highlights(miState* state, const LightSample& sample) const {
        if (!anyAbove(highlight_, 0.0f)) return BLACK;
        const miVector mirror = fibreMirror(frame_.along, state->dir, sample.direction, 0.0f);
        return highlight_ *
               (lit_ * compute_phong_specular(&mirror, &sample.direction, state, power_, sample.nDotL));
    }

private:
    static miUint seed(miState* state, P* record) {
        return static_cast<miUint>(parameterValue(state, record, &P::seed));
    }
    /// 1, changed from hair to hair and from patch to patch.
    static miScalar brightness(miState* state, P* record) {
        miScalar factor = 1.0f;
        if (const miScalar variation = parameterValue(state, record, &P::valueVariation); variation != 0.0f)
            factor += variation * (2.0f * hashedNumber(state->pri_idx, seed(state, record)) - 1.0f);
        if (const miScalar amount = parameterValue(state, record, &P::noise); amount != 0.0f) {
            const miScalar frequency = parameterValue(state, record, &P::noiseFrequency);
            const miVector& at = state->tex_list[0];
            factor *= 1.0f + amount * noise_scalar_2d(at.x * frequency, at.y * frequency);
        }
        return std::max(0.0f, factor);
    }

    FibreFrame frame_;
    miColor color_, transparency_;
    miScalar diffuse_, translucence_;
    miColor highlight_;
    miScalar power_;
    miScalar lit_; ///< share of the light that reaches this depth
};

/// The ambient light of the root fades into that of the tip.
class FurAmbientColorComponent {
public:
    FurAmbientColorComponent(miState* state, P* record)
        : color_(mixedAlong(parameterValue(state, record, &P::ambientColor),
                            parameterValue(state, record, &P::tipAmbientColor),
                            std::clamp(state->bary[1], 0.0f, 1.0f))) {}
    [[nodiscard]] miColor operator()() const { return color_; }

private:
    miColor color_;
};

using FurShader = FibreSurface<P, FurHair, FurAmbientColorComponent>;

} // namespace

ORCA_EXPORT_SHADER(orcaVelaFur, SurfaceShaderReturnType, FurShader, FurParameters, "orcaFur", 126)

#include "declared/orcaVelaFur.h"
