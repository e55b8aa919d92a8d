// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Materials that mix or replace colours of other shaders, and write the result to the passes that are the
/// picture.

#include "orcaLayerWrites.h"
#include "orcaMaterial.h"
#include "orcaVelaState.h"

#include <optional>

/// Value of a parameter at an address in the running shader's block, such as an element of an array.
template <class T>
[[nodiscard]] T evaluated(miState* state, T* parameter) {
    return *static_cast<T*>(mi_eval(state, parameter));
}

template <class P, class Helper, int = 1>
class FlatMaterial : public Material<P, Helper, 1> {
public:
    using Material<P, Helper, 1>::Material;

protected:
    /// Writes a colour to the two passes that are the picture, alpha 1.
    void writePicture(miState* state, const PassRecords& passes, const miColor& color) const {
        if (!passes || !this->writesPasses()) return;
        const miColor value = withAlpha(color, 1.0f);
        for (const PassTypeID type : PICTURE_PASSES) this->writePass(state, passes, type, value);
    }
};

/// The evaluation of a mixing shader's inputs. Where passes add up to the picture, what their shaders write
/// is mixed as the colours are; otherwise it stays as they wrote it. `vela` may be null.
class MixedInputs {
public:
    MixedInputs(miState* state, const PassRecords& passes, VelabaseState* vela, bool pictureIsWritten)
        : state_(state), vela_(vela) {
        if (vela && vela->additivePasses) writes_.emplace(state, *vela, passes, pictureIsWritten);
    }

    /// A value other than the shown colour: what its shader writes is dropped.
    template <class T>
    [[nodiscard]] T value(T* parameter) {
        const T read = evaluated(state_, parameter);
        if (writes_ && mi_is_connected(state_, parameter)) writes_->drop();
        return read;
    }
    /// A value that is read before the shown colour and often from the same shader, which may run for it
    /// alone.
    template <class T>
    [[nodiscard]] T valueBefore(T* parameter) {
        if (!writes_ || !mi_is_connected(state_, parameter)) return evaluated(state_, parameter);
        vela_->surfaceOpacity = WHITE;
        const T read = evaluated(state_, parameter);
        writes_->putAside(vela_->surfaceOpacity);
        return read;
    }
    /// The shown colour, with what its shader writes.
    /// @param weight of the colour in the mixture
    [[nodiscard]] miColor shown(miColor* parameter, const miColor& weight) {
        if (!writes_) return evaluated(state_, parameter);
        if (!mi_is_connected(state_, parameter)) {
            writes_->drop();
            return *parameter;
        }
        vela_->surfaceOpacity = WHITE;
        const miColor read = evaluated(state_, parameter);
        writes_->keep(weight, vela_->surfaceOpacity);
        return read;
    }
    /// @param transparency of the mixture
    void finish(const miColor& transparency) {
        if (!writes_) return;
        writes_->finish(WHITE - transparency);
        vela_->surfaceOpacity = WHITE - transparency;
        vela_->refractionsOn = miFALSE;
        vela_->refractedTransparency = BLACK;
    }

private:
    miState* state_;
    VelabaseState* vela_;
    std::optional<LayerWrites> writes_; ///< where passes add up to the picture
};
