// SPDX-License-Identifier: Apache-2.0
// The C++ helpers: lights, pinned elements, named options, and a counter for each thread.
#include "geoshader.h"

#include "checks.h"

#include <atomic>
#include <cstring>

namespace {

std::atomic<int> calls{0};

/// The same sum in the C half's way.
miColor summedByHand(miState* state, int count, const miTag* lights) {
    miColor sum{0, 0, 0, 0};
    for (int i = 0; i < count; ++i) {
        miInteger samples = 0;
        miColor color, light{0, 0, 0, 0};
        miVector direction;
        miScalar cosine;
        int taken = 0;
        for (; mi_sample_light(&color, &direction, &cosine, state, lights[i], &samples); ++taken)
            if (cosine > 0) light.g += cosine * color.g;
        if (taken > 0) sum.g += light.g / static_cast<float>(taken);
    }
    return sum;
}

miColor summed(mi::shader::LightIterator light) {
    miColor sum{0, 0, 0, 0}, mean;
    for (; !light.at_end(); ++light) {
        while (light->sample())
            if (light->get_dot_nl() > 0) light->accumulate({1, 1, 1, 1}, light->get_dot_nl());
        light->get_mean(&mean);
        sum.g += mean.g;
    }
    return sum;
}

float twice(miScalar x) {
    return 2 * x;
}
double twice(miGeoScalar x) {
    return 2 * x;
}

struct LampParameters {
    int i_lights, n_lights;
    miTag lights[1];
};

} // namespace

extern "C" {

DLLEXPORT int corpus_lamps_version(void) {
    return 1;
}

DLLEXPORT void corpus_lamps_init(miState*, void*, miBoolean* wantsInstances) {
    *wantsInstances = miTRUE;
}

DLLEXPORT void corpus_lamps_exit(miState* state, LampParameters* parameters) {
    if (!parameters) return;
    void** counters = nullptr;
    int threads = 0, sum = 0;
    CHECK(mi_query(miQ_FUNC_TLS_GETALL, state, miNULLTAG, &counters, &threads) && threads > 0);
    for (int i = 0; i < threads; ++i) {
        sum += *static_cast<int*>(counters[i]);
        mi_mem_release(counters[i]);
    }
    CHECK(sum == calls);
    calls = 0;
}

DLLEXPORT miBoolean corpus_lamps(miColor* result, miState* state, LampParameters* parameters) {
    using mi::shader::LightIterator;
    void* counter = nullptr;
    mi_query(miQ_FUNC_TLS_GET, state, miNULLTAG, &counter);
    if (!counter) {
        counter = mi_mem_allocate(sizeof(int));
        mi_query(miQ_FUNC_TLS_SET, state, miNULLTAG, &counter);
    }
    ++*static_cast<int*>(counter);
    ++calls;

    int count = 0;
    miTag* lights = nullptr;
    mi_instance_lightlist(&count, &lights, state);
    const miColor all = summed(LightIterator(state));
    CHECK(count == 2 && all.g > 0 && NEAR(all.g, summedByHand(state, count, lights).g, 0.05));
    miTag* const listed = parameters->lights + parameters->i_lights;
    const miColor one = summed(LightIterator(state, listed, parameters->n_lights));
    CHECK(NEAR(one.g, summedByHand(state, parameters->n_lights, listed).g, 0.05) && one.g < all.g);
    const LightIterator other(state, listed, parameters->n_lights, LightIterator::Exclusive);
    CHECK(NEAR(one.g + summed(other).g, all.g, 0.05) && other != LightIterator());

    const mi::shader::Access<const miInstance> instance(state->instance);
    CHECK(instance && instance.type() == miSCENE_INSTANCE && !instance->off);
    CHECK(!mi::shader::Access<const miInstance>(miNULLTAG));
    const mi::shader_v3::Access_options options(state->options->string_options);
    bool flag = false;
    int whole = 0;
    float number = 0;
    const char* text = nullptr;
    miColor color{};
    CHECK(options && options->get("corpus flag", flag) && flag);
    CHECK(options->get("corpus whole", whole) && options->get("corpus whole", number) && number == 7 &&
          whole == 7);
    CHECK(options->get("corpus text", text) && std::strcmp(text, "seven") == 0 &&
          !options->get("corpus text", whole));
    CHECK(options->get("corpus color", color) && color.b == 0.75f && color.a == 1);
    CHECK(!options->get("corpus nothing", flag) && !mi::shader_v3::Access_options(state->instance));
    CHECK(twice(state->dot_nd) < 0 && sizeof twice(state->dist) == sizeof(double));
    *result = {result->r, result->g, result->b, 1};
    return miTRUE;
}

DLLEXPORT int corpus_lamp_version(void) {
    return 1;
}

DLLEXPORT miBoolean corpus_lamp(miColor* result, miState* state, miColor* color) {
    *result = *mi_eval_color(color);
    return mi_trace_shadow(result, state);
}

} // extern "C"
