// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "types.h"

miBEGIN_INTERFACE

/// Gradient noise, the same in every render: smooth, with features of about one unit, 0 at whole numbers (K.
/// Perlin, "Improving Noise", 2002). `mi_noise_*` is from -1 to 1, `mi_unoise_*` from 0 to 1. The `_grad`
/// forms also return the change per unit along each axis.
miScalar mi_noise_1d(miScalar x);
miScalar mi_noise_2d(miScalar x, miScalar y);
miScalar mi_noise_3d(const miVector* p);
miScalar mi_noise_1d_grad(miScalar x, miScalar* gx);
miScalar mi_noise_2d_grad(miScalar x, miScalar y, miScalar* gx, miScalar* gy);
miScalar mi_noise_3d_grad(const miVector* p, miVector* gradient);

miScalar mi_unoise_1d(miScalar x);
miScalar mi_unoise_2d(miScalar x, miScalar y);
miScalar mi_unoise_3d(const miVector* p);
miScalar mi_unoise_1d_grad(miScalar x, miScalar* gx);
miScalar mi_unoise_2d_grad(miScalar x, miScalar y, miScalar* gx, miScalar* gy);
miScalar mi_unoise_3d_grad(const miVector* p, miVector* gradient);

/// Curve through `n` values at equal distances, the first at `t` 0 and the last at 1: cubic, with a
/// continuous slope (E. Catmull, R. Rom, "A Class of Local Interpolating Splines", 1974). Beyond its ends it
/// stays; 0 without values.
miScalar mi_spline(miScalar t, int n, const miScalar* values);

miEND_INTERFACE
