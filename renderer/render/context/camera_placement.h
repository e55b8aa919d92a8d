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

/// The camera's transform over the unit shutter. Between the ends, or the ends of motion steps, its matrix is
/// interpolated entry by entry, as those of moving objects are.
class CameraPlacement {
public:
    /// `instance` of the camera, with the matrices of its whole path.
    explicit CameraPlacement(const scene::InstanceElement& instance);

    [[nodiscard]] bool moves() const { return moves_; }
    [[nodiscard]] const CameraSpace& start() const { return start_; }
    /// At `time`, 0 to 1.
    void at(float time, CameraSpace& space) const;

    /// Motion of a point relative to the camera, from `opening` to `closing`, its positions at the ends of
    /// the shutter: the displacement in camera space, transformed to internal space by `now`, the camera at
    /// the time of the sample.
    [[nodiscard]] miVector apparentMotion(const miVector& opening, const miVector& closing,
                                          const CameraSpace& now) const;

private:
    CameraSpace start_, end_;
    std::vector<scene::InstanceElement::Matrix> steps_; ///< to world; empty: straight from start to end
    bool moves_;
};

} // namespace orca::render
