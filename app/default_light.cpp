// SPDX-License-Identifier: Apache-2.0
#include "default_light.h"

#include "library_text.h"
#include "scene/elements/elements.h"
#include "scene/shader_list.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <string_view>

namespace orca::app {

namespace {

constexpr const char* module = "MAIN";
constexpr const char* stateName = "default light:base";
constexpr const char* instanceName = "default light:instance";

/// Shaders of materials that show nothing but light, as long as they do not shine by themselves.
constexpr std::array<std::string_view, 15> reflecting = {"orcaVelaShadingEngine",
                                                         "orcaVelaLambert",
                                                         "orcaVelaPhong",
                                                         "orcaVelaPhongE",
                                                         "orcaVelaBlinn",
                                                         "orcaVelaAnisotropic",
                                                         "orcaVelaOceanShader",
                                                         "orcaVelaMiaMaterialXAdapter",
                                                         "orcaVelaMiCarPaintPhenXAdapter",
                                                         "orcaVelaMiMetallicPaintXAdapter",
                                                         "orcaVelaMisssFastShaderXAdapter",
                                                         "velaSurfaceX",
                                                         "velaCarPaintX",
                                                         "velaMetallicPaintX",
                                                         "velaSkinX"};
constexpr std::array<std::string_view, 3> shining = {"incandescence", "ambientColor", "emission"};

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool isBlack(const scene::Value& value) {
    if (value.kind == scene::Value::Kind::Zero) return true;
    constexpr std::uint32_t minusZero = 0x80000000u;
    constexpr std::size_t alpha = 3; // shows nothing by itself
    if (value.kind != scene::Value::Kind::Literal) return false;
    for (std::size_t i = 0; i < std::min(value.words.size(), alpha); ++i)
        if (value.words[i] != 0 && value.words[i] != minusZero) return false;
    return true;
}

/// True where a shader may put colour into the picture without light: shaders of other libraries, of which
/// nothing is known, and those that shine.
bool mayShine(const scene::FunctionElement& shader) {
    const scene::DeclarationElement& declaration = *shader.declaration;
    const std::string_view name = declaration.name;
    if (!startsWith(name, "orca") && !startsWith(name, "vela")) return true;
    const bool forMaterials =
        std::find(declaration.apply.begin(), declaration.apply.end(), "material") != declaration.apply.end();
    if (!forMaterials || startsWith(name, "orcaPass")) return false;
    if (std::find(reflecting.begin(), reflecting.end(), name) == reflecting.end()) return true;
    for (std::size_t i = 0; i < declaration.parameters.size(); ++i)
        if (std::find(shining.begin(), shining.end(), declaration.parameters[i].name) != shining.end() &&
            !isBlack(shader.values[i]))
            return true;
    return false;
}

/// True when something of the scene other than lights may be seen: shaders that shine, surroundings, air.
bool mayShine(const scene::Database& database) {
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        const auto* shader = database.find<scene::FunctionElement>(tag);
        if (shader && mayShine(*shader)) return true;
        const auto* material = database.find<scene::MaterialElement>(tag);
        if (material &&
            (material->material.environment != miNULLTAG || material->material.volume != miNULLTAG))
            return true;
    }
    return false;
}

/// Lights below a group but the one of this file.
class LightSearch {
public:
    explicit LightSearch(const scene::Database& database)
        : database_(database), own_(database.named(instanceName)) {}

    [[nodiscard]] bool finds(miTag group) {
        const auto* const element = database_.find<scene::GroupElement>(group);
        if (!element || !visited_.insert(group).second) return false;
        return std::any_of(element->members.begin(), element->members.end(), [&](miTag member) {
            const auto* const instance = database_.find<scene::InstanceElement>(member);
            if (!instance || instance->hidden || member == own_) return false;
            const miTag item = instance->instance.item;
            return database_.find<scene::LightElement>(item) || finds(item);
        });
    }

private:
    const scene::Database& database_;
    miTag own_;
    std::set<miTag> visited_;
};

bool hasBaseState(const scene::Database& database, const scene::OptionsElement& options) {
    const std::vector<miTag> states = scene::shaderList(database, options.options.state_func);
    return std::any_of(states.begin(), states.end(), [&](miTag tag) {
        const auto* const shader = database.find<scene::FunctionElement>(tag);
        return shader && shader->declaration->name == "velaBaseState";
    });
}

bool hasShaders(const scene::Database& database) {
    for (miTag tag = 1; tag < database.endTag(); ++tag)
        if (database.find<scene::FunctionElement>(tag)) return true;
    return false;
}

/// Shaders without the base state that they need are a fault that they tell themselves.
bool isDark(const scene::Database& database, const render::PictureElements& picture) {
    const miCamera& camera = picture.camera->camera;
    return !picture.options->options.finalgather && camera.environment == miNULLTAG &&
           camera.volume == miNULLTAG && !LightSearch(database).finds(picture.group) && !mayShine(database) &&
           (hasBaseState(database, *picture.options) || !hasShaders(database));
}

} // namespace

bool DefaultLight::apply(const render::PictureElements& picture, const scene::ParserOptions& options,
                         scene::ParserCallbacks callbacks) {
    scene::Database& database = scene_.database();
    const bool dark = !wanted_ && isDark(database, picture);
    auto& group = *database.find<scene::GroupElement>(picture.group);
    if (const miTag instance = database.named(instanceName); instance != miNULLTAG) {
        const auto end = std::remove(group.members.begin(), group.members.end(), instance);
        if (end != group.members.end()) {
            group.members.erase(end, group.members.end());
            ++group.revision;
        }
    }
    if (!wanted_.value_or(dark)) return true;
    callbacks.render = nullptr; // the generated text renders nothing
    if (!define(*picture.options, options, callbacks)) return false;
    if (dark)
        scene_.log().once("default light",
                          {LogLevel::Warning,
                           module,
                           0,
                           "nothing in the scene gives light, so one along the camera's view is added "
                           "(--no-default-light leaves the picture dark, --default-light says that it is "
                           "wanted)",
                           {}});
    group.members.push_back(database.named(instanceName));
    ++group.revision;
    return true;
}

/// Makes the light, once, and the base state that it needs.
bool DefaultLight::define(scene::OptionsElement& options, const scene::ParserOptions& parser,
                          const scene::ParserCallbacks& callbacks) {
    scene::Database& database = scene_.database();
    if (database.named(instanceName) == miNULLTAG) {
        std::string text = libraryText(scene_);
        text += fmt::format("shader \"{}\" \"velaBaseState\" ( )\n", stateName);
        text +=
            fmt::format("light \"default light\" \"orcaVelaDefaultLight\" ( ) direction 0 0 -1 end light\n"
                        "instance \"{}\" \"default light\" end instance\n",
                        instanceName);
        // False also for errors of the scene that the user has rendered anyway.
        scene_.parseText(std::move(text), "<default light>", parser, callbacks);
        if (database.named(instanceName) == miNULLTAG) return false;
    }
    if (hasBaseState(database, options)) return true;
    miTag& list = options.options.state_func;
    list = scene::appendShaders(database, database.named(stateName), list);
    ++options.revision;
    return true;
}

} // namespace orca::app
