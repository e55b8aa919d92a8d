// SPDX-License-Identifier: Apache-2.0
#include "orcaShadingMap.h"

#include "orcaColorSpace.h"
#include "orcaFlatMaterial.h"
#include "orcaMatte.h"

namespace {

using P = ShadingMapParameters;

/// Channel of a colour that is a coordinate of the map; the first three are those of HSV.
enum MapChannel : miInteger {
    MAP_HUE = 0,
    MAP_SATURATION = 1,
    MAP_VALUE = 2,
    MAP_RED = 3,
    MAP_GREEN = 4,
    MAP_BLUE = 5
};

float channelOf(miInteger channel, const miColor& rgb, const miColor& hsv) {
    switch (channel) {
    case MAP_HUE: return hsv.r;
    case MAP_SATURATION: return hsv.g;
    case MAP_VALUE: return hsv.b;
    case MAP_RED: return rgb.r;
    case MAP_GREEN: return rgb.g;
    case MAP_BLUE: return rgb.b;
    default: return (rgb.r + rgb.g + rgb.b) / 3.0f;
    }
}

/// Replaces the first texture coordinate while it lives. Connected shaders are evaluated again before and
/// after, unless the thread's record keeps their results.
class ReplacedCoordinate {
public:
    ReplacedCoordinate(miState* state, const VelabaseState* vela, const miVector& coordinate)
        : state_(state), flushes_(!vela || !vela->keepEvaluations) {
        if (state->tex_list) {
            before_.emplace(state->tex_list[0]);
            state->tex_list[0] = coordinate;
        }
        if (flushes_) mi_flush_cache(state);
    }
    ~ReplacedCoordinate() {
        before_.reset();
        if (flushes_) mi_flush_cache(state_);
    }
    ReplacedCoordinate(const ReplacedCoordinate&) = delete;
    ReplacedCoordinate& operator=(const ReplacedCoordinate&) = delete;

private:
    miState* state_;
    bool flushes_;
    std::optional<Restored<miVector>> before_;
};

class ShadingMapClass : public FlatMaterial<P, ShaderHelper<P>> {
public:
    using FlatMaterial::FlatMaterial;

    miBoolean operator()(SurfaceShaderReturnType* result, miState* state, P* record) const {
        VelabaseState* const vela = velabaseState(state);
        const miInteger matteMode = parameterValue(state, record, &P::matteMode);
        *result = {};
        if (state->type == miRAY_SHADOW) {
            if (matteMode != MATTE_BLACK_HOLE)
                result->transparency = parameterValue(state, record, &P::inputTransparency);
            return miTRUE;
        }
        if (matteMode == MATTE_BLACK_HOLE) {
            makeBlackHole(*result);
            return miTRUE;
        }
        const PassRecords passes(state);
        MixedInputs inputs(state, passes, vela, writesPasses());
        result->transparency = inputs.valueBefore(&record->inputTransparency);
        const miVector coordinate = mapCoordinate(state, record, inputs);
        {
            const ReplacedCoordinate replaced(state, vela, coordinate);
            result->color = inputs.value(&record->mapColor);
        }
        result->glowColor = inputs.value(&record->glowColor);
        inputs.finish(result->transparency);
        setMatte(*result, matteMode, parameterValue(state, record, &P::matteOpacity));
        writePicture(state, passes, result->color);
        return miTRUE;
    }

private:
    static miVector mapCoordinate(miState* state, P* record, MixedInputs& inputs) {
        const miInteger u = parameterValue(state, record, &P::uChannel);
        const miInteger v = parameterValue(state, record, &P::vChannel);
        const miColor rgb = inputs.shown(&record->inputColor, WHITE);
        miColor hsv = BLACK;
        if (u <= MAP_VALUE || v <= MAP_VALUE) rgb_to_hsv(&hsv, &rgb);
        return {channelOf(u, rgb, hsv), channelOf(v, rgb, hsv), 0.0f};
    }
};

} // namespace

ORCA_EXPORT_SHADER(orcaVelaShadingMap, SurfaceShaderReturnType, ShadingMapClass, ShadingMapParameters,
                   "orcaShadingMap", __LINE__)

#include "declared/orcaVelaShadingMap.h"
