// SPDX-License-Identifier: Apache-2.0
#include "orcaComposite.h"

#include "orcaColor.h"

namespace {

struct ModeComponents {
    miInteger a, b;
    miUint mask;
};

/// By render mode; the gathered mode depends on whether a gather is running.
constexpr ModeComponents modeTable[] = {
    {1, 1, 0x74F}, {1, 0, 0x797}, {1, 1, 0x20}, {0, 0, 0x1}, {1, 0, 0x617}, {1, 0, 0x180},
};
constexpr miUint gatheredMask = 0x304;
constexpr miUint gatheringExtra = 0x44B;

void setRgb(miColor& color, miScalar value) {
    color.r = color.g = color.b = value;
}

} // namespace

void bc_construct(bc* record, int mode, miState* state) {
    record->mode = mode;
    if (mode >= 0 && mode < RENDER_MODE_GATHERED) {
        record->a = modeTable[mode].a;
        record->b = modeTable[mode].b;
        record->componentMask = modeTable[mode].mask;
    } else if (mode == RENDER_MODE_GATHERED) {
        int gather = 0;
        const bool gathering = mi_query(miQ_FINALGATHER_STATE, state, miNULLTAG, &gather) && gather != 0;
        record->a = gathering;
        record->b = 1;
        record->componentMask = gathering ? gatheredMask + gatheringExtra : gatheredMask;
    }
}

void bc_composite(const bc* record, SurfaceShaderReturnType* result, const CompositeInputs* inputs) {
    if (record->mode == RENDER_MODE_SHADOW) {
        setRgb(result->matteOpacity, inputs->shadowMatte);
        return;
    }
    switch (inputs->matteRule) {
    case MATTE_BLACK_HOLE: setRgb(result->matteOpacity, BLACK_HOLE_MARK); return;
    case MATTE_SOLID: setRgb(result->matteOpacity, inputs->matteOpacity); break;
    case MATTE_OPACITY_GAIN:
        result->matteOpacity =
            withAlpha((WHITE - result->transparency) * inputs->matteOpacity, result->matteOpacity.a);
        break;
    default: break;
    }

    const miUint mask = record->componentMask;
    const miColor opacity = WHITE - inputs->transparency;
    miColor color = BLACK;
    if (mask & COMPOSITE_DIFFUSE) color = result->diffuse = inputs->diffuse;
    else if (mask & COMPOSITE_DIFFUSE_UNSHADOWED)
        color = result->diffuseUnshadowed = inputs->diffuseUnshadowed;
    if (mask & COMPOSITE_INDIRECT) color += result->irradiance = inputs->indirect;
    if ((mask & COMPOSITE_SCATTER) && inputs->scatter) color += result->scatter = *inputs->scatter;
    if (mask & COMPOSITE_AMBIENT) color += result->ambient = inputs->ambient;
    color *= opacity;
    if (mask & COMPOSITE_INCANDESCENCE) color += result->incandescence = inputs->incandescence;
    miColor glow = color * inputs->glow;

    const auto addBright = [&](const miColor& light) {
        color += light;
        glow += light * inputs->specularGlow;
    };
    if (mask & COMPOSITE_SPECULAR) addBright(result->specular = inputs->specular);
    else if (mask & COMPOSITE_SPECULAR_UNSHADOWED)
        addBright(result->specularUnshadowed = inputs->specularUnshadowed);
    if ((mask & COMPOSITE_REFRACTION) && inputs->refraction)
        addBright(result->refraction = *inputs->refraction);

    if (inputs->clear) color = BLACK;
    else if (mask & COMPOSITE_TRACE_LIMIT) color += result->reflection = inputs->reflection;

    result->color = color;
    result->glowColor = glow;
    result->translucence = inputs->translucence;
    result->opacity = opacity;
}

void bc_destruct(bc*) {
}
