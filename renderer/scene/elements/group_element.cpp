// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/group_element.h"

namespace orca::scene {

void GroupElement::visitReferences(const std::function<void(miTag)>& visit) const {
    for (const miTag member : members) visit(member);
    visit(userdata);
}

} // namespace orca::scene
