// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the test shader library shares with the tests that load it.

#include <shader.h>

namespace orca::test {

/// Set through the library's exported `testEvent`: hears of every init, call and exit.
using EventListener = void (*)(const char* event, miState* state, void* parameters);

struct AddParameters {
    miScalar a, b;
};
struct Palette {
    miColor color;
    miScalar weight;
    miVector axis;
};
struct LightArrayElement {
    miScalar scale;
    miVector offset;
};
/// Sum of scale * offset.x over the elements.
struct WeightedParameters {
    int i_elements, n_elements;
    LightArrayElement elements[1];
};

} // namespace orca::test
