// SPDX-License-Identifier: Apache-2.0
#include "scene/shader_slots.h"

#include "scene/elements/elements.h"
#include "scene/shader_list.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <optional>
#include <string_view>

namespace orca::scene {

namespace {

/// A place for a shader list.
struct Slot {
    std::string_view kind;            ///< as `apply` calls it
    std::optional<miParam_type> type; ///< of the result that it is called for; none: the result is not used
};
constexpr Slot materialSlot{"material", miTYPE_COLOR};
constexpr std::string_view textureKind = "texture";

class SlotCheck {
public:
    explicit SlotCheck(const Database& database) : database_(database) {}

    void visit(const Element& element) {
        if (const auto* material = database_.find<MaterialElement>(element.tag)) visit(*material);
        else if (const auto* light = database_.find<LightElement>(element.tag)) visit(*light);
        else if (const auto* camera = database_.find<CameraElement>(element.tag)) visit(*camera);
        else if (const auto* options = database_.find<OptionsElement>(element.tag)) visit(*options);
        else if (const auto* texture = database_.find<TextureElement>(element.tag)) visit(*texture);
        else if (const auto* function = database_.find<FunctionElement>(element.tag)) visit(*function);
        else if (const auto* instance = database_.find<InstanceElement>(element.tag)) {
            for (const miTag shader : instance->geometryShaders)
                check(*instance, "instance", {"geometry", {}}, shader);
        }
    }

    std::vector<SlotFinding> findings;

private:
    void visit(const MaterialElement& element) {
        const miMaterial& m = element.material;
        const std::pair<Slot, miTag> slots[] = {{materialSlot, m.shader},
                                                {{"shadow", miTYPE_COLOR}, m.shadow},
                                                {{"volume", miTYPE_COLOR}, m.volume},
                                                {{"environment", miTYPE_COLOR}, m.environment},
                                                {{"displace", {}}, m.displace}, // refused when it is used
                                                {{"contour", {}}, m.contour},
                                                {{"photon", {}}, m.photon},
                                                {{"photonvol", {}}, m.photonvol},
                                                {{"lightmap", {}}, m.lightmap}};
        for (const auto& [slot, list] : slots) check(element, "material", slot, list);
        checkForRecord(element);
    }
    void visit(const OptionsElement& element) {
        check(element, "options", {"state", {}}, element.options.state_func);
        check(element, "options", {"contour", {}}, element.options.contour_store);
        check(element, "options", {"contour", {}}, element.options.contour_contrast);
    }
    void visit(const LightElement& element) {
        check(element, "light", {"light", miTYPE_COLOR}, element.light.shader);
        check(element, "light", {"emitter", {}}, element.light.emitter);
    }
    void visit(const CameraElement& element) {
        check(element, "camera", {"lens", miTYPE_COLOR}, element.camera.lens);
        check(element, "camera", {"volume", miTYPE_COLOR}, element.camera.volume);
        check(element, "camera", {"environment", miTYPE_COLOR}, element.camera.environment);
        for (const OutputStatement& output : element.outputs)
            for (const miTag shader : output.shaders) check(element, "camera", {"output", {}}, shader);
    }
    void visit(const TextureElement& element) {
        constexpr miParam_type types[] = {miTYPE_COLOR, miTYPE_SCALAR, miTYPE_VECTOR};
        check(element, "texture", {"texture", types[static_cast<int>(element.kind)]}, element.shader);
    }

    void visit(const FunctionElement& element) {
        const DeclarationElement& declaration = *element.declaration;
        for (std::size_t i = 0; i < element.values.size(); ++i)
            visit(element, declaration.parameters[i], element.values[i]);
    }
    /// The shaders that a value names, each with what the parameter's declaration says of its call.
    void visit(const FunctionElement& caller, const Parameter& parameter, const Value& value) {
        for (std::size_t i = 0; i < value.items.size(); ++i)
            visit(caller, value.kind == Value::Kind::Struct ? parameter.members[i] : parameter,
                  value.items[i]);
        const std::optional<Slot> slot = slotOf(caller, parameter);
        if (!slot || (value.kind != Value::Kind::Literal && value.kind != Value::Kind::Array)) return;
        const std::string owner = fmt::format("\"{}\" of \"{}\"", parameter.name, caller.declaration->name);
        for (const miTag tag : value.words) check(owner, &caller.location, *slot, tag);
    }
    /// Textures say it by their type. A parameter of type shader says nothing, but what is given to a shader
    /// for materials alone takes part in its call.
    static std::optional<Slot> slotOf(const FunctionElement& caller, const Parameter& parameter) {
        switch (parameter.type) {
        case miTYPE_COLOR_TEXTURE: return Slot{textureKind, miTYPE_COLOR};
        case miTYPE_SCALAR_TEXTURE: return Slot{textureKind, miTYPE_SCALAR};
        case miTYPE_VECTOR_TEXTURE: return Slot{textureKind, miTYPE_VECTOR};
        case miTYPE_TEXTURE: return Slot{textureKind, {}};
        case miTYPE_SHADER:
            if (isForMaterialsAlone(*caller.declaration)) return materialSlot;
            return {};
        default: return {};
        }
    }
    static bool isForMaterialsAlone(const DeclarationElement& declaration) {
        return declaration.apply.size() == 1 && declaration.apply.front() == materialSlot.kind;
    }

