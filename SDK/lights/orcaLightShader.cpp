// SPDX-License-Identifier: Apache-2.0
#include "orcaLightShader.h"

void clearLightColors(VelabaseState& vela) {
    vela.lightFogColor = BLACK;
    vela.lightFogTransmission = WHITE;
    vela.lightGlowColor = BLACK;
}

void applyShadow(miColor& color, LightData& data, bool light, const miColor& transmission,
                 const miColor& shadowColor) {
    if (!light) {
        color = shadowColor;
        data.shadowFraction = 1.0f;
        return;
    }
    color = blended(shadowColor, color, transmission);
    data.shadowFraction = 1.0f - (transmission.r + transmission.g + transmission.b) / 3.0f;
}
