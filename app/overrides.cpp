// SPDX-License-Identifier: Apache-2.0
#include "overrides.h"

#include <algorithm>
#include <string_view>
#include <tuple>

namespace orca::app {

namespace {

struct FilterWord {
    std::string_view word;
    char code;
    float width; ///< pixels, when none is given
};
constexpr FilterWord filterWords[] = {{"box", miFILTER_BOX, 1.0f},
                                      {"triangle", miFILTER_TRIANGLE, 2.0f},
                                      {"gauss", miFILTER_GAUSS, 3.0f},
                                      {"mitchell", miFILTER_MITCHELL, 4.0f},
                                      {"lanczos", miFILTER_LANCZOS, 4.0f}};

struct ShadowWord {
    std::string_view word;
    char code;
};
constexpr ShadowWord shadowWords[] = {{"off", miSHADOW_OFF},
                                      {"on", miSHADOW_SIMPLE},
                                      {"sort", miSHADOW_SORTED},
                                      {"segments", miSHADOW_SEGMENTS}};

void setFilter(const Overrides& overrides, miOptions& options) {
    for (const FilterWord& filter : filterWords) {
        if (filter.word != *overrides.filter) continue;
        const std::vector<float>& size = overrides.filterSize;
        options.filter = filter.code;
        options.filter_size_x = size.empty() ? filter.width : size.front();
        options.filter_size_y = size.empty() ? filter.width : size.back();
    }
}

/// Limits that are not given keep their value, but the sum never cuts a single limit off.
void setTraceDepth(const std::vector<int>& depth, miOptions& options) {
    options.reflection_depth = depth[0];
    if (depth.size() > 1) options.refraction_depth = depth[1];
    if (depth.size() > 2) options.trace_depth = depth[2];
    else
        options.trace_depth =
            std::max({options.trace_depth, options.reflection_depth, options.refraction_depth});
}

} // namespace

void applyOverrides(const Overrides& overrides, scene::OptionsElement& element) {
    miOptions& options = element.options;
    if (overrides.samples) std::tie(options.min_samples, options.max_samples) = *overrides.samples;
    if (overrides.tileSize) options.task_size = *overrides.tileSize;
    if (overrides.contrast) {
        const auto& [r, g, b, a] = *overrides.contrast;
        options.contrast = {r, g, b, a};
    }
    if (overrides.filter) setFilter(overrides, options);
    if (overrides.trace) options.trace = *overrides.trace;
    if (overrides.motion) options.motion = *overrides.motion;
    if (!overrides.traceDepth.empty()) setTraceDepth(overrides.traceDepth, options);
    if (overrides.shadow) {
        for (const ShadowWord& shadow : shadowWords)
            if (shadow.word == *overrides.shadow) options.shadow = shadow.code;
    }
    if (!overrides.shutter.empty()) {
        options.shutter = overrides.shutter.back();
        options.shutter_delay = overrides.shutter.size() > 1 ? overrides.shutter.front() : 0.0f;
    }
    if (overrides.gamma) options.gamma = *overrides.gamma;
}

} // namespace orca::app
