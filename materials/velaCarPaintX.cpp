// SPDX-License-Identifier: Apache-2.0
#include "velaMaterialParameters.h"
#include "velaMaterialShader.h"
#include "velaPaint.h"

/// Parameters of velaCarPaintX, in declaration order.
struct VelaCarPaintXParameters : VelaMaterialParameters {
    miColor baseColor;
    miColor edgeColor;
    miScalar edgeExponent;
    miScalar flakes;
    miColor flakeColor;
    miScalar flakeSize; // units of object space
    miScalar flakeSpread;
    miScalar flakeDensity;
    miScalar flakeRoughness;
    miScalar coat;
    miColor coatColor;
    miScalar coatRoughness;
    miScalar coatIndex;
    miScalar dirt;
    miColor dirtColor;
};

namespace vela {
namespace {

using P = VelaCarPaintXParameters;

class CarPaintLayers {
public:
    static constexpr const char* name = "vela_carpaintx";

    CarPaintLayers(miState* state, P* record, const miVector& bare) : state_(state), record_(record) {
        beginClosure(closure_, state, record);
        const Paint paint{
            color(&P::baseColor),
            color(&P::edgeColor),
            value(&P::edgeExponent),
            color(&P::flakeColor),
            share(state, record, &P::flakes),
            value(&P::flakeRoughness),
            {value(&P::flakeSize), value(&P::flakeSpread), share(state, record, &P::flakeDensity)},
            share(state, record, &P::coat),
            color(&P::coatColor),
            value(&P::coatRoughness),
            value(&P::coatIndex),
            share(state, record, &P::dirt),
            color(&P::dirtColor)};
        addPaint(closure_, state, paint, layerFrame(state, bare, 0.0f), pixelSize(state));
    }
    [[nodiscard]] const Closure& closure() const noexcept { return closure_; }
    [[nodiscard]] Effort effort() const { return effortOf(state_, record_); }

private:
    [[nodiscard]] miScalar value(miScalar P::*field) const { return parameterValue(state_, record_, field); }
    [[nodiscard]] miColor color(miColor P::*field) const { return shareColor(state_, record_, field); }

    miState* state_;
    P* record_;
    Closure closure_;
};

} // namespace
} // namespace vela

using CarPaintX = vela::MaterialShader<VelaCarPaintXParameters, vela::CarPaintLayers>;

ORCA_EXPORT_SHADER(velaCarPaintX, MaterialComponents, CarPaintX, VelaCarPaintXParameters, "velaCarPaintX",
                   __LINE__)

#include "declared/velaCarPaintX.h"
