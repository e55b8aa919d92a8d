// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"

#include <shader.h>

#include <functional>
#include <string>
#include <utility>

namespace orca::scene {

/// Anything in the database. `record` is what shaders get when they access its tag.
struct Element {
    explicit Element(miScene_type elementType) : type(elementType) {}
    virtual ~Element() = default;
    Element& operator=(const Element&) = delete;

    /// Null when the element has nothing that shaders may read.
    virtual void* record() { return nullptr; }
    /// Bytes of the record.
    [[nodiscard]] virtual int recordSize() const { return 0; }
    /// Calls `visit` with every tag that the element refers to; null tags may be among them.
    virtual void visitReferences(const std::function<void(miTag)>& visit) const { (void)visit; }

    miScene_type type;
    miTag tag = miNULLTAG;   ///< set when the database takes the element in
    std::string name;        ///< with its namespace; empty for anonymous elements
    SourceLocation location; ///< of the defining statement
    unsigned revision = 0;   ///< grows with every incremental change, and by `touch`
    bool isTemplate = false; ///< part of a phenomenon's declaration: only copies of it are used

protected:
    Element(const Element&) = default; // for kinds of which one statement makes several elements
};

} // namespace orca::scene
