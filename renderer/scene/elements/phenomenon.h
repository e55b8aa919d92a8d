// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/camera_element.h"
#include "scene/elements/element.h"

#include <string>
#include <vector>

namespace orca::scene {

struct DeclarationElement;

/// What a phenomenon adds to the scene besides its result: it is attached to the picture's camera and root
/// group.
struct PhenomenonAttachments {
    std::vector<miTag> lens, volume, environment;     ///< shader lists
    std::vector<miTag> contourStore, contourContrast; ///< for options without such shaders of their own
    std::vector<OutputStatement> outputs;
    std::vector<miTag> instances; ///< of lights and objects

    [[nodiscard]] bool empty() const;
    void append(const PhenomenonAttachments& others);
    template <class Self, class Visit>
    static void eachTag(Self& self, const Visit& visit) {
        for (auto* list : {&self.lens, &self.volume, &self.environment, &self.contourStore,
                           &self.contourContrast, &self.instances}) {
            for (auto& tag : *list) visit(tag);
        }
        for (auto& output : self.outputs) {
            for (auto& tag : output.shaders) visit(tag);
        }
    }
};

/// The parts of a phenomenon: templates that every use copies with its own interface values. Templates
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

} // namespace orca::scene
