// SPDX-License-Identifier: Apache-2.0
#include "orcaVelaShadingEngine.h"

#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaFilterSize.h"
#include "orcaGuards.h"
#include "orcaLevelSlots.h"
#include "orcaParameters.h"
#include "orcaPassRecords.h"
#include "orcaRenderPassUtilities.h"
#include "orcaSurfaceShaderReturnType.h"
#include "orcaUtilities.h"
#include "orcaVector.h"
#include "orcaVelaState.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

namespace {

using P = ShadingEngineParameters;

constexpr miTag noShader = 0xFFFFFFFFu;
constexpr float visibleTransmission = 0.004f; // below the step of an 8-bit picture
constexpr int longestChain = 256;             // states; beyond, transparency ends

// --- the surface

/// Grazing hits are shaded with a normal that faces the ray slightly.
void liftGrazingNormal(miState* state) {
    constexpr float leastFacing = 0.0015f;
    if (!(std::abs(state->dot_nd) < VELA_EPS)) return;
    state->normal = normalized(state->normal - state->dir * (state->dot_nd + leastFacing));
    state->dot_nd = dot(state->normal, state->dir);
}

/// Zeroed memory for a surface shader's result, at least a SurfaceShaderReturnType, more when its declared
/// type is larger.
class SurfaceResult {
public:
    SurfaceResult(miState* state, miTag shader) {
        int size = 0;
        if (!mi_query(miQ_DECL_RESULT_SIZE, state, shader, &size)) return;
        if (size > static_cast<int>(sizeof(local_))) large_.emplace("orcaVelaShadingEngine", __LINE__, size);
    }
    [[nodiscard]] SurfaceShaderReturnType& get() noexcept {
        return large_ && *large_ ? *reinterpret_cast<SurfaceShaderReturnType*>(large_->get()) : local_;
    }

private:
    SurfaceShaderReturnType local_{};
    std::optional<RendererArray<char>> large_;
};

void evaluateExtraOutputs(miState* state, P* record) {
    const int count = *mi_eval_integer(&record->n_extraOutputs);
    const int first = *mi_eval_integer(&record->i_extraOutputs);
    miColor* const outputs = arrayElements(record->extraOutputs, first);
    for (int k = 0; k < count; ++k) mi_eval(state, &outputs[k]);
}

bool inTransparency(const PassRecords& passes) {
    return static_cast<bool>(passes) && (passes.records[0].flags & FB_IN_TRANSPARENCY);
}

// --- pass values

/// Writes opacity and matte opacity of the hit that the camera sees.
void writeCoverage(const miState* state, const PassRecords& passes, const SurfaceShaderReturnType& surface) {
    if (traceLevel(state) != 0) return;
    const bool inLightLoop = (passes.records[0].flags & FB_IN_LIGHT_LOOP) != 0;
    const auto add = [&](PassTypeID type, const miColor& value) {
        for (FrameBufferInfo& record : passes.of(type)) {
            TraceLevelSlot& slot = record.levelSlots[0];
            if (inLightLoop) record.lightAccum += value;
            else if (!(slot.levelMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED)) slot.levelResult += value;
        }
    };
    add(PASS_OPACITY, WHITE - surface.transparency);
    add(PASS_MATTE, surface.matteOpacity);
}

// --- the picture

struct Composite {
    miColor color;
    bool continues; ///< the ray goes on through the surface
};

/// The picture's colour; alpha is the matte. A black hole's matte is replaced.
Composite composite(SurfaceShaderReturnType& surface, const VelabaseState& vela) {
    const bool blackHole = surface.matteOpacity.r == BLACK_HOLE_MARK;
    if (blackHole) surface.matteOpacity = VELA_BLACK_HOLE;
    const bool transparent = luminance(surface.transparency) > 1.0f - vela.transparencyThreshold;
    return {withAlpha(surface.color, luminance(surface.matteOpacity)), transparent && !blackHole};
}

/// The surface's colour unchanged. Its transparency, one minus its alpha, is left to the caller to composite.
Composite passThrough(const SurfaceShaderReturnType& surface, miState* state, VelabaseState& vela) {
    vela.transparencyAccum = WHITE * (1.0f - surface.color.a);
    vela.transparencyAccumBehind = BLACK;
    if (vela.depthOutput && vela.raster && vela.depthStack.arena) {
        auto* const entry = static_cast<DepthStackEntry*>(stack_push(&vela.depthStack));
        entry->depth = dot(state->point, vela.depthPlaneNormal) + vela.depthPlaneOffset;
    }
    return {surface.color, false};
}

bool chainIsFull(const miState* state) {
    int states = 0;
    for (; state && states < longestChain; state = state->parent) ++states;
    return states >= longestChain;
}

void noteLayer(VelabaseState& vela, const miColor& color, const miColor& transmission) {
    vela.throughput *= transmission;
    vela.layerTransmission *= transmission;
    vela.transparencySum += transmission * color;
    vela.opacitySum += WHITE - transmission;
    ++vela.transparencyCount;
}

/// During its lifetime the surfaces behind a fully transparent hit are not shaded.
class TransparencyMark {
public:
    TransparencyMark(const PassRecords& passes, bool fullyTransparent)
        : flags_(passes ? &passes.records[0].flags : nullptr), before_(inTransparency(passes)) {
        if (flags_ && fullyTransparent) *flags_ |= FB_IN_TRANSPARENCY;
    }
    ~TransparencyMark() {
        if (flags_ && !before_) *flags_ &= ~unsigned{FB_IN_TRANSPARENCY};
    }
    TransparencyMark(const TransparencyMark&) = delete;
    TransparencyMark& operator=(const TransparencyMark&) = delete;

private:
    miUint* flags_;
    bool before_;
};

/// Keeps what a hit has accumulated apart from what is behind it, where the ray goes on through a volume:
/// that dims all that its ray has brought, and only that.
class InFrontOfVolume {
public:
    InFrontOfVolume(const miState* state, VelabaseState& vela, const PassRecords& passes) : vela_(vela) {
        const miTag volume = vela.continueRay ? state->volume : state->refraction_volume;
        if (volume == miNULLTAG || state->options->no_volume) return;
        slots_.emplace(state, passes);
        background_ = vela.background;
        vela.background = {BLACK, BLACK};
    }
    ~InFrontOfVolume() {
        if (!slots_) return;
        slots_->showBehind(WHITE, false);
        vela_.background.environment += background_.environment;
        vela_.background.lamps += background_.lamps;
    }
    InFrontOfVolume(const InFrontOfVolume&) = delete;
    InFrontOfVolume& operator=(const InFrontOfVolume&) = delete;

private:
    VelabaseState& vela_;
    std::optional<SavedSlots> slots_;
    BackgroundSums background_{};
};

/// Adds what is behind a transparent hit, at the same trace level, and counts the hit as a layer even where
/// nothing is traced.
void continueThrough(miColor& color, miState* state, VelabaseState& vela, const PassRecords& passes,
                     const miColor& transmission) {
    const Restored<miColor> throughput(vela.throughput);
    const Restored<miColor> layers(vela.layerTransmission);
    const bool visible = anyAbove(transmission, visibleTransmission);
    if (visible) noteLayer(vela, color, transmission);
    if (state->options->scanline == miSCANLINE_RASTERIZER) {
        const miColor opacity = WHITE - transmission;
        mi_opacity_set(state, &opacity);
        return;
    }
    const bool fullyTransparent = allBelow(transmission, VELA_EPS) && allBelow(WHITE - color, VELA_EPS);
    if (chainIsFull(state) || !(visible || fullyTransparent)) return;

    const Restored<int> level(state->refraction_level);
    const TransparencyMark mark(passes, fullyTransparent);

    const InFrontOfVolume inFront(state, vela, passes);
    const miUint shadedBefore = vela.surfacesShaded;
    miColor behind = BLACK;
    // What is behind belongs to this level: a transparency ray adds one to it, a continued ray does not.
    if (!vela.continueRay) --state->refraction_level;
    const bool found =
        vela.continueRay ? mi_trace_continue(&behind, state) : mi_trace_transparent(&behind, state);
    if (!found) behind = BLACK;
    state->refraction_level = level.before();
    if (vela.surfacesShaded == shadedBefore) {
        if (vela.additivePasses)
            accumulateBackgroundToParent(state, passes, withoutVolumeLight(behind, vela, state->child));
        noteBackground(state, state->child, vela, behind);
    }

    color = {color.r + transmission.r * behind.r, color.g + transmission.g * behind.g,
             color.b + transmission.b * behind.b, color.a + (1.0f - color.a) * behind.a};
}

/// Updates the opacity that the renderer keeps for the sample, where it keeps one.
void updateOpacity(miState* state, const miColor& transmission) {
    miColor held;
    if (!anyAbove(transmission, visibleTransmission) || !mi_opacity_get(state, &held)) return;
    const miColor opacity = WHITE - transmission;
    mi_opacity_set(state, &opacity);
}

} // namespace

