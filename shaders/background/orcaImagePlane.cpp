// SPDX-License-Identifier: Apache-2.0
#include "orcaImagePlane.h"

#include "orcaFlatMaterial.h"
#include "orcaUtilities.h"

namespace {

using P = ImagePlaneParameters;

enum DisplayMode : miInteger {
    DISPLAY_HIDDEN = 0,
    DISPLAY_OPAQUE = 2,
    DISPLAY_LUMINANCE = 4,
    DISPLAY_ALPHA = 5
};

/// The rasterizer composites the sample's layers by the opacities that their shaders set.
bool inOpacityMode(const miState* state) {
    return state->options->scanline == miSCANLINE_RASTERIZER && state->rast_compose;
}

miColor grey(miScalar value, miScalar alpha) {
    return {value, value, value, alpha};
}

/// The texture's colour as a display mode shows it.
miColor displayed(const miColor& texture, miInteger mode) {
    switch (mode) {
    case DISPLAY_OPAQUE: return withAlpha(texture, 1.0f);
    case DISPLAY_LUMINANCE: return grey(luminance(texture), texture.a);
    case DISPLAY_ALPHA: return grey(texture.a, texture.a);
    default: return texture;
    }
}

/// The state's shader is running for an image plane.
class ImagePlaneMark {
public:
    explicit ImagePlaneMark(VelabaseState& vela)
        : vela_(vela), marked_((vela.flags & VELA_BIT_IMAGEPLANE) != 0) {
        vela_.flags |= VELA_BIT_IMAGEPLANE;
    }
    ~ImagePlaneMark() {
        if (!marked_) vela_.flags &= ~VELA_BIT_IMAGEPLANE;
    }
    ImagePlaneMark(const ImagePlaneMark&) = delete;
    ImagePlaneMark& operator=(const ImagePlaneMark&) = delete;

private:
    VelabaseState& vela_;
    bool marked_;
};

/// A hit of a plane with its records. When it runs as a material it handles the passes as the shading engine
/// does for surface shaders.
class PlaneHit {
public:
    PlaneHit(miState* s, VelabaseState& v) : state(s), vela(v), passes(s), handsUp_(v.engineHit != s) {
        if (handsUp_) prepareSlots(state, passes);
    }

    /// Continues the ray as if there were no plane: what it found, and whether it did.
    template <class Trace>
    miBoolean passBy(miColor& seen, const Trace& trace) {
        const miUint shadedBefore = vela.surfacesShaded;
        SavedSlots slots(state, passes);
        seen = BLACK;
        const miBoolean found = trace(seen);
        if (!found) seen = BLACK;
        slots.showBehind(WHITE, false);
        if (vela.surfacesShaded == shadedBefore) {
            accumulateBackgroundToParent(state, passes, withoutVolumeLight(seen, vela, state->child));
            noteBackground(state, state->child, vela, seen);
            if (handsUp_) ++vela.surfacesShaded;
        }
        return found;
    }

    /// Light from straight behind the plane, times a transmission.
    miColor behind(miScalar transmission, bool pictureIsWritten) {
        SavedSlots slots(state, passes);
        miColor seen = BLACK;
        if (!traceStraight(seen)) seen = BLACK;
        slots.showBehind(grey(transmission, transmission), pictureIsWritten);
        return seen;
    }

    /// At the same trace level.
    miBoolean traceStraight(miColor& seen) {
        const Restored<int> level(state->refraction_level);
        const Restored<miTag> volume(state->refraction_volume);
        --state->refraction_level;
        if (state->refraction_volume == miNULLTAG) state->refraction_volume = state->volume;
        return mi_trace_transparent(&seen, state);
    }

    /// The plane's own picture is background.
    void notePicture(const miColor& picture) {
        if (traceLevel(state) != 0) return;
        const miColor& transmission = vela.layerTransmission;
        vela.background.environment += withAlpha(transmission * picture, luminance(transmission) * picture.a);
    }

    void accumulatePictureToParent(const miColor& opacity) {
        if (!handsUp_) return;
        if (vela.additivePasses) accumulateSharesToParent(state, passes, opacity, BLACK, nullptr);
        else accumulateToParent(state, passes, opacity);
        ++vela.surfacesShaded;
    }

    miState* state;
    VelabaseState& vela;
    PassRecords passes;

private:
    bool handsUp_;
};

/// Tells the renderer the opacity of the plane by itself where it keeps one: what is behind hides it.
void updateOpacity(miState* state, const miColor& opacity) {
    miColor held;
    if (mi_opacity_get(state, &held)) mi_opacity_set(state, &opacity);
}

class ImagePlaneClass : public FlatMaterial<P, ShaderHelper<P>> {
public:
    using FlatMaterial::FlatMaterial;

