// SPDX-License-Identifier: Apache-2.0
#include "pass_catalogue.h"

#include "base/nearest_name.h"

#include <orcaPassTypes.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <vector>

namespace orca::app {

namespace {

constexpr const char* color = "rgba_fp";
constexpr const char* scalar = "s_fp";

constexpr std::array<PassDescription, PASS_TYPE_COUNT> material = [] {
    std::array<PassDescription, PASS_TYPE_COUNT> passes{};
    std::transform(PASS_TYPES.begin(), PASS_TYPES.end(), passes.begin(), [](const PassType& type) {
        const char* const datatype = type.value == PassValue::Scalar ? scalar : color;
        return PassDescription{type.name, type.id, datatype, type.flags, type.meaning};
    });
    return passes;
}();

using Content = PassListDescription::Content;
constexpr PassListDescription lists[] = {
    {"all", Content::Materials, "", "what materials write: all with a number"},
    {"utility", Content::Utilities, "", "what geometry says: all without a number"},
    {"components", Content::Components,
     "ambient,diffuse,specular,incandescence,reflection,refraction,indirect,environment,lamps",
     "what adds up to the picture"},
    {"denoise", Content::Listed, "beauty,diffuseMaterialColor[name=albedo],normal,cameraDepth,motionVector2D",
     "what denoisers take: beauty, albedo, normal, cameraDepth, motionVector2D"},
    {"albedo", Content::Listed, "diffuseMaterialColor[name=albedo]", "the materials' diffuse colour"},
    {"compositing", Content::Listed,
     "planarDepth[name=depth],position[name=P],normalWorld[name=N],uv,albedo,motionVector2D[name=motion]",
     "depth, P, N, uv, albedo and motion, as compositors call them"},
    {"relight", Content::Lights, "",
     "a layer light_NAME for each light, and rest; they add up to the picture"},
    {"crypto", Content::Listed, "CryptoObject,CryptoMaterial,CryptoAsset",
     "mattes by name for compositors: object, material and asset"},
    {"objects", Content::Objects, "", "a mask object_NAME for each member of the scene's group"},
};

constexpr PassDescription utility[] = {
    {"ambientOcclusion", -1, color, 0, "how open a point lies: 1 free, 0 closed in",
     "orcaPassAmbientOcclusion", ""},
    {"cameraDepth", -1, "z", 0, "distance from the camera, scene units, 0 where nothing is",
     "orcaPassCameraDepth", ""},
    {"planarDepth", -1, "z", 0, "distance along the camera's axis, scene units, 1e10 where nothing is",
     "orcaPassPlanarDepth", "", false, 1e10f},
    {"position", -1, "m", 0, "the point itself, world space", "orcaPassPosition", ", \"space\" 0"},
    {"uv", -1, "m", 0, "texture coordinates", "orcaPassTextureCoordinate", ", \"textureSpace\" 0"},
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
    {"environment", -1, color, 0, "what is seen where no surface is, and through surfaces",
     "orcaPassBackground", ", \"source\" 0", true},
    {"lamps", -1, color, 0, "area lights that are seen themselves", "orcaPassBackground", ", \"source\" 1",
     true},
    {"variance", -1, "variance", 0, "variance of the picture's mean over the samples, by channel", "", ""},
    {"samples", -1, "samples", 0, "samples that the pixel took", "", ""},
    {"label", -1, "tag", 0, "label (tag) of the instance or object, else the id of the instance's name", "",
     ""},
};

constexpr PassDescription mattes[] = {
    {"CryptoObject", -1, "crypto_object", 0, "ids of instances' names and their coverage", "", ""},
    {"CryptoMaterial", -1, "crypto_material", 0, "the same of materials", "", ""},
    {"CryptoAsset", -1, "crypto_asset", 0, "the same of the outermost instances", "", ""},
};

} // namespace

std::span<const PassDescription> materialPasses() {
    return material;
}

std::span<const PassDescription> utilityPasses() {
    return utility;
}

std::span<const PassDescription> mattePasses() {
    return mattes;
}

std::array<std::span<const PassDescription>, 3> allPasses() {
    return {materialPasses(), utilityPasses(), mattePasses()};
}

std::span<const PassListDescription> passLists() {
    return lists;
}

const PassListDescription* findPassList(std::string_view name) {
    const auto found =
        std::find_if(std::begin(lists), std::end(lists), [&](const auto& list) { return list.name == name; });
    return found == std::end(lists) ? nullptr : found;
}

const PassDescription* findPass(std::string_view name) {
    for (const std::span<const PassDescription> passes : allPasses()) {
        const auto found =
            std::find_if(passes.begin(), passes.end(), [&](const auto& pass) { return pass.name == name; });
        if (found != passes.end()) return &*found;
    }
    return nullptr;
}

std::string nearestPassName(std::string_view name) {
    std::vector<std::string_view> names;
    for (const std::span<const PassDescription> passes : allPasses())
        for (const PassDescription& pass : passes) names.push_back(pass.name);
    return orca::nearestName(name, names);
}

std::string passTable() {
    std::string table;
    for (const std::span<const PassDescription> passes : allPasses())
        for (const PassDescription& pass : passes)
            table += fmt::format("{:>4}  {:<29} {:<8} {}\n", pass.type < 0 ? "-" : std::to_string(pass.type),
                                 pass.name, pass.datatype, pass.meaning);
    for (const PassListDescription& list : lists)
        table += fmt::format("{:>4}  {:<29} {:<8} {}\n", "", list.name, "several", list.meaning);
    return table;
}

} // namespace orca::app
