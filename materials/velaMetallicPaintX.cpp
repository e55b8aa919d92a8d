// SPDX-License-Identifier: Apache-2.0
#include "velaMaterialParameters.h"
#include "velaMaterialShader.h"
#include "velaPaint.h"

/// Parameters of velaMetallicPaintX, in declaration order.
struct VelaMetallicPaintXParameters : VelaMaterialParameters {
    miColor color;    // of the metal in the paint, and of the pigment below it
    miScalar pigment; // 0 to 1: share of the light that meets pigment, not metal
    miScalar roughness;
    miScalar flakeSize; // units of object space; 0: even
    miScalar coat;
    miScalar coatRoughness;
    miScalar coatIndex;
};

namespace vela {
namespace {

using P = VelaMetallicPaintXParameters;

class MetallicPaintLayers {
public:
    static constexpr const char* name = "vela_metallicpaintx";

    MetallicPaintLayers(miState* state, P* record, const miVector& bare) : state_(state), record_(record) {
        beginClosure(closure_, state, record);
        const miColor color = shareColor(state, record, &P::color);
        const miScalar size = value(&P::flakeSize);
        constexpr miScalar flakeRoughness = 0.2f, everywhere = 1.0f;
        const Paint paint{color,
                          color,
                          1.0f,
                          color,
                          1.0f - share(state, record, &P::pigment),
                          flakeRoughness,
                          {size, value(&P::roughness), everywhere},
                          share(state, record, &P::coat),
                          WHITE,
                          value(&P::coatRoughness),
                          value(&P::coatIndex),
                          0.0f,
                          BLACK};
        // Without a size all flakes are smaller than a pixel.
        constexpr miScalar manyFlakes = 1e6f;
        addPaint(closure_, state, paint, layerFrame(state, bare, 0.0f),
                 size > 0.0f ? pixelSize(state) : manyFlakes);
    }
    [[nodiscard]] const Closure& closure() const noexcept { return closure_; }
    [[nodiscard]] Effort effort() const { return effortOf(state_, record_); }

private:
    [[nodiscard]] miScalar value(miScalar P::*field) const { return parameterValue(state_, record_, field); }

    miState* state_;
    P* record_;
    Closure closure_;
};

} // namespace
} // namespace vela

using MetallicPaintX = vela::MaterialShader<VelaMetallicPaintXParameters, vela::MetallicPaintLayers>;

ORCA_EXPORT_SHADER(velaMetallicPaintX, MaterialComponents, MetallicPaintX, VelaMetallicPaintXParameters,
                   "velaMetallicPaintX", __LINE__)

#include "declared/velaMetallicPaintX.h"
