// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca::render {

/// Coordinate spaces of shaders besides internal space, which is world space, and object space in
/// displacement calls.
enum class CoordinateSpace { World, Camera, Object, Light };
/// From internal space to a coordinate space, or from that to internal space.
enum class Mapping { FromInternal, ToInternal };

/// The matrix of a mapping; null for the identity. Object and light space are those of the state's instance
/// and light instance, and internal space where the state has none.
[[nodiscard]] const miScalar* spaceMatrix(const miState* state, CoordinateSpace space,
                                          Mapping mapping) noexcept;

void transformPoint(const miState* state, CoordinateSpace space, Mapping mapping, miVector& result,
                    const miVector& point) noexcept;
void transformVector(const miState* state, CoordinateSpace space, Mapping mapping, miVector& result,
                     const miVector& vector) noexcept;
/// By the transposed inverse; not renormalised.
void transformNormal(const miState* state, CoordinateSpace space, Mapping mapping, miVector& result,
                     const miVector& normal) noexcept;

/// Raster space: pixels from the lower left corner, z as in camera space.
void pointToRaster(const miState* state, miVector& result, const miVector& point) noexcept;
void pointFromRaster(const miState* state, miVector& result, const miVector& point) noexcept;

} // namespace orca::render
