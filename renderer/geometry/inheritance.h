// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/transform.h"
#include "scene/elements/elements.h"

#include <shader.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace orca::geometry {

/// A value that instances pass down the scene graph. The lowest instance that sets it wins, unless one above
/// overrides.
template <class T>
struct Setting {
    std::optional<T> value;
    bool overridden = false;

    void give(const std::optional<T>& given, bool overrides) {
        if (!given || overridden) return;
        value = given;
        overridden = overrides;
    }
};

/// The two settings that one mode of the scene language combines: seen by such rays, and sending them.
struct RayMode {
    Setting<bool> seen, sends;
    /// Bits: 1 seen, 2 sends, 4 and 8 the same as a "not" that nothing below can undo.
    void give(const std::optional<int>& mode, bool overrides);
};

/// What a path through the scene graph passes down to its end.
struct Inherited {
    int motionSteps = 1;                       ///< equal segments of the shutter along which transforms move
    Transform worldToLocal, worldToLocalAtEnd; ///< at shutter time 0 and 1
    /// Local to world at the ends of all motion steps but the last; empty: one step, or no motion.
    std::vector<Transform> inBetween;
    miTag parent = miNULLTAG; ///< instance above; 0 below the root
    Setting<bool> visible, trace;
    RayMode shadow, reflection, refraction, transparency, gather;
    Setting<char> face;
    Setting<scene::Approximation> approximation;
    Setting<const std::vector<miTag>*> materials; ///< overridden: also wins over the polygons' own
    const scene::LightLinks* lights = nullptr;    ///< null: all
    const scene::LightLinks* shadowLights = nullptr;

    /// As below one more instance.
    [[nodiscard]] Inherited below(const scene::InstanceElement& instance) const;
    [[nodiscard]] bool moves() const { return !(worldToLocal == worldToLocalAtEnd) || !inBetween.empty(); }

private:
    void moveInSteps(const scene::InstanceElement& instance);
};

/// Flags of a mesh instance after inheritance.
struct ResolvedFlags {
    std::uint8_t visibleTo; ///< bit per RayClass
    bool visible, trace, castsShadows, receivesShadows;
    bool sendsReflections, sendsRefractions, sendsTransparency;
    miCBoolean reflection, refraction, transparency, gather; ///< modes, bits 1 and 2
    char face;
};
/// @param faceOfOptions where neither an instance nor the object gives a face
[[nodiscard]] ResolvedFlags resolve(const Inherited& inherited, const scene::ObjectElement& object,
                                    char faceOfOptions);

} // namespace orca::geometry
