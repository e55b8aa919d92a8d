// SPDX-License-Identifier: Apache-2.0
#include "scene/making/hair_maker.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace orca::scene {

std::string HairMaker::addCode(bool ofVertices, char type, int count) {
    constexpr int most = 64;
    VertexLayout& layout = ofVertices ? list_.vertexLayout : list_.hairLayout;
    const auto claim = [&](int floats) { return std::exchange(layout.stride, layout.stride + floats); };
    if (type != 'n' && type != 'r' && (count < 1 || count > most))
        return fmt::format("code '{}' of {} numbers cannot be", type, count);
    switch (type) {
    case 'n': layout.normal = claim(3); return {};
    case 'r': layout.radius = claim(1); return {};
    case 't':
        layout.texture.push_back(claim(count));
        layout.textureDimension.push_back(count);
        return {};
    case 'u':
        layout.user.push_back(claim(count));
        layout.userDimension.push_back(count);
        return {};
    case 'm':
        if (!ofVertices) break;
        layout.motion = claim(3 * count);
        layout.motionCount = count;
        return {};
    default: break;
    }
    return fmt::format("there is no code '{}' of {} (codes are n, r, t, u, and m of vertices)", type,
                       ofVertices ? "vertices" : "hairs");
}

miScalar* HairMaker::beginScalars(int count) {
    list_.scalars.assign(count > 0 ? static_cast<std::size_t>(count) : 0, 0.0f);
    return list_.scalars.empty() ? nullptr : list_.scalars.data();
}

std::string HairMaker::endScalars(int used) {
    if (used < 0 || static_cast<std::size_t>(used) > list_.scalars.size())
        return fmt::format("{} scalars were filled of {}", used, list_.scalars.size());
    list_.scalars.resize(static_cast<std::size_t>(used));
    return {};
}

miGeoIndex* HairMaker::beginHairs(int count) {
    starts_.assign(count > 0 ? static_cast<std::size_t>(count) : 0, 0);
    return starts_.empty() ? nullptr : starts_.data();
}

std::string HairMaker::end(HairList& made) {
    if (record.degree < 1 || record.degree > 3)
        return fmt::format("the degree is 1, 2 or 3, not {}", record.degree);
    if (!(record.radius >= 0.0f && std::isfinite(record.radius)))
        return fmt::format("a radius cannot be {}", record.radius);
    list_.material = record.material;
    list_.radius = record.radius;
    list_.degree = record.degree;
    if (record.approx > 0) list_.pieces = std::min(record.approx, HairList::mostPieces);
    list_.round = record.round != miFALSE;
    const std::string fault = list_.setHairs({starts_.begin(), starts_.end()});
    made = std::move(list_);
    return fault;
}

} // namespace orca::scene
