// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca::render {

/// Spaces that shaders know beside the internal one, which is world space here, and the object's own in
/// displacement calls.
enum class Space { World, Camera, Object, Light };
/// To: from internal space into the named one; From: back.
enum class Direction { To, From };

/// The matrix of a mapping; null for the identity. Object and light space are those of the state's instance
/// and light instance, and internal space where the state has none.
[[nodiscard]] const miScalar* spaceMatrix(const miState* state, Space space, Direction direction);

void transformPoint(const miState* state, Space space, Direction direction, miVector& result,
                    const miVector& point);
void transformVector(const miState* state, Space space, Direction direction, miVector& result,
                     const miVector& vector);
/// By the transposed inverse; not renormalised.
void transformNormal(const miState* state, Space space, Direction direction, miVector& result,
                     const miVector& normal);

/// Raster space: pixels from the lower left corner, z as in camera space.
void pointToRaster(const miState* state, miVector& result, const miVector& point);
void pointFromRaster(const miState* state, miVector& result, const miVector& point);

} // namespace orca::render
