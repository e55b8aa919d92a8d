// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.h"

miBEGIN_INTERFACE

/// "to" maps from internal space into the named one, "from" back; result and argument may be the same. Points
/// are divided by w, normals use the transposed inverse and are not renormalised. Object space is that of the
/// state's instance, light space that of its light instance; without one they are the internal space.

void mi_point_to_world(miState* state, miVector* result, miVector* point);
void mi_point_from_world(miState* state, miVector* result, miVector* point);
void mi_vector_to_world(miState* state, miVector* result, miVector* vector);
void mi_vector_from_world(miState* state, miVector* result, miVector* vector);
void mi_normal_to_world(miState* state, miVector* result, miVector* normal);
void mi_normal_from_world(miState* state, miVector* result, miVector* normal);

void mi_point_to_camera(miState* state, miVector* result, miVector* point);
void mi_point_from_camera(miState* state, miVector* result, miVector* point);
void mi_vector_to_camera(miState* state, miVector* result, miVector* vector);
void mi_vector_from_camera(miState* state, miVector* result, miVector* vector);
void mi_normal_to_camera(miState* state, miVector* result, miVector* normal);
void mi_normal_from_camera(miState* state, miVector* result, miVector* normal);

void mi_point_to_object(miState* state, miVector* result, miVector* point);
void mi_point_from_object(miState* state, miVector* result, miVector* point);
void mi_vector_to_object(miState* state, miVector* result, miVector* vector);
void mi_vector_from_object(miState* state, miVector* result, miVector* vector);
void mi_normal_to_object(miState* state, miVector* result, miVector* normal);
void mi_normal_from_object(miState* state, miVector* result, miVector* normal);

void mi_point_to_light(miState* state, miVector* result, miVector* point);
void mi_point_from_light(miState* state, miVector* result, miVector* point);
void mi_vector_to_light(miState* state, miVector* result, miVector* vector);
void mi_vector_from_light(miState* state, miVector* result, miVector* vector);
void mi_normal_to_light(miState* state, miVector* result, miVector* normal);
void mi_normal_from_light(miState* state, miVector* result, miVector* normal);

/// Raster space: pixels from the lower left corner; z is the camera-space z.
void mi_point_to_raster(miState* state, miVector* result, miVector* point);
void mi_point_from_raster(miState* state, miVector* result, miVector* point);

miEND_INTERFACE
