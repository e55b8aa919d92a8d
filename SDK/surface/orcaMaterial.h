// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Materials: shader objects that write pass values.

#include "orcaColor.h"
#include "orcaColorLanes.h"
#include "orcaFrameBufferRecords.h"
#include "orcaLightLoop.h"
#include "orcaParameters.h"
#include "orcaShader.h"
#include "orcaWriteMode.h"

#include <type_traits>

namespace pass_value {

// A pass value as it is computed with, for a colour and for a scalar.

[[nodiscard]] inline ColorLanes of(const miColor& value) noexcept {
    return lanesOf(value);
}
[[nodiscard]] inline miScalar of(miScalar value) noexcept {
    return value;
}

/// A value weighted by the light of a record, or, with a reference colour, by the difference of the two.
[[nodiscard]] inline ColorLanes weighted(ColorLanes value, const miColor& lightColor,
                                         const miColor* reference) {
    return value * (reference ? loaded(*reference) - loaded(lightColor) : loaded(lightColor));
}
[[nodiscard]] inline miScalar weighted(miScalar value, const miColor& lightColor, const miColor* reference) {
    return value * luminance(reference ? *reference - lightColor : lightColor);
}

// A value is combined with the channels that hold values of its type: all of them, or red for scalars.

inline void add(miColor& held, ColorLanes value) noexcept {
    store(held, loaded(held) + value);
}
inline void add(miColor& held, miScalar value) noexcept {
    held.r += value;
}
inline void combine(miColor& held, ColorLanes value, int mode) noexcept {
    if (mode == WRITE_MULTIPLY) store(held, loaded(held) * value);
    else if (mode == WRITE_REPLACE) store(held, value);
    else add(held, value);
}
inline void combine(miColor& held, miScalar value, int mode) noexcept {
    ::combine(held.r, value, mode);
}

} // namespace pass_value

/// True when a record takes no writes at the state's level.
[[nodiscard]] inline bool closedToWrites(const miState* state, const TraceLevelSlot& slot) noexcept {
    return (slot.levelMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED) || state->type == miRAY_ENVIRONMENT;
}

/// Where a material writes in one shading call.
struct PassTarget {
    FrameBufferInfo* records;
    const PassTypeInfo* types; ///< without a record of any type: nothing is written
    int level;                 ///< the state's trace level
    bool closed;               ///< only a light loop's accumulators take writes
};

/// Types of a call without passes.
inline constexpr PassTypeInfo noPassTypes{};

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
        const PassTarget target = passTarget(state, records, types);
        if (!useLightColor) writePass(target, type, value);
        else
            write(target, type, pass_value::of(value), [&](auto v, const miColor& lightColor) {
                return pass_value::weighted(v, lightColor, *lightReference);
            });
    }

    /// The same for the records of a call, without a reference colour.
    template <class Value>
    void writePass(miState* state, const PassRecords& passes, PassTypeID type, const Value& value) const {
        writePass(passTarget(state, passes.records, passes.types), type, value);
    }
    template <class Value>
    void writePass(const PassTarget& target, PassTypeID type, const Value& value) const {
        write(target, type, pass_value::of(value), [](auto v, const miColor&) { return v; });
    }
    /// Of a value that is multiplied by each record's light colour.
    template <class Value>
    void writeLitPass(const PassTarget& target, PassTypeID type, const Value& value) const {
        write(target, type, pass_value::of(value),
              [](auto v, const miColor& lightColor) { return pass_value::weighted(v, lightColor, nullptr); });
    }

    /// Outside of a light loop: a value for each record.
    /// @param valueOf miColor (const FrameBufferInfo&)
    template <class ValueOf>
    void writeEach(const PassTarget& target, PassTypeID type, const ValueOf& valueOf) const {
        const PassTypeRun& run = (*target.types)[type];
        const int count = target.closed ? 0 : run.count;
        for (int i = run.first; i < run.first + count; ++i) {
            FrameBufferInfo& record = target.records[i];
            TraceLevelSlot& slot = record.levelSlots[target.level];
            const bool isSuppressed = slot.levelMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED;
            if (isSuppressed) continue;
            ColorLanes value = pass_value::of(valueOf(record));
            if (passWriteFlags & WRITE_SCALED) value = value * passWriteScale;
            pass_value::combine(slot.levelResult, value, passWriteMode);
        }
    }

    /// Where the material writes in a call; nowhere without pass records.
    [[nodiscard]] PassTarget passTarget(const miState* state, FrameBufferInfo* records,
                                        const PassTypeInfo* types) const noexcept {
        if (!records || !types || !writesPasses()) return {nullptr, &noPassTypes, 0, true};
        return {records, types, traceLevel(state), state->type == miRAY_ENVIRONMENT};
    }

protected:
    miInteger passWriteMode; ///< see PassWriteMode; 0 writes nothing
    miUint passWriteFlags;   ///< set of PassWriteFlags
    miScalar passWriteScale;

private:
    /// @param weighted Value (Value, const miColor& lightColor): what a record receives
    template <class Value, class Weighted>
    void write(const PassTarget& target, PassTypeID type, Value value, const Weighted& weighted) const {
        const PassTypeRun& run = (*target.types)[type];
        if (run.count != 0) writeRecords(target, run, value, weighted);
    }

    /// Not inlined: a material writes some thirty passes, most of which most pictures do not have.
    /// @param run of one record or more
    template <class Value, class Weighted>
    [[gnu::noinline]] void writeRecords(const PassTarget& target, const PassTypeRun& run, Value value,
                                        const Weighted& weighted) const {
        FrameBufferInfo* record = target.records + run.first;
        FrameBufferInfo* const end = record + run.count;

        if (target.records[0].flags & FB_IN_LIGHT_LOOP) {
            do pass_value::add(record->lightAccum, weighted(value, record->lightColor));
            while (++record != end);
            return;
        }
        if (target.closed) return;
        if (passWriteFlags & WRITE_SCALED) value = value * passWriteScale;
        do {
            TraceLevelSlot& slot = record->levelSlots[target.level];
            if (slot.levelMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED) continue;
            pass_value::combine(slot.levelResult, weighted(value, record->lightColor), passWriteMode);
        } while (++record != end);
    }
};
