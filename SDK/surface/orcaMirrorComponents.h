// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Reflection components that trace (see orcaReflectionComponents.h for their interface).

#include "orcaAnisotropicFacets.h"
#include "orcaColor.h"
#include "orcaParameters.h"
#include "orcaSurfaceBump.h"
#include "orcaTracing.h"
#include "orcaVector.h"

#include <algorithm>

/// Reflection weighted by a reflectivity. A component derives from it and defines in `materialColor` how its
/// reflectivity depends on the view.
template <class P, class Component>
class MirrorComponent {
public:
    [[nodiscard]] miColor operator()(miState* state, const TraceContext& context) const {
        const miColor weight = static_cast<const Component*>(this)->materialColor(facingRatio(state));
        if (!anyAbove(weight, 0.0f)) return BLACK;

        const ReflectionSettings settings{parameterValue(state, record_, &P::reflectionLimit),
                                          parameterValue(state, record_, &P::reflectionBlur),
                                          parameterValue(state, record_, &P::reflectionBlurSamples)};
        miColor light = compute_reflection(weight, settings, state, context);
        const miColor added = withAlpha(weight * parameterValue(state, record_, &P::reflectedColor), 0.0f);
        if (anyAbove(added, 0.0f)) {
            addUnhandedLight(state, *context.passes, false, added);
            light += added;
        }
        return light;
    }

protected:
    MirrorComponent(miState* state, P* record)
        : color_(withAlpha(parameterValue(state, record, &P::specularColor), 1.0f)),
          reflectivity_(std::max(0.0f, parameterValue(state, record, &P::reflectivity))),
          record_(record) {}

    miColor color_;
    miScalar reflectivity_;
    P* record_;
};

/// Phong, PhongE: independent of the view.
template <class P>
class DefaultSpecularReflectionComponent : public MirrorComponent<P, DefaultSpecularReflectionComponent<P>> {
public:
    DefaultSpecularReflectionComponent(miState* state, P* record)
        : MirrorComponent<P, DefaultSpecularReflectionComponent<P>>(state, record) {}
    [[nodiscard]] miColor materialColor(miScalar) const { return this->color_ * this->reflectivity_; }
};

/// Blinn: the roll-off head on, all of the reflectivity at grazing angles.
template <class P>
class BlinnReflectionComponent : public MirrorComponent<P, BlinnReflectionComponent<P>> {
public:
    BlinnReflectionComponent(miState* state, P* record)
        : MirrorComponent<P, BlinnReflectionComponent<P>>(state, record),
          rollOff_(parameterValue(state, record, &P::specularRollOff)) {}
    [[nodiscard]] miColor materialColor(miScalar facing) const {
        const miScalar away = 1.0f - std::clamp(facing, 0.0f, 1.0f);
        const miScalar f = away * away * away;
        return this->color_ * (this->reflectivity_ * (f + (1.0f - f) * rollOff_));
    }

private:
    miScalar rollOff_;
};

/// Anisotropic: Fresnel's equations, less what rough facets scatter out of the mirror direction.
template <class P>
class AnisotropicReflectionComponent : public MirrorComponent<P, AnisotropicReflectionComponent<P>> {
public:
    AnisotropicReflectionComponent(miState* state, P* record)
        : MirrorComponent<P, AnisotropicReflectionComponent<P>>(state, record),
          index_(parameterValue(state, record, &P::fresnelIndex)) {
        if (!parameterValue(state, record, &P::anisotropicReflectivity)) return;
        const miScalar smooth = 1.0f - std::clamp(parameterValue(state, record, &P::roughness), 0.0f, 1.0f);
        this->reflectivity_ = smooth * smooth;
        followsIndex_ = true;
    }
    [[nodiscard]] miColor materialColor(miScalar facing) const {
        const miScalar fresnel = followsIndex_ ? compute_anisotropic_reflectivity(facing, index_) : 1.0f;
        return this->color_ * (this->reflectivity_ * fresnel);
    }

private:
    miScalar index_;
    bool followsIndex_ = false;
};
