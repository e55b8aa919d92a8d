// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaColor.h"
#include "orcaDiffuseComponents.h"
#include "orcaFibre.h"
#include "orcaFibreParameters.h"
#include "orcaHairScattering.h"
#include "orcaLightSample.h"
#include "orcaTracing.h"

#include <array>
#include <optional>

/// A hair at a hit, evaluated once per shading call. Its lobes go to the passes as follows: the highlights of
/// the classic model, and what the physical one reflects (R, TRT and further), to specular; what it transmits
/// (TT) to translucence, which diffuse includes; traced light of the former to reflection, of the latter to
/// refraction.
class Hair {
public:
    Hair(miState* state, HairParameters* record);

    /// Of the hit that a shadow ray has met.
    [[nodiscard]] static miColor shadowTransmission(miState* state, HairParameters* record);

    // As the material colour of a Surface.
    [[nodiscard]] miColor operator()() const {
        return withAlpha(scattering_ ? color_ : color_ * diffuse_, 1.0f);
    }
    [[nodiscard]] const miColor& color() const noexcept { return color_; }
    /// 0 for the physical model: it gathers its indirect light by rays of its own.
    [[nodiscard]] miScalar diffuse() const noexcept { return diffuse_; }
    [[nodiscard]] const miColor& transparency() const noexcept { return transparency_; }
    [[nodiscard]] miColor opacity() const noexcept { return WHITE - transparency_; }

    [[nodiscard]] const FibreFrame& frame() const noexcept { return frame_; }
    [[nodiscard]] DiffuseShares scattered(const LightSample& sample) const;
    [[nodiscard]] miColor highlights(miState* state, const LightSample& sample) const;
    [[nodiscard]] miColor highlightColor() const;
    /// Share of light that the physical model reflects.
    [[nodiscard]] miColor reflectedColor() const;

    /// Light of other surfaces in the lobes of one kind of ray, times the opacity.
    [[nodiscard]] miColor traced(miState* state, const TraceContext& context, RayKind kind) const;

private:
    struct Highlight {
        miColor color;
        miScalar power;
        miScalar shift; ///< radians toward the tip
    };
    struct Ray {
        HairScattering::Lobe lobe;
        miVector direction;
        miColor weight;
        miScalar roulette; ///< 0 to 1: the ray is traced where its path's weight exceeds it
    };
    static constexpr int mostRays = 16;

    [[nodiscard]] miColor variedColor(miState* state, HairParameters* record) const;
    void prepareClassic(miState* state, HairParameters* record);
    void preparePhysical(miState* state, HairParameters* record);
    void drawRays(miState* state, int rays);
    [[nodiscard]] miColor attenuation(HairScattering::Lobe lobe) const;

    FibreFrame frame_;
    miVector toViewer_;
    miColor color_, transparency_;
    miScalar diffuse_ = 0.0f, translucence_ = 0.0f;
    std::array<Highlight, 2> highlights_{};
    std::optional<HairScattering> scattering_; ///< none: the classic model
    std::array<miColor, HairScattering::lobes> tints_{};
    bool surroundings_ = false;
    int rayCount_ = 0;
    std::array<Ray, mostRays> rays_; ///< drawn once, as both kinds share a choice of lobe
};
