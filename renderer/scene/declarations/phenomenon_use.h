// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/declarations/phenomenon.h"
#include "scene/elements/element.h"

#include <initializer_list>

namespace orca::scene {

/// A phenomenon in use by the scene. It remembers what the use attaches, and gives a name to uses that have
/// no result.
struct PhenomenonUseElement final : Element {
    PhenomenonUseElement() : Element(miSCENE_OTHER) {}
    void visitReferences(const std::function<void(miTag)>& visit) const override {
        PhenomenonAttachments::eachTag(attached, visit);
    }

    const DeclarationElement* declaration = nullptr;
    miTag root = miNULLTAG; ///< the copy of the phenomenon's root; null when it has none
    PhenomenonAttachments attached;
};

/// What the phenomena in use attach to a picture of `rendered` (root group, camera's instance, options). A
/// use counts when anything in the picture refers to its result; one without a result as long as its name
/// stands.
[[nodiscard]] PhenomenonAttachments attachmentsTo(const Database& database,
                                                  std::initializer_list<miTag> rendered);

} // namespace orca::scene
