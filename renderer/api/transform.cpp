// SPDX-License-Identifier: Apache-2.0
#include "render/camera/spaces.h"

#include <shader.h>

using namespace orca::render;

extern "C" {

DLLEXPORT void mi_point_to_world(miState* state, miVector* result, miVector* point) {
    transformPoint(state, CoordinateSpace::World, Mapping::FromInternal, *result, *point);
}

DLLEXPORT void mi_point_from_world(miState* state, miVector* result, miVector* point) {
    transformPoint(state, CoordinateSpace::World, Mapping::ToInternal, *result, *point);
}

DLLEXPORT void mi_vector_to_world(miState* state, miVector* result, miVector* vector) {
    transformVector(state, CoordinateSpace::World, Mapping::FromInternal, *result, *vector);
}

DLLEXPORT void mi_vector_from_world(miState* state, miVector* result, miVector* vector) {
    transformVector(state, CoordinateSpace::World, Mapping::ToInternal, *result, *vector);
}

DLLEXPORT void mi_normal_to_world(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, CoordinateSpace::World, Mapping::FromInternal, *result, *normal);
}

DLLEXPORT void mi_normal_from_world(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, CoordinateSpace::World, Mapping::ToInternal, *result, *normal);
}

DLLEXPORT void mi_point_to_camera(miState* state, miVector* result, miVector* point) {
    transformPoint(state, CoordinateSpace::Camera, Mapping::FromInternal, *result, *point);
}

DLLEXPORT void mi_point_from_camera(miState* state, miVector* result, miVector* point) {
    transformPoint(state, CoordinateSpace::Camera, Mapping::ToInternal, *result, *point);
}

DLLEXPORT void mi_vector_to_camera(miState* state, miVector* result, miVector* vector) {
    transformVector(state, CoordinateSpace::Camera, Mapping::FromInternal, *result, *vector);
}

DLLEXPORT void mi_vector_from_camera(miState* state, miVector* result, miVector* vector) {
    transformVector(state, CoordinateSpace::Camera, Mapping::ToInternal, *result, *vector);
}

DLLEXPORT void mi_normal_to_camera(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, CoordinateSpace::Camera, Mapping::FromInternal, *result, *normal);
}

DLLEXPORT void mi_normal_from_camera(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, CoordinateSpace::Camera, Mapping::ToInternal, *result, *normal);
}

DLLEXPORT void mi_point_to_object(miState* state, miVector* result, miVector* point) {
    transformPoint(state, CoordinateSpace::Object, Mapping::FromInternal, *result, *point);
}

DLLEXPORT void mi_point_from_object(miState* state, miVector* result, miVector* point) {
    transformPoint(state, CoordinateSpace::Object, Mapping::ToInternal, *result, *point);
}

DLLEXPORT void mi_vector_to_object(miState* state, miVector* result, miVector* vector) {
    transformVector(state, CoordinateSpace::Object, Mapping::FromInternal, *result, *vector);
}

DLLEXPORT void mi_vector_from_object(miState* state, miVector* result, miVector* vector) {
    transformVector(state, CoordinateSpace::Object, Mapping::ToInternal, *result, *vector);
}

DLLEXPORT void mi_normal_to_object(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, CoordinateSpace::Object, Mapping::FromInternal, *result, *normal);
}

DLLEXPORT void mi_normal_from_object(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, CoordinateSpace::Object, Mapping::ToInternal, *result, *normal);
}

DLLEXPORT void mi_point_to_light(miState* state, miVector* result, miVector* point) {
    transformPoint(state, CoordinateSpace::Light, Mapping::FromInternal, *result, *point);
}

DLLEXPORT void mi_point_from_light(miState* state, miVector* result, miVector* point) {
    transformPoint(state, CoordinateSpace::Light, Mapping::ToInternal, *result, *point);
}

DLLEXPORT void mi_vector_to_light(miState* state, miVector* result, miVector* vector) {
    transformVector(state, CoordinateSpace::Light, Mapping::FromInternal, *result, *vector);
}

DLLEXPORT void mi_vector_from_light(miState* state, miVector* result, miVector* vector) {
    transformVector(state, CoordinateSpace::Light, Mapping::ToInternal, *result, *vector);
}

DLLEXPORT void mi_normal_to_light(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, CoordinateSpace::Light, Mapping::FromInternal, *result, *normal);
}

DLLEXPORT void mi_normal_from_light(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, CoordinateSpace::Light, Mapping::ToInternal, *result, *normal);
}

DLLEXPORT void mi_point_to_raster(miState* state, miVector* result, miVector* point) {
    pointToRaster(state, *result, *point);
}

DLLEXPORT void mi_point_from_raster(miState* state, miVector* result, miVector* point) {
    pointFromRaster(state, *result, *point);
}

} // extern "C"
