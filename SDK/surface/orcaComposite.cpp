// SPDX-License-Identifier: Apache-2.0
#include "orcaComposite.h"

#include "orcaColor.h"
#include "orcaGathering.h"

namespace {

struct ModeComponents {
    miInteger a, b;
    miUint mask;
};

constexpr miUint traced = COMPOSITE_REFRACTION | COMPOSITE_TRACE_LIMIT;
constexpr miUint unlit = COMPOSITE_AMBIENT | COMPOSITE_INCANDESCENCE | COMPOSITE_INDIRECT | COMPOSITE_SCATTER;
constexpr miUint all = unlit | COMPOSITE_DIFFUSE | COMPOSITE_SPECULAR | traced;
constexpr miUint allUnshadowed =
    unlit | COMPOSITE_DIFFUSE_UNSHADOWED | COMPOSITE_SPECULAR_UNSHADOWED | traced;

/// By render mode; the gathered mode depends on whether a gather is running.
constexpr ModeComponents modeTable[] = {
    /* RENDER_MODE_FULL */ {1, 1, all},
    /* RENDER_MODE_UNSHADOWED */ {1, 0, allUnshadowed},
    /* RENDER_MODE_SHADOW */ {1, 1, COMPOSITE_THROUGHPUT},
    /* RENDER_MODE_AMBIENT */ {0, 0, COMPOSITE_AMBIENT},
    /* RENDER_MODE_DIFFUSE_UNSHADOWED */
    {1, 0, unlit | COMPOSITE_DIFFUSE_UNSHADOWED | COMPOSITE_TRACE_LIMIT},
    /* RENDER_MODE_SPECULAR_UNSHADOWED */
    {1, 0, COMPOSITE_SPECULAR_UNSHADOWED | COMPOSITE_REFRACTION},
};
constexpr ModeComponents gatheredMode = {0, 1, COMPOSITE_INDIRECT | traced};
constexpr ModeComponents gatheringMode = {1, 1, all};

void setRgb(miColor& color, miScalar value) {
    color.r = color.g = color.b = value;
}

} // namespace

void bc_construct(bc* record, int mode, miState* state) {
    record->mode = mode;
    if (mode < 0 || mode > RENDER_MODE_GATHERED) return;
    const ModeComponents& components = mode < RENDER_MODE_GATHERED ? modeTable[mode]
                                       : isGathering(state)        ? gatheringMode
                                                                   : gatheredMode;
    record->a = components.a;
    record->b = components.b;
    record->componentMask = components.mask;
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
