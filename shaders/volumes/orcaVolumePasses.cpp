// SPDX-License-Identifier: Apache-2.0
#include "orcaVolumePasses.h"

#include "orcaColor.h"
#include "orcaGathering.h"

namespace {

PassRecords recordsOfRay(miState* state) {
    const int level = traceLevel(state);
    if (state->type == miRAY_ENVIRONMENT || level < 0 || level > state->options->trace_depth ||
        isGathering(state))
        return {};
    return PassRecords(state);
}

} // namespace

miColor VolumeLayers::sum() const {
    return of[0] + of[1] + of[2];
}

VolumePasses::VolumePasses(miState* state)
    : state_(state),
      passes_(recordsOfRay(state)),
      sums_(passes_, "orcaVolumePasses", __LINE__),
      ofPoint_(passes_, "orcaVolumePasses", __LINE__) {
    if (!sums_ || !ofPoint_) passes_ = {};
    for (unsigned i = 0; i < passes_.count; ++i) sums_[i] = ofPoint_[i] = BLACK;
}

void VolumePasses::add(const VolumeLayers& light) {
    each([&](const FrameBufferInfo&, miColor& sum, int layer) {
        sum += layer == picture ? light.sum() : light.of[layer];
    });
    endPoint(1.0f);
}

void VolumePasses::endPoint(miScalar weight) {
    each([&](const FrameBufferInfo& record, miColor& light, int) {
        sums_[static_cast<unsigned>(&record - passes_.records)] += light * weight;
        light = BLACK;
    });
}

void VolumePasses::finish(const miColor& transmittance, VelabaseState& vela) {
    if (!passes_) return;
    const int level = traceLevel(state_);
    for (unsigned i = 0; i < passes_.count; ++i) {
        miColor& brought = passes_.records[i].levelSlots[level].childResult;
        brought = brought * transmittance + sums_[i];
    }
    if (level != 0) return;
    vela.background.environment *= transmittance;
    vela.background.lamps *= transmittance;
}
