// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The C library's mathematical functions under the names that shader sources use. In C they compute in
/// double precision; in C++ in that of their argument.

#include <math.h>

#define MI_ABS(x) fabs(x)
#define MI_ACOS(x) acos(x)
#define MI_ASIN(x) asin(x)
#define MI_ATAN(x) atan(x)
#define MI_ATAN2(y, x) atan2(y, x)
#define MI_CEIL(x) ceil(x)
#define MI_COS(x) cos(x)
#define MI_COSH(x) cosh(x)
#define MI_EXP(x) exp(x)
#define MI_FABS(x) fabs(x)
#define MI_FLOOR(x) floor(x)
#define MI_FMOD(x, y) fmod(x, y)
#define MI_HYPOT(x, y) hypot(x, y)
#define MI_LOG(x) log(x)
#define MI_LOG10(x) log10(x)
#define MI_POW(x, y) pow(x, y)
#define MI_SIN(x) sin(x)
#define MI_SINH(x) sinh(x)
#define MI_SQRT(x) sqrt(x)
#define MI_TAN(x) tan(x)
#define MI_TANH(x) tanh(x)

#define MI_PI 3.14159265358979323846
#define MI_2_PI 6.28318530717958647692 ///< 2 pi
#define MI_PI_2 1.57079632679489661923 ///< pi / 2
#define MI_PI_4 0.78539816339744830962 ///< pi / 4
#define MI_SQRT2 1.41421356237309504880
