// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/file_pattern.h"

#include <fmt/format.h>

#include <algorithm>

namespace orca::scene {

bool hasFramePattern(std::string_view name) {
    return name.find('#') != std::string_view::npos;
}

std::string withFrame(std::string_view pattern, int frame) {
    std::string name;
    for (std::size_t at = 0; at < pattern.size();) {
        if (pattern[at] != '#') {
            name += pattern[at++];
            continue;
        }
        const std::size_t end = std::min(pattern.find_first_not_of('#', at), pattern.size());
        name += fmt::format("{:0{}}", frame, end - at);
        at = end;
    }
    return name;
}

} // namespace orca::scene
