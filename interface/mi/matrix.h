// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Matrix arithmetic for shader writers: row-major, row vectors.

#include "types.h"

#include <math.h>
#include <string.h>

static inline void mi_matrix_null(miMatrix m) {
    memset(m, 0, sizeof(miMatrix));
}

static inline void mi_matrix_ident(miMatrix m) {
    mi_matrix_null(m);
    m[0] = m[5] = m[10] = m[15] = 1.0f;
}

static inline void mi_matrix_copy(miMatrix r, const miScalar* m) {
    memmove(r, m, sizeof(miMatrix));
}

/// A matrix whose last element is 0 is read as "none".
static inline miBoolean mi_matrix_isnull(const miScalar* m) {
    return m[15] == 0.0f;
}

static inline miBoolean mi_matrix_isident(const miScalar* m) {
    for (int i = 0; i < 16; ++i)
        if (m[i] != (i % 5 == 0 ? 1.0f : 0.0f)) return miFALSE;
    return miTRUE;
}

/// r = a * b: first a is applied, then b.
static inline void mi_matrix_prod(miMatrix r, const miScalar* a, const miScalar* b) {
    miMatrix p;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            double sum = 0.0;
            for (int k = 0; k < 4; ++k) sum += (double)a[4 * i + k] * b[4 * k + j];
            p[4 * i + j] = (miScalar)sum;
        }
    mi_matrix_copy(r, p);
}

/// Inverse by Gauss-Jordan elimination with partial pivoting, in double precision. False, and `r` the
/// identity, for a singular matrix.
static inline miBoolean mi_matrix_invert(miMatrix r, const miScalar* m) {
    double a[4][8];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            a[i][j] = m[4 * i + j];
            a[i][4 + j] = i == j ? 1.0 : 0.0;
        }
    for (int column = 0; column < 4; ++column) {
        int pivot = column;
        for (int i = column + 1; i < 4; ++i)
            if ((a[i][column] < 0 ? -a[i][column] : a[i][column]) >
                (a[pivot][column] < 0 ? -a[pivot][column] : a[pivot][column]))
                pivot = i;
        if (a[pivot][column] == 0.0) {
            mi_matrix_ident(r);
            return miFALSE;
        }
        for (int j = 0; j < 8; ++j) {
            const double swap = a[column][j];
            a[column][j] = a[pivot][j];
            a[pivot][j] = swap;
        }
        const double scale = 1.0 / a[column][column];
        for (int j = 0; j < 8; ++j) a[column][j] *= scale;
        for (int i = 0; i < 4; ++i) {
            if (i == column) continue;
            const double f = a[i][column];
            for (int j = 0; j < 8; ++j) a[i][j] -= f * a[column][j];
        }
    }
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) r[4 * i + j] = (miScalar)a[i][4 + j];
    return miTRUE;
}

/// Rotation by `angle` radians about an axis of any length, counter-clockwise seen from its tip; the identity
/// for a null axis (O. Rodrigues).
static inline void mi_matrix_rotate_axis(miMatrix r, const miVector* axis, miScalar angle) {
    const double length =
        sqrt((double)axis->x * axis->x + (double)axis->y * axis->y + (double)axis->z * axis->z);
    mi_matrix_ident(r);
    if (length == 0.0) return;
    const double x = axis->x / length, y = axis->y / length, z = axis->z / length;
    const double c = cos(angle), s = sin(angle), rest = 1.0 - c;
    r[0] = (miScalar)(c + rest * x * x);
    r[1] = (miScalar)(rest * x * y + s * z);
    r[2] = (miScalar)(rest * x * z - s * y);
    r[4] = (miScalar)(rest * x * y - s * z);
    r[5] = (miScalar)(c + rest * y * y);
    r[6] = (miScalar)(rest * y * z + s * x);
    r[8] = (miScalar)(rest * x * z + s * y);
    r[9] = (miScalar)(rest * y * z - s * x);
    r[10] = (miScalar)(c + rest * z * z);
}

/// Rotation about the x axis, then the y axis, then the z axis, each counter-clockwise by an angle in
/// radians.
static inline void mi_matrix_rotate(miMatrix r, miScalar x, miScalar y, miScalar z) {
    const miVector axes[3] = {{1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}};
    miMatrix next;
    mi_matrix_rotate_axis(r, &axes[0], x);
    mi_matrix_rotate_axis(next, &axes[1], y);
    mi_matrix_prod(r, r, next);
    mi_matrix_rotate_axis(next, &axes[2], z);
    mi_matrix_prod(r, r, next);
}

/// Point times matrix, divided by w unless w is 0 or 1.
static inline void mi_point_transform(miVector* r, const miVector* p, const miScalar* m) {
    const miScalar x = p->x * m[0] + p->y * m[4] + p->z * m[8] + m[12];
    const miScalar y = p->x * m[1] + p->y * m[5] + p->z * m[9] + m[13];
    const miScalar z = p->x * m[2] + p->y * m[6] + p->z * m[10] + m[14];
    const miScalar w = p->x * m[3] + p->y * m[7] + p->z * m[11] + m[15];
    const miScalar scale = (w != 0.0f && w != 1.0f) ? 1.0f / w : 1.0f;
    r->x = x * scale;
    r->y = y * scale;
    r->z = z * scale;
}

/// Vector times the upper left 3 x 3 part.
static inline void mi_vector_transform(miVector* r, const miVector* v, const miScalar* m) {
    const miScalar x = v->x * m[0] + v->y * m[4] + v->z * m[8];
    const miScalar y = v->x * m[1] + v->y * m[5] + v->z * m[9];
    const miScalar z = v->x * m[2] + v->y * m[6] + v->z * m[10];
    r->x = x;
    r->y = y;
    r->z = z;
}

/// Vector times the transposed upper left 3 x 3 part: takes a normal from A to B with the matrix from B to A.
static inline void mi_vector_transform_T(miVector* r, const miVector* v, const miScalar* m) {
    const miScalar x = v->x * m[0] + v->y * m[1] + v->z * m[2];
    const miScalar y = v->x * m[4] + v->y * m[5] + v->z * m[6];
    const miScalar z = v->x * m[8] + v->y * m[9] + v->z * m[10];
    r->x = x;
    r->y = y;
    r->z = z;
}
