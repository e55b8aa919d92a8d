// SPDX-License-Identifier: Apache-2.0
#include "scene/shader_list.h"

#include "scene/elements/elements.h"

#include <algorithm>

namespace orca::scene {

std::vector<miTag> shaderList(const Database& database, miTag first) {
    std::vector<miTag> members;
    while (const auto* const shader = database.find<FunctionElement>(first)) {
        if (std::find(members.begin(), members.end(), first) != members.end()) break;
        members.push_back(first);
        first = shader->function()->next_function;
    }
    return members;
}

miTag appendShaders(const Database& database, miTag list, miTag more) {
    const std::vector<miTag> members = shaderList(database, list);
    if (members.empty()) return more;
    database.find<FunctionElement>(members.back())->function()->next_function = more;
    return list;
}

} // namespace orca::scene
