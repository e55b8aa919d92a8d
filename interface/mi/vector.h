// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Vector arithmetic for shader writers. Pointers, so that C sources can use it; result and argument may be
/// the same.

#include "types.h"

#include <math.h>

static inline void mi_vector_neg(miVector* r) {
    r->x = -r->x;
    r->y = -r->y;
    r->z = -r->z;
}

static inline void mi_vector_add(miVector* r, const miVector* a, const miVector* b) {
    r->x = a->x + b->x;
    r->y = a->y + b->y;
    r->z = a->z + b->z;
}

static inline void mi_vector_sub(miVector* r, const miVector* a, const miVector* b) {
    r->x = a->x - b->x;
    r->y = a->y - b->y;
    r->z = a->z - b->z;
}

static inline void mi_vector_mul(miVector* r, miScalar f) {
    r->x *= f;
    r->y *= f;
    r->z *= f;
}

/// Divides; a zero divisor leaves the vector.
static inline void mi_vector_div(miVector* r, miScalar f) {
    if (f != 0.0f) mi_vector_mul(r, 1.0f / f);
}

static inline miScalar mi_vector_dot(const miVector* a, const miVector* b) {
    return a->x * b->x + a->y * b->y + a->z * b->z;
}

static inline void mi_vector_prod(miVector* r, const miVector* a, const miVector* b) {
    const miScalar x = a->y * b->z - a->z * b->y;
    const miScalar y = a->z * b->x - a->x * b->z;
    const miScalar z = a->x * b->y - a->y * b->x;
    r->x = x;
    r->y = y;
    r->z = z;
}

static inline miScalar mi_vector_norm(const miVector* a) {
    return sqrtf(mi_vector_dot(a, a));
}

/// Scales to unit length; a null vector stays null.
static inline void mi_vector_normalize(miVector* r) {
    mi_vector_div(r, mi_vector_norm(r));
}

static inline miScalar mi_vector_dist(const miVector* a, const miVector* b) {
    miVector d;
    mi_vector_sub(&d, a, b);
    return mi_vector_norm(&d);
}

/// Determinant of the three vectors as rows.
static inline miScalar mi_vector_det(const miVector* a, const miVector* b, const miVector* c) {
    miVector p;
    mi_vector_prod(&p, b, c);
    return mi_vector_dot(a, &p);
}

static inline void mi_vector_min(miVector* r, const miVector* a, const miVector* b) {
    r->x = a->x < b->x ? a->x : b->x;
    r->y = a->y < b->y ? a->y : b->y;
    r->z = a->z < b->z ? a->z : b->z;
}

static inline void mi_vector_max(miVector* r, const miVector* a, const miVector* b) {
    r->x = a->x > b->x ? a->x : b->x;
    r->y = a->y > b->y ? a->y : b->y;
    r->z = a->z > b->z ? a->z : b->z;
}
