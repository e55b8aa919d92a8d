// SPDX-License-Identifier: Apache-2.0
#include "orcaFibreComponents.h"
#include "orcaHair.h"

namespace {

using P = HairParameters;

/// Traced light in the lobes that a hair reflects.
class HairReflectionComponent {
public:
    HairReflectionComponent(miState*, P*, const Hair& hair) : hair_(hair) {}
    [[nodiscard]] miColor materialColor(miScalar) const { return hair_.opacity() * hair_.reflectedColor(); }
    [[nodiscard]] miColor operator()(miState* state, const TraceContext& context) const {
        return hair_.traced(state, context, RayKind::Reflection);
    }

private:
    const Hair& hair_;
};

/// Traced light in the lobe through a hair.
class HairRefractionComponent {
public:
    HairRefractionComponent(miState*, P*, const Hair& hair) : hair_(hair) {}
    [[nodiscard]] static bool on() noexcept { return false; }
    [[nodiscard]] miColor operator()(miState* state, P*, const TraceContext& context, bool traced,
                                     miColor& transparency) const {
        const miColor nothing = compute_refraction(&transparency, {}, false, state, context);
        return traced ? hair_.traced(state, context, RayKind::Refraction) : nothing;
    }

private:
    const Hair& hair_;
};

using HairShader = FibreSurface<P, Hair, DefaultAmbientMaterialColorComponent<P>, HairReflectionComponent,
                                HairRefractionComponent>;

} // namespace

ORCA_EXPORT_SHADER(orcaVelaHairShader, SurfaceShaderReturnType, HairShader, HairParameters, "orcaHairShader",
                   47)

#include "declared/orcaVelaHairShader.h"
