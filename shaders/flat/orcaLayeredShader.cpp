// SPDX-License-Identifier: Apache-2.0
#include "orcaLayeredShader.h"

#include "orcaFlatMaterial.h"
#include "orcaMatte.h"
#include "orcaUtilities.h"

namespace {

using P = LayeredShaderParameters;

constexpr float opaqueBelow = 1e-6f; // transmission below which a stack is opaque

miColor rgbProduct(const miColor& a, const miColor& b) {
    return withAlpha(a * b, a.a);
}

/// The layers of a record.
struct Layers {
    Layers(miState* state, P* record)
        : count(evaluated(state, &record->n_layers)),
          first(arrayElements(record->layers, evaluated(state, &record->i_layers))) {}
    [[nodiscard]] LayerRecord* begin() const { return first; }
    [[nodiscard]] LayerRecord* end() const { return first + count; }

    int count;
    LayerRecord* first;
};

/// Transmission of the layers so far. While this lives the thread's record holds it too, times that of the
/// enclosing calls.
class Transmission {
public:
    explicit Transmission(VelabaseState& vela) : vela_(vela), before_(vela.layerTransmission) {}

    /// False when the layers below are invisible; the transmission is black then.
    bool passesThrough(const miColor& transparency) {
        value = rgbProduct(value, transparency);
        if (!allBelow(value, opaqueBelow)) {
            vela_.layerTransmission = rgbProduct(vela_.layerTransmission, transparency);
            if (!(hiddenBelow(vela_) > largestChannel(vela_.layerTransmission))) return true;
        }
        value = BLACK;
        return false;
    }

    miColor value = WHITE;

private:
    VelabaseState& vela_;
    Restored<miColor> before_;
};

class LayeredShaderClass : public FlatMaterial<P, ShaderHelper<P>> {
public:
    using FlatMaterial::FlatMaterial;

    miBoolean operator()(SurfaceShaderReturnType* result, miState* state, P* record) const {
        VelabaseState* const vela = velabaseState(state);
        if (!vela) {
            orcaWarning("vela_layeredshader(): Internal state error.");
            return miFALSE;
        }
        const miInteger matteMode = parameterValue(state, record, &P::matteMode);
        if (state->type == miRAY_SHADOW) {
            result->transparency =
                matteMode == MATTE_BLACK_HOLE ? BLACK : shadowTransmission(state, *vela, record);
            return miTRUE;
        }
        *result = {};
        if (matteMode == MATTE_BLACK_HOLE) {
            makeBlackHole(*result);
            return miTRUE;
        }
        const PassRecords passes(state);
        mixLayers(*result, state, *vela, passes, record);
        setMatte(*result, matteMode, parameterValue(state, record, &P::matteOpacity));
        writePicture(state, passes, result->color);
        return miTRUE;
    }

private:
    static miColor shadowTransmission(miState* state, VelabaseState& vela, P* record) {
        Transmission transmission(vela);
        for (LayerRecord& layer : Layers(state, record))
            if (!transmission.passesThrough(evaluated(state, &layer.transparency))) break;
        return transmission.value;
    }

    void mixLayers(SurfaceShaderReturnType& result, miState* state, VelabaseState& vela,
                   const PassRecords& passes, P* record) const {
        const bool weighted = parameterValue(state, record, &P::compositingMode) != 0;
        Transmission transmission(vela);
        MixedInputs inputs(state, passes, &vela, writesPasses());
        for (LayerRecord& layer : Layers(state, record)) {
            // The transparency of weighted layers is evaluated first, that of premultiplied ones last: an
            // expensive colour is evaluated when its weight is known.
            miColor transparency;
            miColor weight = transmission.value;
            if (weighted) {
                transparency = inputs.valueBefore(&layer.transparency);
                weight = weight * (WHITE - transparency);
            }
            result.color += rgbProduct(inputs.shown(&layer.color, weight), weight);
            result.glowColor += rgbProduct(inputs.value(&layer.glowColor), weight);
            if (!weighted) transparency = inputs.value(&layer.transparency);
            if (!transmission.passesThrough(transparency)) break;
        }
        result.color.a = result.glowColor.a = BLACK.a;
        result.transparency = transmission.value;
        inputs.finish(transmission.value);
    }
};

} // namespace

ORCA_EXPORT_SHADER(orcaVelaLayeredShader, SurfaceShaderReturnType, LayeredShaderClass,
                   LayeredShaderParameters, "orcaLayeredShader", __LINE__)

#include "declared/orcaVelaLayeredShader.h"
