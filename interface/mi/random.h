// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.h"

miBEGIN_INTERFACE

/// Low-discrepancy points in [0, 1)^dimension, the same in every render. With `instance` and `n`: a loop over
/// *n points (*instance is 0 before it), false after the last. With `n` null: an endless loop. With both
/// null: a single point.
miBoolean mi_sample(double* sample, int* instance, miState* state, miUshort dimension, const miUint* n);

/// One shared sequence in [0, 1): the 48-bit linear congruential generator of drand48. Guard with a lock.
miScalar mi_random(void);
void mi_srandom(long seed);
/// In [0, 1), from the state's own sequence; safe from any thread.
miScalar mi_par_random(miState* state);
/// In [0, 1), from a sequence whose 48 bits the caller keeps, as erand48; safe from any thread.
miScalar mi_erandom(unsigned short seed[3]);

miEND_INTERFACE
