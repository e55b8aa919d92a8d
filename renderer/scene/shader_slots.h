// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "scene/database.h"
#include "scene/elements/declaration_element.h"

#include <string>
#include <vector>

namespace orca::scene {

/// True for a result of this type and for a record with a member of it, which a slot for the type then takes.
[[nodiscard]] bool returns(const DeclarationElement& declaration, miParam_type type);

/// What a shader's declaration says against the place that the scene gives it.
struct SlotFinding {
    SourceLocation location; ///< of the shader's use
    std::string kind;        ///< the same for all uses that are wrong for one reason
    std::string text;
};

/// Compares results and `apply` words of all shaders in slots of materials, lights, cameras, options,
/// textures and instances, and of those that parameters name, with what the slots are called for. A
/// declaration without `apply` fits everywhere.
[[nodiscard]] std::vector<SlotFinding> findMisplacedShaders(const Database& database);

} // namespace orca::scene
