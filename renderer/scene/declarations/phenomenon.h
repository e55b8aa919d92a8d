// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/declarations/value.h"
#include "scene/elements/camera_element.h"

#include <string>
#include <vector>

namespace orca::scene {

class Database;
struct DeclarationElement;

/// What a phenomenon brings beside its result: it is attached to the picture's camera and root group.
struct PhenomenonAttachments {
    std::vector<miTag> lens, volume, environment; ///< shader lists
    std::vector<OutputStatement> outputs;
    std::vector<miTag> instances; ///< of lights and objects

    [[nodiscard]] bool empty() const;
    void append(const PhenomenonAttachments& others);
    template <class Self, class Visit>
    static void eachTag(Self& self, const Visit& visit) {
        for (auto* list : {&self.lens, &self.volume, &self.environment, &self.instances}) {
            for (auto& tag : *list) visit(tag);
        }
        for (auto& output : self.outputs) {
            for (auto& tag : output.shaders) visit(tag);
        }
    }
};

/// What stands inside a phenomenon: templates that every use copies with its own interface values. Templates
/// are elements of the database like others, so that they refer to each other by tag; nothing outside refers
/// to them.
struct PhenomenonBody {
    struct Part {
        std::string name; ///< within the phenomenon; empty for anonymous shaders
        miTag tag = miNULLTAG;
    };
    std::vector<Part> parts; ///< in the order of definition
    miTag root = miNULLTAG;  ///< the shader list or the material that is the phenomenon's result
    PhenomenonAttachments attached;
};

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
