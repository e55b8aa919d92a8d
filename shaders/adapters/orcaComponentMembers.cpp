// SPDX-License-Identifier: Apache-2.0
#include "orcaComponentMembers.h"

#include "orcaColor.h"

#include <cstring>
#include <string_view>

namespace {

using C = MaterialComponents;

/// Names of members, in the form of this project's materials and in those that are usual elsewhere.
constexpr struct {
    miColor C::*component; // null: the normal
    std::string_view names[3];
} knownMembers[] = {
    {&C::color, {"color", "result", "outColor"}},
    {&C::opacity, {"opacity", "opacity_result", "outOpacity"}},
    {&C::ambient, {"ambient", "ambient_result", ""}},
    {&C::ambientRaw, {"ambientRaw", "ambient_raw", ""}},
    {&C::diffuse, {"diffuse", "diffuse_result", ""}},
    {&C::diffuseRaw, {"diffuseRaw", "diffuse_raw", ""}},
    {&C::diffuseUnshadowed, {"diffuseUnshadowed", "diffuse_unshadowed", ""}},
    {&C::diffuseColor, {"diffuseColor", "diffuse_color", ""}},
    {&C::diffuseLevel, {"diffuseLevel", "diffuse_level", "diff_level"}},
    {&C::indirect, {"indirect", "indirect_result", ""}},
    {&C::indirectRaw, {"indirectRaw", "indirect_raw", ""}},
    {&C::specular, {"specular", "specular_result", "spec_result"}},
    {&C::specularRaw, {"specularRaw", "specular_raw", "spec_raw"}},
    {&C::specularUnshadowed, {"specularUnshadowed", "specular_unshadowed", ""}},
    {&C::specularColor, {"specularColor", "specular_level", "spec_level"}},
    {&C::coat, {"coat", "coat_result", ""}},
    {&C::coatRaw, {"coatRaw", "coat_raw", ""}},
    {&C::coatColor, {"coatColor", "coat_level", ""}},
    {&C::sheen, {"sheen", "sheen_result", ""}},
    {&C::sheenRaw, {"sheenRaw", "sheen_raw", ""}},
    {&C::sheenColor, {"sheenColor", "sheen_level", ""}},
    {&C::reflection, {"reflection", "reflection_result", "refl_result"}},
    {&C::reflectionRaw, {"reflectionRaw", "reflection_raw", "refl_raw"}},
    {&C::reflectionColor, {"reflectionColor", "reflection_level", "refl_level"}},
    {&C::coatReflection, {"coatReflection", "coat_reflection_result", ""}},
    {&C::coatReflectionRaw, {"coatReflectionRaw", "coat_reflection_raw", ""}},
    {&C::refraction, {"refraction", "refraction_result", "refr_result"}},
    {&C::refractionRaw, {"refractionRaw", "refraction_raw", "refr_raw"}},
    {&C::refractionColor, {"refractionColor", "refraction_level", "refr_level"}},
    {&C::translucence, {"translucence", "translucence_result", "tran_result"}},
    {&C::translucenceRaw, {"translucenceRaw", "translucence_raw", "tran_raw"}},
    {&C::translucenceColor, {"translucenceColor", "translucence_level", "tran_level"}},
    {&C::scatter, {"scatter", "scatter_result", ""}},
    {&C::scatterRaw, {"scatterRaw", "scatter_raw", ""}},
    {&C::scatterColor, {"scatterColor", "scatter_level", ""}},
    {&C::emission, {"emission", "emission_result", "add_result"}},
    {&C::occlusion, {"occlusion", "occlusion_raw", "ao_raw"}},
    {nullptr, {"normal", "normal_result", ""}},
};

/// Words of a declaration's text: names in quotation marks, others without.
class Words {
public:
    explicit Words(std::string_view text) : text_(text) {}
    /// The next word; empty at the end.
    std::string_view next() {
        const std::size_t first = text_.find_first_not_of(" \t\n,");
        if (first == std::string_view::npos) return {};
        text_.remove_prefix(first);
        const bool quoted = text_.front() == '"';
        const std::size_t end = quoted ? text_.find('"', 1) : text_.find_first_of(" \t\n,\"");
        const std::size_t length = end == std::string_view::npos ? text_.size() : end + (quoted ? 1 : 0);
        const std::string_view word = text_.substr(0, length);
        text_.remove_prefix(length);
        return word;
    }

private:
    std::string_view text_;
};

/// Bytes of a member; 0 for types whose layout is not that of one value.
int sizeOfType(std::string_view type) {
    if (type == "color") return sizeof(miColor);
    if (type == "vector") return sizeof(miVector);
    if (type == "transform") return sizeof(miMatrix);
    if (type == "struct" || type == "array") return 0;
    return sizeof(miInteger);
}

} // namespace

ComponentMembers::ComponentMembers(miState* state, miTag shader) {
    char* text = nullptr;
    if (!mi_query(miQ_DECL_RESULT, state, shader, &text) || !text) return;
    Words words(text);
    int offset = 0;
    for (std::string_view type = words.next(); !type.empty(); type = words.next()) {
        const int size = sizeOfType(type);
        std::string_view name = words.next();
        if (name == "texture") name = words.next();
        if (size == 0 || name.size() < 2) return;
        name = name.substr(1, name.size() - 2);
        if (type == "color") note(name.data(), name.size(), Found::Type::Color, offset);
        else if (type == "scalar") note(name.data(), name.size(), Found::Type::Scalar, offset);
        else if (type == "vector") note(name.data(), name.size(), Found::Type::Vector, offset);
        offset += size;
    }
}

void ComponentMembers::note(const char* text, std::size_t length, Found::Type type, int offset) {
    const std::string_view name(text, length);
    for (const auto& known : knownMembers)
        for (const std::string_view candidate : known.names) {
            if (candidate.empty() || candidate != name) continue;
            if ((type == Found::Type::Vector) != (known.component == nullptr)) return;
            found_.push_back({known.component, offset, type});
            hasColor_ = hasColor_ || known.component == &C::color;
            return;
        }
}

MaterialComponents ComponentMembers::read(const char* result) const {
    MaterialComponents components{};
    components.opacity = WHITE;
    for (const Found& found : found_) {
        const char* const from = result + found.offset;
        switch (found.type) {
        case Found::Type::Color: std::memcpy(&(components.*found.component), from, sizeof(miColor)); break;
        case Found::Type::Vector: std::memcpy(&components.normal, from, sizeof(miVector)); break;
        case Found::Type::Scalar: {
            miScalar value;
            std::memcpy(&value, from, sizeof value);
            components.*found.component = {value, value, value, 0.0f};
            break;
        }
        }
    }
    return components;
}
