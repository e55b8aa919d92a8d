// SPDX-License-Identifier: Apache-2.0
#include "orcaLayerWrites.h"

#include "orcaColor.h"

#include <algorithm>

namespace {

miScalar quotient(miScalar value, miScalar opacity) {
    return opacity > 0.0f ? value / opacity : 0.0f;
}

} // namespace

LayerWrites::LayerWrites(const miState* state, const PassRecords& passes, bool pictureIsWritten)
    : passes_(passes),
      level_(traceLevel(state)),
      pictureIsWritten_(pictureIsWritten),
      records_(passes, "orcaLayerWrites", __LINE__) {
    if (!passes_ || !records_) return;
    for (unsigned i = 0; i < passes_.count; ++i)
        records_[i] = {passes_.records[i].levelSlots[level_].levelResult, BLACK, BLACK};
}

template <class Function>
void LayerWrites::forMixed(const Function& function) {
    if (!passes_ || !records_) return;
    for (const PassType& type : PASS_TYPES) {
        if (type.mixing == PassMixing::Untouched) continue;
        const PassTypeRun& run = (*passes_.types)[type.id];
        for (int i = run.first; i < run.first + run.count; ++i)
            function(type, passes_.records[i], passes_.records[i].levelSlots[level_],
                     records_[static_cast<unsigned>(i)]);
    }
}

void LayerWrites::putAside(const miColor& opacity) {
    forMixed([](const PassType&, const FrameBufferInfo&, TraceLevelSlot& slot, Record& record) {
        record.aside = slot.levelResult - record.before;
        slot.levelResult = record.before;
    });
    hasAside_ = true;
    opacityAside_ = opacity;
}

void LayerWrites::drop() {
    hasAside_ = false;
    forMixed([](const PassType&, const FrameBufferInfo&, TraceLevelSlot& slot, const Record& record) {
        slot.levelResult = record.before;
    });
}

void LayerWrites::keep(const miColor& weight, const miColor& opacity) {
    bool wrote = false;
    if (hasAside_)
        forMixed([&](const PassType&, const FrameBufferInfo&, const TraceLevelSlot& slot,
                     const Record& record) { wrote = wrote || !isBlack(slot.levelResult - record.before); });
    const bool fromAside = hasAside_ && !wrote;
    hasAside_ = false;
    forMixed([&](const PassType& type, const FrameBufferInfo& info, TraceLevelSlot& slot, Record& record) {
        const miColor written = fromAside ? record.aside : slot.levelResult - record.before;
        slot.levelResult = record.before;
        if (type.mixing == PassMixing::FirstWritten) {
            if (isBlack(record.sum)) record.sum = written;
            return;
        }
        const miColor& writersOpacity = fromAside ? opacityAside_ : opacity;
        const miColor share = info.flags & FB_WEIGHT_BY_OPACITY ? weight * writersOpacity : weight;
        // Alpha marks written values; it does not add up.
        record.sum = withAlpha(record.sum + share * written, std::max(record.sum.a, written.a));
    });
}

void LayerWrites::finish(const miColor& opacity) {
    forMixed([&](const PassType& type, const FrameBufferInfo& info, TraceLevelSlot& slot, Record& record) {
        const bool open = !(slot.levelMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED);
        if (type.role == PassRole::Picture && open && pictureIsWritten_) return;
        miColor mixed = record.sum;
        if (type.mixing == PassMixing::Weighted && (info.flags & FB_WEIGHT_BY_OPACITY))
            mixed = {quotient(mixed.r, opacity.r), quotient(mixed.g, opacity.g), quotient(mixed.b, opacity.b),
                     mixed.a};
        slot.levelResult = record.before + mixed;
    });
}
