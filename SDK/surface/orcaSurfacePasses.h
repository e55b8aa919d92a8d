// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaMaterial.h"
#include "orcaSurfaceInputs.h"

/// Pass writes of one shading call of a material.
template <class MaterialType>
struct SurfacePassWriter {
    SurfacePassWriter(const MaterialType& writer, const ShadingCall& shadingCall, bool writesComponentPasses)
        : material(writer),
          call(shadingCall),
          components(writesComponentPasses),
          target(writer.passTarget(call.state, call.passes.records, call.passes.types)) {}

    const MaterialType& material;
    const ShadingCall& call;
    bool components; ///< the material's writePasses
    PassTarget target;

    /// Some pass may be written at all.
    [[nodiscard]] bool writes() const noexcept { return call.passes && material.writesPasses(); }
    /// The component passes are written.
    [[nodiscard]] bool writesComponents() const noexcept { return components && writes(); }

    /// Some record takes this type; for values that are worth computing only then.
    [[nodiscard]] bool has(PassTypeID type) const noexcept { return (*target.types)[type].count != 0; }

    /// A component's value, alpha 1, independent of lights.
    void write(PassTypeID type, const miColor& value) const {
        material.writePass(target, type, withAlpha(value, 1.0f));
    }
    void write(PassTypeID type, miScalar value) const {
        if (components) material.writePass(target, type, value);
    }
    /// Outside of a light loop: light of which each record receives the part that is its own: after shadows,
    /// without them, or what they remove.
    void writeByShadow(PassTypeID type, const miColor& shadowed, const miColor& unshadowed) const {
        material.writeEach(target, type, [&](const FrameBufferInfo& record) {
            const bool removed = (record.flags & FB_SHADOW_ONLY) != 0;
            return withAlpha(removed                        ? unshadowed - shadowed
                             : (record.flags & FB_SHADOWED) ? shadowed
                                                            : unshadowed,
                             1.0f);
        });
    }
    /// In a light loop: a value that is multiplied by each record's light colour.
    template <class Value>
    void writeLit(PassTypeID type, const Value& value) const {
        material.writeLitPass(target, type, value);
    }
};
