// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "placement.h"

#include <optional>
#include <string>

namespace orca::bridge {

/// Prints the light's statement and returns its name. Nothing, and a loss, for what no light shader is.
/// @param scale of lengths from the file to the scene
[[nodiscard]] std::optional<std::string> printLight(SceneText& text, const aiLight& light,
                                                    const ModelFile& model, double scale, Losses& losses);

/// From the light's space to the scene's.
/// @param matrix of the light's node
[[nodiscard]] Matrix lightPlacement(const aiLight& light, const Matrix& matrix, double scale);

/// What a white surface at a point shows that faces the light, in the picture's values, without shadows.
[[nodiscard]] double brightnessAt(const aiLight& light, const Matrix& placement,
                                  const aiVector3t<double>& point, const ModelFile& model, double scale);

} // namespace orca::bridge
