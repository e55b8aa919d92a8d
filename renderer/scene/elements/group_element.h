// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/element.h"

#include <vector>

namespace orca::scene {

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

} // namespace orca::scene