    void check(const Element& owner, std::string_view ownerKind, const Slot& slot, miTag list) {
        check(fmt::format("{} \"{}\"", ownerKind, owner.name), nullptr, slot, list);
    }
    /// @param place of the message; null: that of the shader
    void check(const std::string& owner, const SourceLocation* place, const Slot& slot, miTag list) {
        const FunctionElement* const head = shader(list);
        bool delivers = !slot.type;
        for (const miTag tag : shaderList(database_, list)) {
            const FunctionElement* const member = shader(tag);
            if (!member) continue;
            const DeclarationElement& declaration = *member->declaration;
            delivers = delivers || returns(declaration, *slot.type);
            const auto& apply = declaration.apply;
            if (!apply.empty() && std::find(apply.begin(), apply.end(), slot.kind) == apply.end())
                add(*member, place, "apply " + std::string(slot.kind),
                    "{}: \"{}\" is used as a {} shader, but its declaration says \"apply {}\"", owner,
                    declaration.name, slot.kind, fmt::join(apply, ", "));
        }
        if (head && !delivers)
            add(*head, place, "result " + std::string(slot.kind),
                "{}: a {} shader returns a {}, but \"{}\" is declared to return {}", owner, slot.kind,
                typeName(*slot.type), head->declaration->name,
                withArticle(head->declaration->result.typeText()));
    }

    /// Only the first colour of a record is rendered, which is rarely all that was meant.
    void checkForRecord(const MaterialElement& element) {
        const FunctionElement* const head = shader(element.material.shader);
        if (!head) return;
        const DeclarationElement& declaration = *head->declaration;
        if (declaration.result.type != miTYPE_STRUCT || declaration.result.members.size() < 2 ||
            !returns(declaration, miTYPE_COLOR))
            return;
        const DeclarationElement* const engine = shadingEngine();
        add(*head, nullptr, "record",
            "material \"{}\": \"{}\" returns a record, of which only the first color is rendered; what else "
            "is "
            "in it, transparency for example, and passes need a shading engine that calls it{}",
            element.name, declaration.name,
            engine ? fmt::format(", as in \"{}\" ( \"{}\" \"NAME\" )", engine->name,
                                 engine->parameters.front().name)
                   : "");
    }

    /// A declared shader that makes a colour of what another material shader returns; null when there is
    /// none.
    [[nodiscard]] const DeclarationElement* shadingEngine() const {
        for (miTag tag = 1; tag < database_.endTag(); ++tag) {
            const auto* const declaration = database_.find<DeclarationElement>(tag);
            if (declaration && declaration->kind == DeclarationElement::Kind::Shader &&
                declaration->result.type == miTYPE_COLOR && !declaration->parameters.empty() &&
                declaration->parameters.front().type == miTYPE_SHADER && isForMaterialsAlone(*declaration))
                return declaration;
        }
        return nullptr;
    }

    /// Null for what is no shader of a declared kind.
    [[nodiscard]] const FunctionElement* shader(miTag tag) const {
        const auto* const function = database_.find<FunctionElement>(tag);
        return function && function->declaration &&
                       function->declaration->kind == DeclarationElement::Kind::Shader
                   ? function
                   : nullptr;
    }

    template <class... A>
    void add(const FunctionElement& use, const SourceLocation* place, const std::string& kind,
             fmt::format_string<A...> form, A&&... arguments) {
        findings.push_back({place ? *place : use.location, kind + " " + use.declaration->name,
                            fmt::format(form, std::forward<A>(arguments)...)});
    }

    const Database& database_;
};

} // namespace

bool returns(const DeclarationElement& declaration, miParam_type type) {
    const Parameter& result = declaration.result;
    if (result.isArray) return false;
    if (result.type != miTYPE_STRUCT) return result.type == type;
    return std::any_of(result.members.begin(), result.members.end(),
                       [&](const Parameter& member) { return !member.isArray && member.type == type; });
}

std::vector<SlotFinding> findMisplacedShaders(const Database& database) {
    SlotCheck check(database);
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        const Element* const element = database.get(tag);
        if (element && !element->isTemplate) check.visit(*element);
    }
    return std::move(check.findings);
}

} // namespace orca::scene
