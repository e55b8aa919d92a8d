// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The types of pass that materials write: name, value and treatment of each, in one row. Code that treats
/// some types differently looks them up here.

#include "orcaFrameBufferFlags.h"

#include <algorithm>
#include <array>
#include <cstddef>

/// What a pass holds. The numbers are fixed: the scene counts its frame buffers per type in this order.
enum PassTypeID : int {
    PASS_BEAUTY = 0,
    PASS_AMBIENT_MATERIAL_COLOR = 1,
    PASS_AMBIENT_IRRADIANCE = 2,
    PASS_AMBIENT = 3,
    PASS_DIFFUSE_MATERIAL_COLOR = 4,
    PASS_DIFFUSE = 5,
    PASS_DIFFUSE_NO_SHADOW = 6,
    PASS_SPECULAR = 7,
    PASS_SPECULAR_NO_SHADOW = 8,
    PASS_INCANDESCENCE = 9,
    PASS_DIRECT_IRRADIANCE = 10,
    PASS_DIRECT_IRRADIANCE_NO_SHADOW = 11,
    PASS_SHADOW = 12,
    PASS_SHADOW_LUMINANCE = 13,
    PASS_RAW_SHADOW = 14,
    PASS_RAW_SHADOW_LUMINANCE = 15,
    PASS_LIGHT_VOLUME = 16,
    PASS_SCENE_VOLUME = 17,
    PASS_OBJECT_VOLUME = 18,
    PASS_REFLECTION = 19,
    PASS_REFLECTED_MATERIAL_COLOR = 20,
    PASS_REFRACTION = 21,
    PASS_INDIRECT = 22,
    PASS_MATTE = 23,
    PASS_OPACITY = 24,
    PASS_TRANSLUCENCE = 25,
    PASS_SPECULAR_MATERIAL_COLOR = 26,
    PASS_LIGHT_SUM = 27,
    PASS_TRANSPARENCY = 28,
    PASS_GLOW_SOURCE = 29,
    PASS_CUSTOM = 30,
    PASS_TRANSLUCENCE_NO_SHADOW = 31,
    PASS_NORMAL = 32,
    PASS_FACING_RATIO = 33,
    PASS_BEAUTY_NO_REFLECTION_REFRACTION = 34,
};
inline constexpr int PASS_TYPE_COUNT = 35;

/// What a pass type's value is: four channels, three that are a direction, or one (in red).
enum class PassValue : unsigned char { Color, Normal, Scalar };

/// Which part of a picture a pass type holds.
enum class PassRole : unsigned char {
    Component, ///< one quantity of the surfaces
    Picture,   ///< the whole picture, backgrounds included, with or without traced rays
    Volume,    ///< volumes; they keep their alpha, while elsewhere a positive alpha becomes 1
};

/// Which light a pass type receives.
enum class PassLight : unsigned char {
    AsFlagged,  ///< shadowed where its record has FB_SHADOWED, else unshadowed
    Unshadowed, ///< unshadowed, whatever the record's flags
    Removed,    ///< what shadows remove
};

/// How a mixing shader treats what its inputs write.
enum class PassMixing : unsigned char {
    Weighted,     ///< weighted like the inputs' colours and added up
    FirstWritten, ///< the value of the first input that writes one, since a mean has no meaning
    Untouched,    ///< not mixed: each writer chooses how its value combines
};

struct PassType {
    PassTypeID id;
    const char* name; ///< of the layer
    PassValue value;
    PassRole role;
    PassLight light;
    PassMixing mixing;
    unsigned flags;      ///< set of FrameBufferFlags of a record that a user asks for by name
    const char* meaning; ///< one line for people
};

