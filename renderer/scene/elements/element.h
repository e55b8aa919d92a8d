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
    bool isTemplate = false; ///< stands inside a phenomenon: only copies of it are ever used

protected:
    Element(const Element&) = default; // for kinds of which one statement stands for several elements
};

/// Text that parameters refer to by tag.
struct StringElement final : Element {
    static constexpr miScene_type elementType = miSCENE_STRING;
    explicit StringElement(std::string content) : Element(miSCENE_STRING), text(std::move(content)) {}
    void* record() override { return readable ? text.data() : nullptr; }
    [[nodiscard]] int recordSize() const override { return static_cast<int>(text.size()) + 1; }

    std::string text;
    bool readable = true; ///< false: an access gives null, as of an element that was lost (for tests)
};

/// A name that references resolve to and nothing reads: spectra, maps, colour profiles.
struct OtherElement final : Element {
    OtherElement() : Element(miSCENE_OTHER) {}
    std::string kind;
};

/// `instgroup`: instances in order.
struct GroupElement final : Element {
    static constexpr miScene_type elementType = miSCENE_GROUP;
    GroupElement() : Element(miSCENE_GROUP) {}
    void* record() override { return this; }
    [[nodiscard]] int recordSize() const override { return sizeof(GroupElement); }
    void visitReferences(const std::function<void(miTag)>& visit) const override;

    std::vector<miTag> members;
    miTag userdata = miNULLTAG;
    miUint label = 0;
};

/// `lightprofile`: measured intensity by direction.
struct LightProfileElement final : Element {
    LightProfileElement() : Element(miSCENE_LIGHTPROFILE) {}
    void* record() override { return this; }
    [[nodiscard]] int recordSize() const override { return sizeof(LightProfileElement); }

    enum class Format { Ies, Eulumdat };
    Format format = Format::Ies;
    std::string file;           ///< registry and environment references replaced
    std::string sceneDirectory; ///< where a relative file is looked for first
    int flags = 0;              ///< 1, 2: clockwise, counter-clockwise samples
    int hermite = 1;            ///< 1 linear, 3 cubic
};

} // namespace orca::scene