extern "C" {

ORCA_EXPORT int orcaVelaShadingEngine_version(void) {
    return 1;
}

ORCA_EXPORT void orcaVelaShadingEngine_init(miState*, ShadingEngineParameters*, miBoolean*) {
}

ORCA_EXPORT miBoolean orcaVelaShadingEngine(miColor* result, miState* state,
                                            ShadingEngineParameters* record) {
    VelabaseState* const vela = velabaseState(state);
    if (!vela) {
        orcaWarning("vela_shadingengine(): Internal state error.");
        return miFALSE;
    }
    const miTag shader = parameterValue(state, record, &P::surfaceShader);
    if (shader == miNULLTAG || shader == noShader) {
        mi_warning("vela_shadingengine(): Cannot evaluate surface shader.");
        return miFALSE;
    }
    static_cast<void>(parameterValue(state, record, &P::evaluatedScalar));
    const bool composites = parameterValue(state, record, &P::mode) == 0;

    const PassRecords passes(state);
    prepareSlots(state, passes);
    const Restored<FilterFootprint> footprint(vela->footprint);
    setFilterFootprint(state, *vela);
    liftGrazingNormal(state);

    SurfaceResult buffer(state, shader);
    SurfaceShaderReturnType& surface = buffer.get();
    vela->refractedTransparency = BLACK;
    const Restored<const miState*> engineHit(vela->engineHit);
    vela->engineHit = state;
    const Restored<const PassRecords*> enginePasses(vela->enginePasses);
    vela->enginePasses = &passes;
    const bool additive = vela->additivePasses != 0;
    std::optional<TracedValues> traced;
    if (additive) traced.emplace(*vela, passes);
    if (!inTransparency(passes))
        mi_call_shader_x(reinterpret_cast<miColor*>(&surface), miSHADER_MATERIAL, state, shader, nullptr);
    const miColor refracted = vela->refractedTransparency;
    evaluateExtraOutputs(state, record);

    const Composite seen = composites ? composite(surface, *vela) : passThrough(surface, state, *vela);
    *result = seen.color;
    if (passes) {
        writeCoverage(state, passes, surface);
        const miColor opacity = WHITE - surface.transparency;
        vela->uncovered =
            additive ? accumulateSharesToParent(state, passes, opacity, refracted, vela->tracedValues)
                     : accumulateToParent(state, passes, opacity);
    }
    ++vela->surfacesShaded;
    if (seen.continues) continueThrough(*result, state, *vela, passes, surface.transparency);
    updateOpacity(state, surface.transparency);
    return miTRUE;
}

} // extern "C"

#include "declared/orcaVelaShadingEngine.h"