/// Every pass type, in the order of the numbers.
inline constexpr std::array<PassType, PASS_TYPE_COUNT> PASS_TYPES = [] {
    constexpr auto color = PassValue::Color, normal = PassValue::Normal, scalar = PassValue::Scalar;
    constexpr auto component = PassRole::Component, picture = PassRole::Picture, volume = PassRole::Volume;
    constexpr auto asFlagged = PassLight::AsFlagged, unshadowed = PassLight::Unshadowed,
                   removed = PassLight::Removed;
    constexpr auto weighted = PassMixing::Weighted, first = PassMixing::FirstWritten,
                   untouched = PassMixing::Untouched;
    // The picture takes what reflected and refracted rays bring; its components hold the light of the visible
    // surface alone, so that they add up to it. A component that materials write before their transparency is
    // weighted by opacity.
    constexpr unsigned none = 0, lit = FB_SHADOWED, blended = FB_WEIGHT_BY_OPACITY,
                       litBlended = lit | blended,
                       everything = FB_SHADOWED | FB_INCLUDE_REFLECTION | FB_INCLUDE_REFRACTION;
    return std::array<PassType, PASS_TYPE_COUNT>{{
        {PASS_BEAUTY, "beauty", color, picture, asFlagged, weighted, everything,
         "the picture, as the primary layer has it"},
        {PASS_AMBIENT_MATERIAL_COLOR, "ambientMaterialColor", color, component, asFlagged, weighted, blended,
         "the materials' ambient colour"},
        {PASS_AMBIENT_IRRADIANCE, "ambientIrradiance", color, component, asFlagged, weighted, litBlended,
         "what ambient lights give, without materials"},
        {PASS_AMBIENT, "ambient", color, component, asFlagged, weighted, litBlended,
         "ambient light on the materials"},
        {PASS_DIFFUSE_MATERIAL_COLOR, "diffuseMaterialColor", color, component, asFlagged, weighted, blended,
         "the materials' diffuse colour, unlit"},
        {PASS_DIFFUSE, "diffuse", color, component, asFlagged, weighted, litBlended,
         "diffuse and translucent light"},
        {PASS_DIFFUSE_NO_SHADOW, "diffuseNoShadow", color, component, unshadowed, weighted, blended,
         "the same as if nothing cast shadows"},
        {PASS_SPECULAR, "specular", color, component, asFlagged, weighted, lit, "highlights"},
        {PASS_SPECULAR_NO_SHADOW, "specularNoShadow", color, component, unshadowed, weighted, none,
         "highlights as if nothing cast shadows"},
        {PASS_INCANDESCENCE, "incandescence", color, component, asFlagged, weighted, lit,
         "light that materials give off themselves"},
        {PASS_DIRECT_IRRADIANCE, "directIrradiance", color, component, asFlagged, weighted, litBlended,
         "light that arrives, without materials"},
        {PASS_DIRECT_IRRADIANCE_NO_SHADOW, "directIrradianceNoShadow", color, component, unshadowed, weighted,
         blended, "the same without shadows"},
        {PASS_SHADOW, "shadow", color, component, removed, weighted, lit,
         "light that shadows take away: unshadowed less shadowed"},
        {PASS_SHADOW_LUMINANCE, "shadowLuminance", scalar, component, removed, weighted, lit,
         "its luminance"},
        {PASS_RAW_SHADOW, "rawShadow", color, component, removed, weighted, litBlended,
         "irradiance that shadows take away, without materials"},
        {PASS_RAW_SHADOW_LUMINANCE, "rawShadowLuminance", scalar, component, removed, weighted, litBlended,
         "its luminance"},
        {PASS_LIGHT_VOLUME, "lightVolume", color, volume, asFlagged, weighted, lit, "light fog"},
        {PASS_SCENE_VOLUME, "sceneVolume", color, volume, asFlagged, weighted, lit, "fog of the whole scene"},
        {PASS_OBJECT_VOLUME, "objectVolume", color, volume, asFlagged, weighted, lit, "volumes of objects"},
        {PASS_REFLECTION, "reflection", color, component, asFlagged, weighted, lit, "what surfaces reflect"},
        {PASS_REFLECTED_MATERIAL_COLOR, "reflectedMaterialColor", color, component, asFlagged, weighted,
         blended, "the materials' reflectivity"},
        {PASS_REFRACTION, "refraction", color, component, asFlagged, weighted, lit,
         "what is seen through refracting surfaces"},
        {PASS_INDIRECT, "indirect", color, component, asFlagged, weighted, litBlended,
         "light from other surfaces (final gathering)"},
        {PASS_MATTE, "matte", color, component, asFlagged, weighted, none, "matte opacity"},
        {PASS_OPACITY, "opacity", color, component, asFlagged, weighted, none, "opacity"},
        {PASS_TRANSLUCENCE, "translucence", color, component, asFlagged, weighted, litBlended,
         "light from behind that comes through"},
        {PASS_SPECULAR_MATERIAL_COLOR, "specularMaterialColor", color, component, asFlagged, weighted,
         blended, "the materials' highlight colour"},
        {PASS_LIGHT_SUM, "lightSum", scalar, component, asFlagged, weighted, litBlended,
         "sum of the lights' terms"},
        {PASS_TRANSPARENCY, "transparency", color, component, asFlagged, weighted, none, "transparency"},
        {PASS_GLOW_SOURCE, "glowSource", color, component, asFlagged, weighted, lit, "what glows"},
        {PASS_CUSTOM, "custom", color, component, asFlagged, untouched, none,
         "whatever the scene's write-to-buffer shaders put there"},
        {PASS_TRANSLUCENCE_NO_SHADOW, "translucenceNoShadow", color, component, unshadowed, weighted, blended,
         "translucence without shadows"},
        {PASS_NORMAL, "normal", normal, component, asFlagged, first, blended, "shading normal, world space"},
        {PASS_FACING_RATIO, "facingRatio", scalar, component, asFlagged, first, blended,
         "1 where a surface faces the camera, 0 at its silhouette"},
        {PASS_BEAUTY_NO_REFLECTION_REFRACTION, "beautyNoReflectionRefraction", color, picture, unshadowed,
         weighted, none, "the picture without reflections and refractions"},
    }};
}();

