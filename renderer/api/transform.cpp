// SPDX-License-Identifier: Apache-2.0
#include "render/camera/spaces.h"

#include <shader.h>

using namespace orca::render;

extern "C" {

DLLEXPORT void mi_point_to_world(miState* state, miVector* result, miVector* point) {
    transformPoint(state, Space::World, Direction::To, *result, *point);
}

DLLEXPORT void mi_point_from_world(miState* state, miVector* result, miVector* point) {
    transformPoint(state, Space::World, Direction::From, *result, *point);
}

DLLEXPORT void mi_vector_to_world(miState* state, miVector* result, miVector* vector) {
    transformVector(state, Space::World, Direction::To, *result, *vector);
}

DLLEXPORT void mi_vector_from_world(miState* state, miVector* result, miVector* vector) {
    transformVector(state, Space::World, Direction::From, *result, *vector);
}

DLLEXPORT void mi_normal_to_world(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, Space::World, Direction::To, *result, *normal);
}

DLLEXPORT void mi_normal_from_world(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, Space::World, Direction::From, *result, *normal);
}

DLLEXPORT void mi_point_to_camera(miState* state, miVector* result, miVector* point) {
    transformPoint(state, Space::Camera, Direction::To, *result, *point);
}

DLLEXPORT void mi_point_from_camera(miState* state, miVector* result, miVector* point) {
    transformPoint(state, Space::Camera, Direction::From, *result, *point);
}

DLLEXPORT void mi_vector_to_camera(miState* state, miVector* result, miVector* vector) {
    transformVector(state, Space::Camera, Direction::To, *result, *vector);
}

DLLEXPORT void mi_vector_from_camera(miState* state, miVector* result, miVector* vector) {
    transformVector(state, Space::Camera, Direction::From, *result, *vector);
}

DLLEXPORT void mi_normal_to_camera(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, Space::Camera, Direction::To, *result, *normal);
}

DLLEXPORT void mi_normal_from_camera(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, Space::Camera, Direction::From, *result, *normal);
}

DLLEXPORT void mi_point_to_object(miState* state, miVector* result, miVector* point) {
    transformPoint(state, Space::Object, Direction::To, *result, *point);
}

DLLEXPORT void mi_point_from_object(miState* state, miVector* result, miVector* point) {
    transformPoint(state, Space::Object, Direction::From, *result, *point);
}

DLLEXPORT void mi_vector_to_object(miState* state, miVector* result, miVector* vector) {
    transformVector(state, Space::Object, Direction::To, *result, *vector);
}

DLLEXPORT void mi_vector_from_object(miState* state, miVector* result, miVector* vector) {
    transformVector(state, Space::Object, Direction::From, *result, *vector);
}

DLLEXPORT void mi_normal_to_object(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, Space::Object, Direction::To, *result, *normal);
}

DLLEXPORT void mi_normal_from_object(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, Space::Object, Direction::From, *result, *normal);
}

DLLEXPORT void mi_point_to_light(miState* state, miVector* result, miVector* point) {
    transformPoint(state, Space::Light, Direction::To, *result, *point);
}

DLLEXPORT void mi_point_from_light(miState* state, miVector* result, miVector* point) {
    transformPoint(state, Space::Light, Direction::From, *result, *point);
}

DLLEXPORT void mi_vector_to_light(miState* state, miVector* result, miVector* vector) {
    transformVector(state, Space::Light, Direction::To, *result, *vector);
}

DLLEXPORT void mi_vector_from_light(miState* state, miVector* result, miVector* vector) {
    transformVector(state, Space::Light, Direction::From, *result, *vector);
}

DLLEXPORT void mi_normal_to_light(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, Space::Light, Direction::To, *result, *normal);
}

DLLEXPORT void mi_normal_from_light(miState* state, miVector* result, miVector* normal) {
    transformNormal(state, Space::Light, Direction::From, *result, *normal);
}

DLLEXPORT void mi_point_to_raster(miState* state, miVector* result, miVector* point) {
    pointToRaster(state, *result, *point);
}

DLLEXPORT void mi_point_from_raster(miState* state, miVector* result, miVector* point) {
    pointFromRaster(state, *result, *point);
}

} // extern "C"
