// SPDX-License-Identifier: Apache-2.0
// A volume shader that shares the base state: what lights give to the fog at one place of a ray is added to
// what is behind.
#include "orcaConstants.h"
#include "orcaGuards.h"
#include "orcaVelaState.h"

#include <shader.h>

extern "C" {

struct LightFogParameters {
    int i_lights;
    int n_lights;
    miTag lights[1];
    miScalar depth; // where along the ray; 0: at its end
};

DLLEXPORT int testLightFog_version(void) {
    return 1;
}
DLLEXPORT miBoolean testLightFog(miColor* result, miState* state, LightFogParameters* parameters) {
    if (state->type == miRAY_LIGHT || state->type == miRAY_SHADOW) return miTRUE; // those of its own lights
    VelabaseState* const vela = velabaseState(state);
    if (!vela) return miFALSE;
    const Restored<miUint> flags(vela->flags);
    const Restored<miVector> point(state->point);
    vela->flags |= VELA_BIT_ENVLIGHTFOG;
    if (parameters->depth > 0.0f) {
        state->point = state->dir;
        mi_vector_mul(&state->point, parameters->depth);
        mi_vector_add(&state->point, &state->point, &state->org);
    }
    for (int i = 0; i < parameters->n_lights; ++i) {
        miColor light;
        miVector direction;
        miScalar nDotL;
        int samples = 0;
        while (mi_sample_light(&light, &direction, &nDotL, state,
                               parameters->lights[parameters->i_lights + i], &samples))
            mi_color_add(result, result, &light);
    }
    return miTRUE;
}

} // extern "C"
