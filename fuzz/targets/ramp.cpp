// SPDX-License-Identifier: Apache-2.0
#include "fuzz_input.h"
#include "orcaRamp.h"
#include "scripted_renderer.h"

using namespace orca;

/// A ramp's array parameter: kind, count, position of a look-up, then the entries.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    struct Array {
        int start, count;
        RampColorEntry elements[RAMP_MAX_ENTRIES];
    };
    fuzz::FuzzInput input(data, size);
    const bool isColor = input.take<std::uint8_t>() % 2 == 0;
    ScriptedRenderer renderer;
    ScriptedShader<Array> shader;
    renderer.state.shader = &shader.function;
    Array& array = shader.parameters;
    array.count = input.take<std::int8_t>();
    const float position = input.take<float>();
    for (RampColorEntry& entry : array.elements) entry = input.take<RampColorEntry>();

    Ramp ramp{};
    ramp_constructor(&ramp, &renderer.state, &array, isColor);
    fuzz::require(ramp.count >= 0 && ramp.count <= RAMP_MAX_ENTRIES);
    for (const float u : {position, 0.5f, -1e30f, 1e30f}) {
        miColor color{};
        ramp_get_interp_color(u, &ramp, &color);
        static_cast<void>(ramp_get_interp_float(u, &ramp));
    }
    ramp_destructor(&ramp);
    return 0;
}
