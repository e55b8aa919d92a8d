// SPDX-License-Identifier: Apache-2.0
/// The coordinate transforms, by the renderer's four matrices out of internal space.
#include "scripted_renderer.h"

namespace {

/// A matrix, or its inverse.
struct Oriented {
    Oriented(const miMatrix& of, bool inverse) {
        if (inverse) mi_matrix_invert(matrix, of);
        else mi_matrix_copy(matrix, of);
    }
    miMatrix matrix;
};

void transformPoint(const miMatrix& matrix, bool back, miVector* result, miVector* point) {
    mi_point_transform(result, point, Oriented(matrix, back).matrix);
}
void transformVector(const miMatrix& matrix, bool back, miVector* result, miVector* vector) {
    mi_vector_transform(result, vector, Oriented(matrix, back).matrix);
}
/// Normals take the transposed inverse.
void transformNormal(const miMatrix& matrix, bool back, miVector* result, miVector* normal) {
    mi_vector_transform_T(result, normal, Oriented(matrix, !back).matrix);
}

} // namespace

// Eighteen and six functions that differ in their names only.
#define TRANSFORMS(kind, Kind, space, matrix)                                                                \
    extern "C" void mi_##kind##_to_##space(miState*, miVector* result, miVector* of) {                       \
        transform##Kind(enter("mi_" #kind "_to_" #space).matrix, false, result, of);                         \
    }                                                                                                        \
    extern "C" void mi_##kind##_from_##space(miState*, miVector* result, miVector* of) {                     \
        transform##Kind(enter("mi_" #kind "_from_" #space).matrix, true, result, of);                        \
    }
#define SPACE(space, matrix)                                                                                 \
    TRANSFORMS(point, Point, space, matrix)                                                                  \
    TRANSFORMS(vector, Vector, space, matrix)                                                                \
    TRANSFORMS(normal, Normal, space, matrix)
SPACE(world, internalToWorld)
SPACE(camera, internalToCamera)
SPACE(object, internalToObject)
SPACE(light, internalToLight)

extern "C" void mi_point_to_raster(miState* state, miVector* result, miVector* point) {
    miVector c;
    mi_point_to_camera(state, &c, point);
    const miCamera& camera = ScriptedRenderer::current().camera;
    const float zoom = camera.focal / camera.aperture / -c.z;
    *result = {
        static_cast<float>(camera.x_resolution) * (0.5f + zoom * c.x) + camera.x_offset,
        static_cast<float>(camera.y_resolution) * (0.5f + zoom * camera.aspect * c.y) + camera.y_offset, c.z};
}
