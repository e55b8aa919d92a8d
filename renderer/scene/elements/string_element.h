// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/element.h"

#include <string>
#include <utility>

namespace orca::scene {

/// Text that parameters refer to by tag.
struct StringElement final : Element {
    static constexpr miScene_type elementType = miSCENE_STRING;
    explicit StringElement(std::string content) : Element(miSCENE_STRING), text(std::move(content)) {}
    void* record() override { return readable ? text.data() : nullptr; }
    [[nodiscard]] int recordSize() const override { return static_cast<int>(text.size()) + 1; }

    std::string text;
    bool readable = true; ///< false: an access gives null, as of an element that was lost (for tests)
};

} // namespace orca::scene