static_assert(std::all_of(PASS_TYPES.begin(), PASS_TYPES.end(),
                          [](const PassType& type) { return &PASS_TYPES[type.id] == &type; }));

/// The table's row of a type.
[[nodiscard]] constexpr const PassType& passType(PassTypeID type) noexcept {
    return PASS_TYPES[type];
}

/// Twice the light, twice the value. Not so for what describes surfaces, and for custom values, of which
/// nothing is known.
[[nodiscard]] constexpr bool growsWithLight(PassTypeID type) noexcept {
    switch (type) {
    case PASS_AMBIENT_MATERIAL_COLOR:
    case PASS_DIFFUSE_MATERIAL_COLOR:
    case PASS_SPECULAR_MATERIAL_COLOR:
    case PASS_REFLECTED_MATERIAL_COLOR:
    case PASS_MATTE:
    case PASS_OPACITY:
    case PASS_TRANSPARENCY:
    case PASS_CUSTOM:
    case PASS_NORMAL:
    case PASS_FACING_RATIO: return false;
    default: return true;
    }
}

/// The types of one role, in the order of the numbers.
template <PassRole role>
[[nodiscard]] consteval auto passTypesOf() {
    constexpr auto hasRole = [](const PassType& type) { return type.role == role; };
    std::array<PassTypeID, std::count_if(PASS_TYPES.begin(), PASS_TYPES.end(), hasRole)> types{};
    std::size_t count = 0;
    for (const PassType& type : PASS_TYPES)
        if (hasRole(type)) types[count++] = type.id;
    return types;
}

/// The types that receive the whole picture, as one colour.
inline constexpr auto PICTURE_PASSES = passTypesOf<PassRole::Picture>();
/// The types of volumes. Their numbers follow each other, so their records are one run.
inline constexpr auto VOLUME_PASSES = passTypesOf<PassRole::Volume>();
static_assert(VOLUME_PASSES.back() - VOLUME_PASSES.front() + 1 == int{VOLUME_PASSES.size()});
