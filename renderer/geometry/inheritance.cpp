// SPDX-License-Identifier: Apache-2.0
#include "geometry/inheritance.h"

#include "geometry/animated_transform.h"
#include "geometry/ray.h"

#include <cstddef>

namespace orca::geometry {

namespace {

constexpr int seenBit = 1, sendsBit = 2, neverSeenBit = 4, neverSendsBit = 8;

[[nodiscard]] constexpr std::uint8_t bitOf(RayClass rayClass) {
    return static_cast<std::uint8_t>(1u << static_cast<unsigned>(rayClass));
}

[[nodiscard]] bool seen(const RayMode& mode, int objectMode) {
    return mode.seen.value.value_or((objectMode & seenBit) != 0);
}
[[nodiscard]] bool sends(const RayMode& mode, int objectMode) {
    return mode.sends.value.value_or((objectMode & sendsBit) != 0);
}

} // namespace

void RayMode::give(const std::optional<int>& mode, bool overrides) {
    if (!mode) return;
    const bool never = (*mode & neverSeenBit) != 0, neverSends = (*mode & neverSendsBit) != 0;
    seen.give((*mode & seenBit) != 0 && !never, overrides || never);
    sends.give((*mode & sendsBit) != 0 && !neverSends, overrides || neverSends);
}

Inherited Inherited::below(const scene::InstanceElement& instance) const {
    using Motion = scene::InstanceElement::Motion;
    Inherited result = *this;
    if (motionSteps > 1) result.moveInSteps(instance);
    const Transform step = Transform::from(instance.transform.data());
    result.worldToLocal = worldToLocal * step;
    switch (instance.motion) {
    case Motion::Inherited: result.worldToLocalAtEnd = worldToLocalAtEnd * step; break;
    case Motion::Given:
        result.worldToLocalAtEnd = worldToLocalAtEnd * Transform::from(instance.motionTransform.data());
        break;
    case Motion::Off: result.worldToLocalAtEnd = result.worldToLocal; break;
    }
    result.parent = instance.tag;

    const auto& flags = instance.flags;
    const bool overrides = instance.overrides;
    result.visible.give(flags.visible, overrides);
    result.trace.give(flags.trace, overrides);
    // The flag is about casting only; the mode, where it is given as well, covers receiving too.
    if (flags.shadowMode) result.shadow.give(flags.shadowMode, overrides);
    else result.shadow.seen.give(flags.shadow, overrides);
    result.reflection.give(flags.reflection, overrides);
    result.refraction.give(flags.refraction, overrides);
    result.transparency.give(flags.transparency, overrides);
    result.gather.give(flags.finalgather, overrides);
    result.face.give(flags.face, overrides);
    result.approximation.give(instance.approximation, overrides);
    if (!instance.materials.empty()) result.materials.give(&instance.materials, overrides);
    if (instance.lights.given) result.lights = &instance.lights;
    if (instance.shadowLights.given) result.shadowLights = &instance.shadowLights;
    return result;
}

/// Updates `inBetween` for the instance, while all other members are still those of its parent.
void Inherited::moveInSteps(const scene::InstanceElement& instance) {
    using Motion = scene::InstanceElement::Motion;
    const bool moves = instance.motion == Motion::Given && instance.motionTransform != instance.transform;
    if (instance.motion == Motion::Off) inBetween.clear();
    if (instance.motion == Motion::Off || (!moves && inBetween.empty())) return;
    bool singularAbove = false, singularAtStart = false, singularAtEnd = false;
    const Transform above = inverse(worldToLocal, singularAbove);
    const Transform start = inverse(Transform::from(instance.transform.data()), singularAtStart);
    const Transform end = inverse(Transform::from(instance.motionTransform.data()), singularAtEnd);
    // A singular transform is reported where the ends of the motion are resolved, and then does not move.
    if (singularAbove || singularAtStart || (moves && singularAtEnd)) {
        inBetween.clear();
        return;
    }
    if (inBetween.empty()) inBetween.assign(static_cast<std::size_t>(motionSteps - 1), above);
    const AnimatedTransform animated(start, moves ? end : start);
    for (std::size_t i = 0; i < inBetween.size(); ++i) {
        const double part = static_cast<double>(i + 1) / motionSteps;
        inBetween[i] = (moves ? animated.at(part) : start) * inBetween[i];
    }
}

ResolvedFlags resolve(const Inherited& inherited, const scene::ObjectElement& object, char faceOfOptions) {
    const miObject& own = object.object;
    ResolvedFlags flags{};
    flags.visible = inherited.visible.value.value_or(own.visible != 0);
    flags.trace = inherited.trace.value.value_or(own.trace != 0);
    const int ownShadow = own.shadow ? own.shadow_mode : own.shadow_mode & ~seenBit;
    flags.castsShadows = seen(inherited.shadow, ownShadow);
    flags.receivesShadows = sends(inherited.shadow, ownShadow);

    const auto mode = [](const RayMode& given, int objectMode) {
        return static_cast<miCBoolean>((seen(given, objectMode) ? seenBit : 0) |
                                       (sends(given, objectMode) ? sendsBit : 0));
    };
    flags.reflection = mode(inherited.reflection, own.reflection);
    flags.refraction = mode(inherited.refraction, own.refraction);
    flags.transparency = mode(inherited.transparency, own.transparency);
    flags.gather = mode(inherited.gather, own.finalgather);
    flags.sendsReflections = (flags.reflection & sendsBit) != 0;
    flags.sendsRefractions = (flags.refraction & sendsBit) != 0;
    flags.sendsTransparency = (flags.transparency & sendsBit) != 0;
    flags.face = inherited.face.value.value_or(object.face.value_or(faceOfOptions));

    const auto see = [&](bool sees, RayClass rayClass) {
        if (sees) flags.visibleTo |= bitOf(rayClass);
    };
    see(flags.visible, RayClass::Eye);
    see(flags.trace && (flags.transparency & seenBit), RayClass::Transparent);
    see(flags.trace && (flags.reflection & seenBit), RayClass::Reflect);
    see(flags.trace && (flags.refraction & seenBit), RayClass::Refract);
    see(flags.trace && (flags.gather & seenBit), RayClass::Gather);
    see(flags.castsShadows, RayClass::Shadow);
    return flags;
}

} // namespace orca::geometry
