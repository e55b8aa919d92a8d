// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/hair_list.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace orca::scene {

float HairList::radiusOf(const Hair& hair, std::size_t vertex) const {
    if (vertexLayout.radius >= 0) return vertexOf(hair, vertex)[vertexLayout.radius];
    return hairLayout.radius >= 0 ? scalars[hair.first + static_cast<std::size_t>(hairLayout.radius)]
                                  : radius;
}

std::string HairList::setHairs(const std::vector<std::int32_t>& starts) {
    hairs.clear();
    std::string fault;
    std::size_t faulty = 0;
    const auto leaveOut = [&](std::size_t hair, const std::string& why) {
        if (faulty++ == 0) fault = fmt::format("hair {} {}", hair, why);
    };
    const auto end = static_cast<std::int64_t>(scalars.size());
    const bool endIsGiven = !starts.empty() && starts.back() == end;
    const std::size_t count = starts.size() - (endIsGiven ? 1 : 0);
    hairs.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::int64_t first = starts[i], last = i + 1 < starts.size() ? starts[i + 1] : end;
        if (first < 0 || last > end || first >= last) {
            leaveOut(i, fmt::format("has the scalars from {} up to {} of {}", first, last, end));
            continue;
        }
        const std::int64_t ofVertices = last - first - hairLayout.stride;
        const std::int64_t vertices = ofVertices / vertexLayout.stride;
        if (ofVertices < 0 || ofVertices % vertexLayout.stride != 0) {
            leaveOut(i, fmt::format("has {} scalars: {} of its own and {} for each vertex do not make that",
                                    last - first, hairLayout.stride, vertexLayout.stride));
        } else if (vertices <= degree || (vertices - 1) % degree != 0) {
            leaveOut(i, fmt::format("has {} vertices: curves of degree {} have {}, {}, {} ...", vertices,
                                    degree, degree + 1, 2 * degree + 1, 3 * degree + 1));
        } else if (!std::all_of(scalars.begin() + first, scalars.begin() + last,
                                [](float number) { return std::isfinite(number); })) {
            leaveOut(i, "has a number that is not finite");
        } else {
            hairs.push_back({static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(vertices)});
        }
    }
    if (faulty > 0) fault += fmt::format("; {} of {} left out", faulty, count);
    return fault;
}

} // namespace orca::scene
