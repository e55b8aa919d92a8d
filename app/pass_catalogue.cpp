// SPDX-License-Identifier: Apache-2.0
#include "pass_catalogue.h"

#include "scene/declarations/declaration.h"

#include <orcaFrameBufferRecords.h>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace orca::app {

namespace {

constexpr const char* color = "rgba_fp";
constexpr const char* scalar = "s_fp";

// The picture takes what reflected and refracted rays bring; its components hold the light of the visible
// surface alone, so that they add up to it. A component that materials hand over before their transparency is
// weighted by opacity.
constexpr unsigned picture = FB_INCLUDE_REFLECTION | FB_INCLUDE_REFRACTION | FB_SHADOWED;
constexpr unsigned lit = FB_SHADOWED;
constexpr unsigned blended = FB_WEIGHT_BY_OPACITY;
constexpr unsigned litBlended = FB_SHADOWED | FB_WEIGHT_BY_OPACITY;

constexpr PassDescription material[PASS_TYPE_COUNT] = {
    {"beauty", PASS_BEAUTY, color, picture, "the picture, as the primary layer has it"},
    {"ambientMaterialColor", PASS_AMBIENT_MATERIAL_COLOR, color, blended, "the materials' ambient colour"},
    {"ambientIrradiance", PASS_AMBIENT_IRRADIANCE, color, litBlended,
     "what ambient lights give, without materials"},
    {"ambient", PASS_AMBIENT, color, litBlended, "ambient light on the materials"},
    {"diffuseMaterialColor", PASS_DIFFUSE_MATERIAL_COLOR, color, blended,
     "the materials' diffuse colour, unlit"},
    {"diffuse", PASS_DIFFUSE, color, litBlended, "diffuse and translucent light"},
    {"diffuseNoShadow", PASS_DIFFUSE_NO_SHADOW, color, blended, "the same as if nothing cast shadows"},
    {"specular", PASS_SPECULAR, color, lit, "highlights"},
    {"specularNoShadow", PASS_SPECULAR_NO_SHADOW, color, 0, "highlights as if nothing cast shadows"},
    {"incandescence", PASS_INCANDESCENCE, color, lit, "light that materials give off themselves"},
    {"directIrradiance", PASS_DIRECT_IRRADIANCE, color, litBlended, "light that arrives, without materials"},
    {"directIrradianceNoShadow", PASS_DIRECT_IRRADIANCE_NO_SHADOW, color, blended,
     "the same without shadows"},
    {"shadow", PASS_SHADOW, color, lit, "light that shadows take away: unshadowed less shadowed"},
    {"shadowLuminance", PASS_SHADOW_LUMINANCE, scalar, lit, "its luminance"},
    {"rawShadow", PASS_RAW_SHADOW, color, litBlended, "irradiance that shadows take away, without materials"},
    {"rawShadowLuminance", PASS_RAW_SHADOW_LUMINANCE, scalar, litBlended, "its luminance"},
    {"lightVolume", PASS_LIGHT_VOLUME, color, lit, "light fog"},
    {"sceneVolume", PASS_SCENE_VOLUME, color, lit, "fog of the whole scene"},
    {"objectVolume", PASS_OBJECT_VOLUME, color, lit, "volumes of objects"},
    {"reflection", PASS_REFLECTION, color, lit, "what surfaces reflect"},
    {"reflectedMaterialColor", PASS_REFLECTED_MATERIAL_COLOR, color, blended, "the materials' reflectivity"},
    {"refraction", PASS_REFRACTION, color, lit, "what is seen through refracting surfaces"},
    {"indirect", PASS_INDIRECT, color, litBlended, "light from other surfaces (final gathering)"},
    {"matte", PASS_MATTE, color, 0, "matte opacity"},
    {"opacity", PASS_OPACITY, color, 0, "opacity"},
    {"translucence", PASS_TRANSLUCENCE, color, litBlended, "light from behind that comes through"},
    {"specularMaterialColor", PASS_SPECULAR_MATERIAL_COLOR, color, blended,
     "the materials' highlight colour"},
    {"lightSum", PASS_LIGHT_SUM, scalar, litBlended, "sum of the lights' terms"},
    {"transparency", PASS_TRANSPARENCY, color, 0, "transparency"},
    {"glowSource", PASS_GLOW_SOURCE, color, lit, "what glows"},
    {"custom", PASS_CUSTOM, color, 0, "whatever the scene's write-to-buffer shaders put there"},
    {"translucenceNoShadow", PASS_TRANSLUCENCE_NO_SHADOW, color, blended, "translucence without shadows"},
    {"normal", PASS_NORMAL, color, blended, "shading normal, world space"},
    {"facingRatio", PASS_FACING_RATIO, scalar, blended,
     "1 where a surface faces the camera, 0 at its silhouette"},
    {"beautyNoReflectionRefraction", PASS_BEAUTY_NO_REFLECTION_REFRACTION, color, 0,
     "the picture without reflections and refractions"},
};

constexpr PassDescription utility[] = {
    {"ambientOcclusion", -1, color, 0, "how open a point lies: 1 free, 0 closed in",
     "orcaPassAmbientOcclusion", ""},
    {"cameraDepth", -1, "z", 0, "distance from the camera, scene units, 0 where nothing is",
     "orcaPassCameraDepth", ""},
    {"coverage", -1, "coverage", 0, "part of the pixel that surfaces cover", "orcaPassCoverage", ""},
    {"incidenceCameraNormal", -1, scalar, 0, "0 where a surface faces the camera, 1 at its silhouette",
     "orcaPassIncidenceCameraNormal", ""},
    {"motionVector2D", -1, "m", 0, "movement in the picture over the shutter, pixels",
     "orcaPassMotionVector2D", ""},
    {"motionVector2DNormalized", -1, "m", 0, "the same, 0.5 for no movement, 1 for one picture width",
     "orcaPassMotionVector2DNormalized", ""},
    {"motionVector3D", -1, "m", 0, "movement of the point over the shutter, world space",
     "orcaPassMotionVector3D", ""},
    {"normalCamera", -1, "n", 0, "shading normal, camera space", "orcaPassNormal", ", \"space\" 1"},
    {"normalObject", -1, "n", 0, "shading normal, object space, not unit under a scaled instance",
     "orcaPassNormal", ", \"space\" 2"},
    {"normalWorld", -1, "n", 0, "shading normal, world space", "orcaPassNormal", ", \"space\" 0"},
    {"label", -1, "tag", 0, "label (tag) of the instance or object", "", ""},
};

constexpr bool inTypeOrder() {
    for (int type = 0; type < PASS_TYPE_COUNT; ++type)
        if (material[type].type != type) return false;
    return true;
}
static_assert(inTypeOrder());

} // namespace

std::span<const PassDescription> materialPasses() {
    return material;
}

std::span<const PassDescription> utilityPasses() {
    return utility;
}

const PassDescription* findPass(std::string_view name) {
    for (const std::span<const PassDescription> passes : {materialPasses(), utilityPasses()}) {
        const auto found =
            std::find_if(passes.begin(), passes.end(), [&](const auto& pass) { return pass.name == name; });
        if (found != passes.end()) return &*found;
    }
    return nullptr;
}

std::string nearestPassName(std::string_view name) {
    std::vector<std::string_view> names;
    for (const PassDescription& pass : material) names.push_back(pass.name);
    for (const PassDescription& pass : utility) names.push_back(pass.name);
    return scene::nearestName(name, names);
}

std::string passTable() {
    std::string table;
    for (const PassDescription& pass : material)
        table += fmt::format("{:>4}  {:<29} {:<8} {}\n", pass.type, pass.name, pass.datatype, pass.meaning);
    for (const PassDescription& pass : utility)
        table += fmt::format("{:>4}  {:<29} {:<8} {}\n", "-", pass.name, pass.datatype, pass.meaning);
    return table;
}

} // namespace orca::app
