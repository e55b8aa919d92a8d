// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

namespace orca::render {

/// Camera space and internal space at one time of the shutter.
struct CameraSpace {
    miMatrix toWorld, fromWorld;
};

/// Where the camera stands over the unit shutter. Between the ends its matrix is interpolated entry by entry,
/// as those of moving objects are.
class CameraPlacement {
public:
    /// `instance` of the camera, with the matrices of its whole path.
    explicit CameraPlacement(const miInstance& instance);

    [[nodiscard]] bool moves() const { return moves_; }
    [[nodiscard]] const CameraSpace& start() const { return start_; }
    /// At `time`, 0 to 1.
    void at(float time, CameraSpace& space) const;

    /// What the camera sees of a point's way: the displacement in camera space over the shutter, turned into
    /// internal space by `now`, the camera at `time`. `point` is where the point is at `time`, `motion` its
    /// own displacement.
    [[nodiscard]] miVector apparentMotion(const miVector& point, const miVector& motion, float time,
                                          const CameraSpace& now) const;

private:
    CameraSpace start_, end_;
    bool moves_;
};

} // namespace orca::render
