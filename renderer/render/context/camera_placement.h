// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/instance_element.h"

#include <shader.h>

#include <vector>

namespace orca::render {

/// Camera space and internal space at one time of the shutter.
struct CameraSpace {
    miMatrix toWorld, fromWorld;
};

/// Where the camera stands over the unit shutter. Between the ends, or the ends of motion steps, its matrix
/// is interpolated entry by entry, as those of moving objects are.
class CameraPlacement {
public:
    /// `instance` of the camera, with the matrices of its whole path.
    explicit CameraPlacement(const scene::InstanceElement& instance);

    [[nodiscard]] bool moves() const { return moves_; }
    [[nodiscard]] const CameraSpace& start() const { return start_; }
    /// At `time`, 0 to 1.
    void at(float time, CameraSpace& space) const;

    /// What the camera sees of a point's way from `opening` to `closing`, where it is at the ends of the
    /// shutter: the displacement in camera space, turned into internal space by `now`, the camera at the time
    /// of the sample.
    [[nodiscard]] miVector apparentMotion(const miVector& opening, const miVector& closing,
                                          const CameraSpace& now) const;

private:
    CameraSpace start_, end_;
    std::vector<scene::InstanceElement::Matrix> steps_; ///< to world; empty: straight from start to end
    bool moves_;
};

} // namespace orca::render
