// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/approximation.h"
#include "scene/elements/element.h"

#include <array>
#include <optional>
#include <vector>

namespace orca::scene {

/// Lights that an instance names for itself and everything below.
struct LightLinks {
    bool given = false;        ///< false: inherited
    bool exclusive = false;    ///< all lights but these
    std::vector<miTag> lights; ///< light instances, or groups: all of their lights
};

/// What an instance says about rays; what is not given is inherited. Modes: bit 0 seen by such rays
/// ("casts"), bit 1 sends such rays ("receives"); bits 2 and 3 deny the same, which nothing below can undo.
struct InstanceFlags {
    std::optional<bool> visible, shadow, trace;
    std::optional<int> shadowMode, reflection, refraction, transparency, finalgather;
    std::optional<char> face; ///< 'f', 'b' or 'a'
};

/// One element in one place below its group.
struct InstanceElement final : Element {
    static constexpr miScene_type elementType = miSCENE_INSTANCE;
    using Matrix = std::array<float, 16>;
    enum class Motion { Inherited, Given, Off };

    InstanceElement();
    void* record() override { return &instance; }
    [[nodiscard]] int recordSize() const override { return sizeof(instance); }
    void visitReferences(const std::function<void(miTag)>& visit) const override { eachTag(*this, visit); }
    template <class Self, class Visit>
    static void eachTag(Self& self, const Visit& visit) {
        visit(self.instance.item);
        visit(self.instance.userdata);
        for (auto* list :
             {&self.materials, &self.lights.lights, &self.shadowLights.lights, &self.geometryShaders}) {
            for (auto& tag : *list) visit(tag);
        }
    }

    /// Parent to local. False, and the identity, when the matrix is singular.
    bool setTransform(const Matrix& parentToLocal);
    void clearTransform();

    /// Until the scene is flattened, the record's matrices hold this instance's own transformation; its other
    /// fields (flags, material, parent) are filled when the scene is flattened.
    miInstance instance{};
    Matrix transform;       ///< parent space to local space, as the scene gives it
    Matrix motionTransform; ///< the same at the end of the unit shutter, where motion is Given
    Motion motion = Motion::Inherited;
    /// Local to world at the ends of the motion steps, the start of the shutter first; filled when the
    /// scene is flattened.
    /// Empty: the path is straight, or nothing moves.
    std::vector<Matrix> motionPath;
    bool hasLabel = false;  ///< 0 is one if the scene says so
    bool hidden = false;    ///< with everything below
    bool overrides = false; ///< flags and material win over those below
    InstanceFlags flags;
    std::vector<miTag> materials; ///< one, or a list that polygon labels index
    LightLinks lights, shadowLights;
    std::vector<miTag> geometryShaders;
    std::optional<Approximation> approximation; ///< of displaced polygons below, instead of the objects' own
};

} // namespace orca::scene
