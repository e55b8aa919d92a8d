// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Materials: shader objects that write pass values.

#include "orcaColor.h"
#include "orcaFrameBufferRecords.h"
#include "orcaLightLoop.h"
#include "orcaParameters.h"
#include "orcaShader.h"
#include "orcaWriteMode.h"

#include <type_traits>

namespace pass_value {

/// A value weighted by the light of a record, or, with a reference colour, by the difference of the two.
[[nodiscard]] inline miColor weighted(const miColor& value, const miColor& lightColor,
                                      const miColor* reference) {
    return reference ? value * (*reference - lightColor) : value * lightColor;
}
[[nodiscard]] inline miScalar weighted(miScalar value, const miColor& lightColor, const miColor* reference) {
    return value * luminance(reference ? *reference - lightColor : lightColor);
}

/// The channels that hold a value of this type: all of them, or red for scalars.
[[nodiscard]] inline miColor& channels(miColor& held, const miColor&) noexcept {
    return held;
}
[[nodiscard]] inline miScalar& channels(miColor& held, miScalar) noexcept {
    return held.r;
}

} // namespace pass_value

/// True when a record takes no writes at the state's level.
[[nodiscard]] inline bool closedToWrites(const miState* state, const TraceLevelSlot& slot) noexcept {
    return (slot.levelMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED) || state->type == miRAY_ENVIRONMENT;
}

/// A shader object whose parameter record begins with the pass-write settings. They are read once, at
/// construction.
template <class P, class Helper, int = 1>
class Material : public Shader<P, Helper, 1> {
public:
    Material(miState* state, P* record)
        : passWriteMode(parameterValue(state, record, &P::passWriteMode)),
          passWriteFlags(static_cast<miUint>(parameterValue(state, record, &P::passWriteFlags))),
          passWriteScale(parameterValue(state, record, &P::passWriteScale)) {}

    /// False: the material writes nothing to any pass.
    [[nodiscard]] bool writesPasses() const noexcept { return passWriteMode != WRITE_NONE; }

    /// Ends a light loop: combines its accumulated values into the passes.
    void close(LightLoop& loop) const { loop.end(passWriteMode, passWriteFlags, passWriteScale); }

    /// Adds a value to every frame buffer of a pass type: in a light loop to the loop's accumulators, which
    /// are combined when it ends, else to the slots of the state's level. Does nothing without pass records.
    /// @param useLightColor  multiply the value by each record's light colour
    /// @param lightReference points at null, or at a colour of which the light colour is then subtracted
    template <class Value>
    void writeToFrameBuffers(miState* state, FrameBufferInfo* records, const PassTypeInfo* types,
                             const Value& value, PassTypeID type, const bool& useLightColor,
                             const miColor* const* lightReference) const {
        static_assert(std::is_same_v<Value, miColor> || std::is_same_v<Value, miScalar>);
        if (!records || !types || (*types)[type].count == 0 || passWriteMode == WRITE_NONE) return;
        FrameBufferInfo* const begin = records + (*types)[type].first;
        FrameBufferInfo* const end = begin + (*types)[type].count;

        if (records[0].flags & FB_IN_LIGHT_LOOP) {
            for (FrameBufferInfo* record = begin; record != end; ++record) {
                Value v = value;
                if (useLightColor) v = pass_value::weighted(v, record->lightColor, *lightReference);
                pass_value::channels(record->lightAccum, v) += v;
            }
            return;
        }
        const int level = traceLevel(state);
        for (FrameBufferInfo* record = begin; record != end; ++record) {
            TraceLevelSlot& slot = record->levelSlots[level];
            if (closedToWrites(state, slot)) continue;
            Value v = passWriteFlags & WRITE_SCALED ? value * passWriteScale : value;
            if (useLightColor) v = pass_value::weighted(v, record->lightColor, *lightReference);
            combine(pass_value::channels(slot.levelResult, v), v, passWriteMode);
        }
    }

    /// The same for the records of a call, without a reference colour.
    template <class Value>
    void writePass(miState* state, const PassRecords& passes, PassTypeID type, const Value& value,
                   bool useLightColor = false) const {
        const miColor* const noReference = nullptr;
        writeToFrameBuffers(state, passes.records, passes.types, value, type, useLightColor, &noReference);
    }

protected:
    miInteger passWriteMode; ///< see PassWriteMode; 0 writes nothing
    miUint passWriteFlags;   ///< set of PassWriteFlags
    miScalar passWriteScale;
};
