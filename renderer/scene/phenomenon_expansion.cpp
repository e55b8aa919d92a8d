// SPDX-License-Identifier: Apache-2.0
#include "scene/phenomenon_expansion.h"

#include "scene/elements/elements.h"

#include <map>

namespace orca::scene {

namespace {

/// The value that a parameter has when none is given, in full: where it is passed on, the receiver's own
/// default must not replace it.
Value spelledDefault(const Parameter& parameter) {
    if (parameter.defaultValue) return *parameter.defaultValue;
    Value value;
    if (parameter.isArray) {
        value.kind = Value::Kind::Array;
    } else if (parameter.type == miTYPE_STRUCT) {
        value.kind = Value::Kind::Struct;
        for (const Parameter& member : parameter.members) value.items.push_back(spelledDefault(member));
    } else {
        value.kind = Value::Kind::Literal;
        value.words.resize(parameter.elementSize / 4);
    }
    return value;
}

class Expansion {
public:
    Expansion(Database& database, const DeclarationElement& declaration,
              const std::vector<Value>& interfaceValues)
        : database_(database), declaration_(declaration), interface_(interfaceValues) {}

    PhenomenonCopy copyAll(const std::string& name) {
        const PhenomenonBody& body = *declaration_.body;
        PhenomenonCopy result;
        for (const PhenomenonBody::Part& part : body.parts) {
            const miTag copy = copyPart(part, name);
            if (copy == part.tag) continue;
            copies_[part.tag] = copy;
            result.parts.push_back({{}, copy});
        }
        // References run forward as well, so they are redirected once all copies are there.
        for (const PhenomenonBody::Part& part : result.parts) redirect(*database_.get(part.tag));
        result.root = copied(body.root);
        result.attached = body.attached;
        PhenomenonAttachments::eachTag(result.attached, [&](miTag& tag) { tag = copied(tag); });
        return result;
    }

private:
    [[nodiscard]] miTag copied(miTag tag) const {
        const auto found = copies_.find(tag);
        return found == copies_.end() ? tag : found->second;
    }

    /// The part itself where all uses can share it.
    miTag copyPart(const PhenomenonBody::Part& part, const std::string& name) {
        const Element& original = *database_.get(part.tag);
        std::unique_ptr<Element> copy;
        switch (original.type) {
        case miSCENE_FUNCTION: copy = copyOf(static_cast<const FunctionElement&>(original)); break;
        case miSCENE_MATERIAL:
            copy = std::make_unique<MaterialElement>(static_cast<const MaterialElement&>(original));
            break;
        case miSCENE_LIGHT:
            copy = std::make_unique<LightElement>(static_cast<const LightElement&>(original));
            break;
        case miSCENE_INSTANCE:
            copy = std::make_unique<InstanceElement>(static_cast<const InstanceElement&>(original));
            break;
        case miSCENE_TEXTURE: {
            const auto& texture = static_cast<const TextureElement&>(original);
            if (!texture.shader) return part.tag;
            copy = std::make_unique<TextureElement>(texture);
            break;
        }
        default: return part.tag;
        }
        copy->isTemplate = false;
        copy->location = original.location;
        copy->name = part.name.empty() ? std::string() : name + "::" + part.name;
        return database_.add(std::move(copy));
    }

    [[nodiscard]] std::unique_ptr<FunctionElement> copyOf(const FunctionElement& original) const {
        auto copy = std::make_unique<FunctionElement>(*original.declaration);
        for (std::size_t i = 0; i < copy->values.size(); ++i) {
            copy->values[i] = substituted(original.declaration->parameters[i], original.values[i]);
        }
        copy->rebuild();
        copy->function()->next_function = original.function()->next_function;
        copy->function()->parameter_indirect = original.function()->parameter_indirect;
        return copy;
    }

    void redirect(Element& copy) const {
        const auto replace = [&](miTag& tag) { tag = copied(tag); };
        switch (copy.type) {
        case miSCENE_FUNCTION: {
            miFunction& function = *static_cast<FunctionElement&>(copy).function();
            replace(function.next_function);
            replace(function.parameter_indirect);
            break;
        }
        case miSCENE_MATERIAL: MaterialElement::eachTag(static_cast<MaterialElement&>(copy), replace); break;
        case miSCENE_LIGHT: LightElement::eachTag(static_cast<LightElement&>(copy), replace); break;
        case miSCENE_INSTANCE: InstanceElement::eachTag(static_cast<InstanceElement&>(copy), replace); break;
        case miSCENE_TEXTURE: replace(static_cast<TextureElement&>(copy).shader); break;
        default: break;
        }
    }

    Value substituted(const Parameter& parameter, const Value& value) const {
        if (value.kind == Value::Kind::Interface) return interfaceValue(value.interfaceName);
        Value result = value;
        if (value.kind == Value::Kind::Connection) {
            result.connection.source = copied(value.connection.source);
        } else if (value.kind == Value::Kind::Struct) {
            for (std::size_t i = 0; i < result.items.size(); ++i) {
                result.items[i] = substituted(parameter.members[i], value.items[i]);
            }
        } else if (value.kind == Value::Kind::Array && !value.items.empty()) {
            for (Value& item : result.items) item = substituted(parameter, item);
        } else if (value.kind != Value::Kind::Zero && isTagType(parameter.type)) {
            for (std::uint32_t& word : result.words) word = copied(word);
        }
        return result;
    }

    [[nodiscard]] Value interfaceValue(std::string_view path) const {
        for (std::size_t i = 0; i < declaration_.parameters.size(); ++i) {
            const Parameter& parameter = declaration_.parameters[i];
            if (parameter.name == path) return givenOrDefault(parameter, interface_[i]);
            const std::string prefix = parameter.name + ".";
            if (path.substr(0, prefix.size()) == prefix) {
                return memberValue(parameter, givenOrDefault(parameter, interface_[i]),
                                   path.substr(prefix.size()));
            }
        }
        return {};
    }

    static Value givenOrDefault(const Parameter& parameter, const Value& value) {
        return value.kind == Value::Kind::Zero ? spelledDefault(parameter) : value;
    }

    static Value memberValue(const Parameter& parameter, const Value& value, std::string_view path) {
        for (std::size_t i = 0; i < parameter.members.size(); ++i) {
            const Parameter& member = parameter.members[i];
            const bool whole = member.name == path;
            const std::string prefix = member.name + ".";
            if (!whole && path.substr(0, prefix.size()) != prefix) continue;
            Value part;
            if (value.kind == Value::Kind::Connection) {
                part = value;
                part.connection.memberOffset += member.offset;
            } else if (value.kind == Value::Kind::Interface) {
                part = value;
                part.interfaceName += '.' + member.name;
            } else {
                part = givenOrDefault(member, i < value.items.size() ? value.items[i] : Value{});
            }
            return whole ? part : memberValue(member, part, path.substr(prefix.size()));
        }
        return {};
    }

    Database& database_;
    const DeclarationElement& declaration_;
    const std::vector<Value>& interface_;
    std::map<miTag, miTag> copies_; // by original
};

} // namespace

PhenomenonCopy expandPhenomenon(Database& database, const DeclarationElement& declaration,
                                const std::vector<Value>& interfaceValues, const std::string& name) {
    return Expansion(database, declaration, interfaceValues).copyAll(name);
}

} // namespace orca::scene
