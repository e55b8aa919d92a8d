// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Colour arithmetic for shader writers, all four channels alike.

#include "types.h"

static inline void mi_color_init(miColor* c, miScalar r, miScalar g, miScalar b, miScalar a) {
    c->r = r;
    c->g = g;
    c->b = b;
    c->a = a;
}

static inline void mi_color_add(miColor* r, const miColor* a, const miColor* b) {
    mi_color_init(r, a->r + b->r, a->g + b->g, a->b + b->b, a->a + b->a);
}

static inline void mi_color_sub(miColor* r, const miColor* a, const miColor* b) {
    mi_color_init(r, a->r - b->r, a->g - b->g, a->b - b->b, a->a - b->a);
}

static inline void mi_color_mul(miColor* r, const miColor* a, const miColor* b) {
    mi_color_init(r, a->r * b->r, a->g * b->g, a->b * b->b, a->a * b->a);
}

static inline void mi_color_scale(miColor* r, const miColor* a, miScalar f) {
    mi_color_init(r, a->r * f, a->g * f, a->b * f, a->a * f);
}
