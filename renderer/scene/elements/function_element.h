// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/declarations/layout.h"
#include "scene/declarations/value.h"
#include "scene/elements/declaration_element.h"
#include "scene/elements/element.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace orca::scene {

/// A shader instance. Its record is one 16-byte aligned block: miFunction, the parameters and, when anything
/// is connected, the ghost table. `miFunction::ext` belongs to the shading room, `miFunction::lock` too.
struct FunctionElement final : Element {
    static constexpr miScene_type elementType = miSCENE_FUNCTION;
    explicit FunctionElement(const DeclarationElement& shaderDeclaration);
    void* record() override { return block_.get(); }
    [[nodiscard]] int recordSize() const override { return blockSize_; }
    void visitReferences(const std::function<void(miTag)>& visit) const override;

    [[nodiscard]] miFunction* function() { return reinterpret_cast<miFunction*>(block_.get()); }
    [[nodiscard]] const miFunction* function() const {
        return reinterpret_cast<const miFunction*>(block_.get());
    }
    /// The connection that the ghost word of a connected parameter denotes.
    [[nodiscard]] const Connection& connection(std::uint32_t ghostWord) const {
        return connections[ghostWord - 1];
    }

    /// Lays the values out again; the record moves, its header is kept. Call after changing `values`.
    void rebuild();

    const DeclarationElement* declaration;
    std::vector<Value> values; ///< one per declared parameter
    std::vector<Connection> connections;
    /// Last member of the list that the statement of this shader's name made; what lists that refer to the
    /// name append follows it. Null for shaders without a name.
    miTag listEnd = miNULLTAG;

private:
    std::unique_ptr<std::byte[]> block_; // operator new aligns to 16
    int blockSize_ = 0;
};

/// `data`: a block that elements carry. Its record is miUserdata, followed by the parameters.
struct UserdataElement final : Element {
    static constexpr miScene_type elementType = miSCENE_USERDATA;
    UserdataElement();
    void* record() override { return block_.get(); }
    [[nodiscard]] int recordSize() const override { return blockSize_; }
    void visitReferences(const std::function<void(miTag)>& visit) const override;

    [[nodiscard]] miUserdata* userdata() { return reinterpret_cast<miUserdata*>(block_.get()); }
    [[nodiscard]] const miUserdata* userdata() const {
        return reinterpret_cast<const miUserdata*>(block_.get());
    }
    /// Makes room for `size` bytes of content (zeroed) and copies them when `bytes` is not null; chain and
    /// label stay.
    void setContent(const void* bytes, std::size_t size);
    /// Lays `values` out by the declaration.
    void rebuild();

    const DeclarationElement* declaration = nullptr; ///< null for raw data
    std::vector<Value> values;                       ///< of declared data

private:
    std::unique_ptr<std::byte[]> block_;
    int blockSize_ = 0;
};

} // namespace orca::scene
