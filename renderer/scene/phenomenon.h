// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/value.h"

#include <string>
#include <vector>

namespace orca::scene {

class Database;
struct DeclarationElement;
struct Element;

/// What stands inside a phenomenon: templates that every use copies with its own interface values. Templates
/// are elements of the database like others, so that they refer to each other by tag; nothing outside refers
/// to them.
struct PhenomenonBody {
    struct Part {
        std::string name; ///< within the phenomenon; empty for anonymous shaders
        miTag tag = miNULLTAG;
    };
    std::vector<Part> parts; ///< in the order of definition
    miTag root = miNULLTAG;  ///< the part whose result is the phenomenon's
};

/// Copies a phenomenon's parts for one use called `name`: interface references become the values that the use
/// gives, or the interface's defaults. Returns the copy of the root; all copies are appended to `copies` in
/// order of definition.
miTag expandPhenomenon(Database& database, const DeclarationElement& declaration,
                       const std::vector<Value>& interfaceValues, const std::string& name,
                       std::vector<PhenomenonBody::Part>* copies = nullptr);

} // namespace orca::scene
