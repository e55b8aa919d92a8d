// SPDX-License-Identifier: Apache-2.0
#include "scene/phenomenon.h"

#include "scene/database.h"
#include "scene/elements.h"

#include <map>

namespace orca::scene {

namespace {

/// The value that a parameter has when nobody gives one, spelled out: where it is handed on, the receiver's
/// own default must not take its place.
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

    miTag copyParts(const std::string& name, std::vector<PhenomenonBody::Part>* copies) {
        for (const PhenomenonBody::Part& part : declaration_.body->parts) {
            const miTag copy = copyPart(part, name);
            copies_[part.tag] = copy;
            if (copies) copies->push_back({{}, copy});
        }
        // Links run forward as well, so they are redirected once all copies are there.
        for (const auto& [original, copy] : copies_) {
            if (auto* function = database_.find<FunctionElement>(copy)) {
                function->function()->next_function = copied(function->function()->next_function);
                function->function()->parameter_indirect = copied(function->function()->parameter_indirect);
            }
        }
        return copied(declaration_.body->root);
    }

private:
    [[nodiscard]] miTag copied(miTag tag) const {
        const auto found = copies_.find(tag);
        return found == copies_.end() ? tag : found->second;
    }

    miTag copyPart(const PhenomenonBody::Part& part, const std::string& name) {
        const auto* original = database_.find<FunctionElement>(part.tag);
        auto copy = std::make_unique<FunctionElement>(*original->declaration);
        copy->place = original->place;
        if (!part.name.empty()) copy->name = name + "::" + part.name;
        for (std::size_t i = 0; i < copy->values.size(); ++i) {
            copy->values[i] = substituted(original->declaration->parameters[i], original->values[i]);
        }
        copy->rebuild();
        copy->function()->next_function = original->function()->next_function;
        copy->function()->parameter_indirect = original->function()->parameter_indirect;
        return database_.add(std::move(copy));
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

miTag expandPhenomenon(Database& database, const DeclarationElement& declaration,
                       const std::vector<Value>& interfaceValues, const std::string& name,
                       std::vector<PhenomenonBody::Part>* copies) {
    return Expansion(database, declaration, interfaceValues).copyParts(name, copies);
}

} // namespace orca::scene
