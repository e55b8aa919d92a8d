// SPDX-License-Identifier: Apache-2.0
#include "base/random48.h"

#include "api/guarded.h"
#include "render/context/render_context.h"

#include <shader.h>

using orca::Random48;

namespace {

Random48 sharedSequence(0);

} // namespace

extern "C" {

DLLEXPORT miBoolean mi_sample(double* sample, int* instance, miState* state, const miUshort dimension,
                              const miUint* n) {
    return orca::api::guarded(__func__, miFALSE, [&] {
        return orca::render::renderContextOf(state).sampler.loop(sample, instance, dimension, n) ? miTRUE
                                                                                                 : miFALSE;
    });
}

DLLEXPORT miScalar mi_random(void) {
    return sharedSequence.next();
}

DLLEXPORT void mi_srandom(long seed) {
    sharedSequence = Random48(seed);
}

DLLEXPORT miScalar mi_par_random(miState* state) {
    return orca::render::renderContextOf(state).sampler.nextRandom();
}

DLLEXPORT miScalar mi_erandom(unsigned short seed[3]) {
    return Random48::next(seed);
}

} // extern "C"