    miBoolean operator()(miColor* result, miState* state, P* record) const {
        VelabaseState* const vela = velabaseState(state);
        if (!vela) {
            orcaWarning("vela_imageplane(): Internal state error.");
            return miFALSE;
        }
        PlaneHit hit(state, *vela);
        if (state->type == miRAY_REFLECT && !parameterValue(state, record, &P::reflectionVisible))
            return continueReflection(*result, hit);
        if (state->type == miRAY_REFRACT && !parameterValue(state, record, &P::refractionVisible))
            return continueRefraction(*result, hit);
        if (state->volume == miNULLTAG && state->camera) state->volume = state->camera->volume;
        const miInteger mode = parameterValue(state, record, &P::displayMode);
        if (mode == DISPLAY_HIDDEN) {
            *result = hidden(hit);
            return miTRUE;
        }
        const ImagePlaneMark mark(*vela);
        miColor opacity = WHITE;
        if (parameterValue(state, record, &P::sourceKind) != 0) {
            *result = withAlpha(parameterValue(state, record, &P::imageColor), 1.0f);
            vela->imagePlanes = {WHITE, BLACK, BLACK};
            hit.notePicture(*result);
        } else {
            showTexture(*result, opacity, hit, record, mode);
        }
        writePicture(state, hit.passes, *result);
        hit.accumulatePictureToParent(opacity);
        return miTRUE;
    }

private:
    static miBoolean continueReflection(miColor& result, PlaneHit& hit) {
        miState* const state = hit.state;
        const Restored<miTag> volume(state->volume);
        if (state->parent) state->volume = state->parent->volume;
        return hit.passBy(result, [&](miColor& seen) {
            const Restored<int> inside(state->reflection_level);
            --state->reflection_level;
            miVector onward = state->dir;
            return mi_trace_reflection(&seen, state, &onward);
        });
    }

    static miBoolean continueRefraction(miColor& result, PlaneHit& hit) {
        miState* const state = hit.state;
        const Restored<miTag> volume(state->volume);
        const Restored<miTag> beyond(state->refraction_volume);
        const Restored<miScalar> index(state->ior_in);
        state->refraction_volume = state->volume; // the medium does not change
        if (state->parent) {
            state->volume = state->parent->volume;
            state->ior_in = state->parent->ior_in;
        }
        return hit.passBy(result, [&](miColor& seen) {
            const Restored<int> inside(state->refraction_level);
            --state->refraction_level;
            miVector onward = state->dir;
            return mi_trace_refraction(&seen, state, &onward);
        });
    }

    static miColor hidden(PlaneHit& hit) {
        if (inOpacityMode(hit.state)) {
            mi_opacity_set(hit.state, &BLACK);
            return BLACK;
        }
        miColor seen;
        hit.passBy(seen, [&](miColor& c) { return hit.traceStraight(c); });
        return seen;
    }

    /// The result is unchanged when there is no texture to read.
    /// @param opacity opacity of the plane for the rasterizer
    void showTexture(miColor& result, miColor& opacity, PlaneHit& hit, P* record, miInteger mode) const {
        miState* const state = hit.state;
        miVector coordinate = state->tex_list ? state->tex_list[0] : miVector{};
        const miTag texture = parameterValue(state, record, &P::imageTexture);
        miColor looked{}; // a shader in the texture's place may set less
        if (!mi_lookup_color_texture(&looked, state, texture, &coordinate)) return;

        const miColor shown = displayed(looked, mode);
        const miScalar alpha = shown.a * parameterValue(state, record, &P::alphaGain);
        result = withAlpha(parameterValue(state, record, &P::colorGain) * shown +
                               parameterValue(state, record, &P::colorOffset),
                           alpha);
        ImagePlaneSums& sums = hit.vela.imagePlanes;
        if (alpha > 1.0f - VELA_EPS) {
            result.a = 1.0f;
            hit.notePicture(result);
            if (inOpacityMode(state)) {
                mi_opacity_set(state, &WHITE);
            } else {
                sums.coverage = WHITE;
                sums.transmission = BLACK;
                sums.openness.r = BLACK.r;
            }
            return;
        }
        result = withAlpha(result * alpha, alpha);
        hit.notePicture(result);
        if (inOpacityMode(state)) {
            opacity = grey(alpha, alpha);
            mi_opacity_set(state, &opacity);
            return;
        }
        updateOpacity(state, grey(alpha, alpha));
        const Restored<miColor> layers(hit.vela.layerTransmission);
        hit.vela.layerTransmission *= 1.0f - alpha;
        result += hit.behind(1.0f - alpha, writesPasses()) * (1.0f - alpha);
        sums.coverage += (WHITE - sums.coverage) * result.a;
        sums.transmission *= 1.0f - alpha;
    }
};

} // namespace

ORCA_EXPORT_SHADER(orcaVelaImagePlane, miColor, ImagePlaneClass, ImagePlaneParameters, "orcaImagePlane",
                   __LINE__)

#include "declared/orcaVelaImagePlane.h"
