// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/database.h"
#include "scene/declarations/value.h"
#include "scene/elements/declaration_element.h"
#include "scene/elements/phenomenon.h"

#include <string>
#include <vector>

namespace orca::scene {

/// One use of a phenomenon.
struct PhenomenonCopy {
    std::vector<PhenomenonBody::Part> parts; ///< in the order of definition, without names
    miTag root = miNULLTAG;
    PhenomenonAttachments attached;
};

/// Copies a phenomenon's parts for a use called `name`: interface references become the values that the use
/// gives, or the interface's defaults.
PhenomenonCopy expandPhenomenon(Database& database, const DeclarationElement& declaration,
                                const std::vector<Value>& interfaceValues, const std::string& name);

} // namespace orca::scene
