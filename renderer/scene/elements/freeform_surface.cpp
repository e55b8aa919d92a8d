// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/freeform_surface.h"

namespace orca::scene {

std::size_t Basis::pointsFor(std::size_t parameters) const {
    const auto order = static_cast<std::size_t>(degree) + 1;
    if (kind == Kind::BSpline) return parameters >= 2 * order ? parameters - order : 0;
    return parameters >= 2 ? (parameters - 2) * static_cast<std::size_t>(step) + order : 0;
}

float SplineDirection::firstParameter() const {
    return basis.kind == Basis::Kind::BSpline ? parameters[static_cast<std::size_t>(basis.degree)]
                                              : parameters.front();
}

float SplineDirection::lastParameter() const {
    return basis.kind == Basis::Kind::BSpline
               ? parameters[parameters.size() - 1 - static_cast<std::size_t>(basis.degree)]
               : parameters.back();
}

} // namespace orca::scene
