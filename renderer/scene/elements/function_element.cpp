// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/function_element.h"

#include <cstring>
#include <new>

namespace orca::scene {

static_assert(sizeof(miFunction) % 16 == 0, "parameters start 16-byte aligned");
static_assert(__STDCPP_DEFAULT_NEW_ALIGNMENT__ >= 16);

namespace {

void visitTags(const std::vector<Parameter>& parameters, const std::vector<Value>& values,
               const std::function<void(miTag)>& visit);

void visitTags(const Parameter& parameter, const Value& value, const std::function<void(miTag)>& visit) {
    if (value.kind == Value::Kind::Connection) {
        visit(value.connection.source);
    } else if (value.kind == Value::Kind::Array && !value.items.empty()) {
        for (const Value& item : value.items) visitTags(parameter, item, visit);
    } else if (parameter.type == miTYPE_STRUCT) {
        visitTags(parameter.members, value.items, visit);
    } else if (isTagType(parameter.type)) {
        for (const std::uint32_t tag : value.words) visit(tag);
    }
}

void visitTags(const std::vector<Parameter>& parameters, const std::vector<Value>& values,
               const std::function<void(miTag)>& visit) {
    for (std::size_t i = 0; i < parameters.size() && i < values.size(); ++i) {
        visitTags(parameters[i], values[i], visit);
    }
}

} // namespace

FunctionElement::FunctionElement(const DeclarationElement& shaderDeclaration)
    : Element(miSCENE_FUNCTION),
      declaration(&shaderDeclaration),
      values(shaderDeclaration.parameters.size()) {
    rebuild();
}

void FunctionElement::rebuild() {
    LaidOutBlock laidOut = layOutBlock(declaration->parameters, values);
    const std::size_t parameterSize = laidOut.words.size() * sizeof(std::uint32_t);
    const std::size_t size = sizeof(miFunction) + parameterSize * (laidOut.ghosts.empty() ? 1 : 2);
    auto block = std::make_unique<std::byte[]>(size);
    auto* header = new (block.get()) miFunction{};
    if (block_) *header = *function();
    header->function_decl = declaration->tag;
    header->parameter_size = static_cast<int>(parameterSize);
    header->result_size = declaration->result.size();
    header->ghost_offs = laidOut.ghosts.empty() ? 0 : static_cast<int>(parameterSize);
    if (parameterSize) {
        std::memcpy(header->parameters, laidOut.words.data(), parameterSize);
        if (!laidOut.ghosts.empty()) {
            std::memcpy(header->parameters + parameterSize, laidOut.ghosts.data(), parameterSize);
        }
    }
    connections = std::move(laidOut.connections);
    block_ = std::move(block);
    blockSize_ = static_cast<int>(size);
}

void FunctionElement::visitReferences(const std::function<void(miTag)>& visit) const {
    visit(function()->function_decl);
    visit(function()->next_function);
    visit(function()->parameter_indirect);
    visitTags(declaration->parameters, values, visit);
}

UserdataElement::UserdataElement() : Element(miSCENE_USERDATA) {
    setContent(nullptr, 0);
}

void UserdataElement::setContent(const void* bytes, std::size_t size) {
    const std::size_t whole = sizeof(miUserdata) + size;
    auto block = std::make_unique<std::byte[]>(whole);
    auto* header = new (block.get()) miUserdata{};
    if (block_) *header = *userdata();
    header->data_decl = declaration ? declaration->tag : miNULLTAG;
    header->parameter_size = static_cast<int>(size);
    header->one = 1;
    if (bytes && size) std::memcpy(header->parameters, bytes, size);
    block_ = std::move(block);
    blockSize_ = static_cast<int>(whole);
}

void UserdataElement::rebuild() {
    const LaidOutBlock laidOut = layOutBlock(declaration->parameters, values);
    setContent(laidOut.words.data(), laidOut.words.size() * sizeof(std::uint32_t));
}

void UserdataElement::visitReferences(const std::function<void(miTag)>& visit) const {
    visit(userdata()->data_decl);
    visit(userdata()->next_data);
    if (declaration) visitTags(declaration->parameters, values, visit);
}

} // namespace orca::scene
