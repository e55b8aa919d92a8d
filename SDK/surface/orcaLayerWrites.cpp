// SPDX-License-Identifier: Apache-2.0
#include "orcaLayerWrites.h"

#include "orcaColor.h"

#include <algorithm>

namespace {

miScalar quotient(miScalar value, miScalar opacity) {
    return opacity > 0.0f ? value / opacity : 0.0f;
}

} // namespace

LayerWrites::LayerWrites(const miState* state, const VelabaseState& vela, const PassRecords& passes,
                         bool pictureIsWritten)
    : passes_(passes),
      traced_(vela.engineHit == state ? vela.tracedValues : nullptr),
      level_(traceLevel(state)),
      pictureIsWritten_(pictureIsWritten),
      records_(passes, "orcaLayerWrites", __LINE__) {
    if (!passes_ || !records_) return;
    for (unsigned i = 0; i < passes_.count; ++i) records_[i] = {held(i), {BLACK, BLACK}, {BLACK, BLACK}};
}

LayerWrites::Values LayerWrites::held(unsigned record) const {
    return {passes_.records[record].levelSlots[level_].levelResult, traced_ ? traced_[record] : BLACK};
}

void LayerWrites::hold(unsigned record, const Values& values) {
    passes_.records[record].levelSlots[level_].levelResult = values.written;
    if (traced_) traced_[record] = values.traced;
}

LayerWrites::Values LayerWrites::taken(unsigned record) {
    const Values now = held(record), before = records_[record].before;
    hold(record, before);
    return {now.written - before.written, now.traced - before.traced};
}

template <class Function>
void LayerWrites::forMixed(const Function& function) {
    if (!passes_ || !records_) return;
    for (const PassType& type : PASS_TYPES) {
        if (type.mixing == PassMixing::Untouched) continue;
        const PassTypeRun& run = (*passes_.types)[type.id];
        for (int i = run.first; i < run.first + run.count; ++i) function(type, static_cast<unsigned>(i));
    }
}

void LayerWrites::putAside(const miColor& opacity) {
    forMixed([&](const PassType&, unsigned i) { records_[i].aside = taken(i); });
    hasAside_ = true;
    opacityAside_ = opacity;
}

void LayerWrites::drop() {
    hasAside_ = false;
    forMixed([&](const PassType&, unsigned i) { hold(i, records_[i].before); });
}

void LayerWrites::keep(const miColor& weight, const miColor& opacity) {
    bool wrote = false;
    if (hasAside_)
        forMixed([&](const PassType&, unsigned i) {
            const Values now = held(i), before = records_[i].before;
            wrote = wrote || !isBlack(now.written - before.written) || !isBlack(now.traced - before.traced);
        });
    const bool fromAside = hasAside_ && !wrote;
    hasAside_ = false;
    const miColor writersOpacity = fromAside ? opacityAside_ : opacity;
    forMixed([&](const PassType& type, unsigned i) {
        const Values now = taken(i);
        const Values& values = fromAside ? records_[i].aside : now;
        Values& sum = records_[i].sum;
        if (type.mixing == PassMixing::FirstWritten) {
            if (isBlack(sum.written) && isBlack(sum.traced)) sum = values;
            return;
        }
        const bool isWeighted = (passes_.records[i].flags & FB_WEIGHT_BY_OPACITY) != 0;
        const miColor share = isWeighted ? weight * writersOpacity : weight;
        // Alpha marks written values; it does not add up.
        sum.written =
            withAlpha(sum.written + share * values.written, std::max(sum.written.a, values.written.a));
        sum.traced = withAlpha(sum.traced + weight * values.traced, std::max(sum.traced.a, values.traced.a));
    });
}

void LayerWrites::finish(const miColor& opacity) {
    forMixed([&](const PassType& type, unsigned i) {
        const FrameBufferInfo& info = passes_.records[i];
        const bool open = !(info.levelSlots[level_].levelMode & TraceLevelSlot::LEVEL_WRITES_SUPPRESSED);
        if (type.role == PassRole::Picture && open && pictureIsWritten_) return;
        const Values& before = records_[i].before;
        Values mixed = records_[i].sum;
        if (type.mixing == PassMixing::Weighted && (info.flags & FB_WEIGHT_BY_OPACITY))
            mixed.written = {quotient(mixed.written.r, opacity.r), quotient(mixed.written.g, opacity.g),
                             quotient(mixed.written.b, opacity.b), mixed.written.a};
        hold(i, {before.written + mixed.written, before.traced + mixed.traced});
    });
}
