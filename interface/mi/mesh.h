// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Reading the triangles of a scene's objects. Geometry shaders alone may, in their calls: what other objects
/// are made of is known before each picture.
///
/// A wrong call (an element that is no object of surfaces, an index out of range) is an error in the log that
/// names the shader; it writes nothing and returns a null pointer, 0 or miFALSE.

#include "types.h"

miBEGIN_INTERFACE

/// The triangles of one object, in object space.
typedef struct miMesh miMesh;

/// Opens an object, or the object that an instance places. Polygons are cut into triangles; curved surfaces
/// are cut as the object's own approximations say, not by the camera's view. Displacement is not applied.
/// Whoever opens a mesh closes it in the same call; a null mesh may be closed.
miMesh* mi_mesh_open(miTag object);
void mi_mesh_close(miMesh* mesh);

int mi_mesh_triangles(const miMesh* mesh);
int mi_mesh_texture_spaces(const miMesh* mesh);
/// Corners of a triangle, counted from 0, counter-clockwise as seen from its front, where the shutter opens.
/// `normals` may be null; those of corners without one are the triangle's. Unit length; null for a triangle
/// without area.
miBoolean mi_mesh_triangle(const miMesh* mesh, int triangle, miVector points[3], miVector normals[3]);
/// Displacements of the corners over the unit shutter; null vectors where the object does not deform.
miBoolean mi_mesh_motion(const miMesh* mesh, int triangle, miVector motions[3]);
miBoolean mi_mesh_texture(const miMesh* mesh, int triangle, int space, miVector coordinates[3]);

miEND_INTERFACE
