// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/light_element.h"

namespace orca::scene {

LightElement::LightElement() : Element(miSCENE_LIGHT) {
    light.exponent = 2.0f;
    light.samples_u = light.samples_v = 1;
    light.low_samples_u = light.low_samples_v = 2;
    light.low_level = 0;
    light.direction = {0.0f, 0.0f, -1.0f};
}

} // namespace orca::scene
