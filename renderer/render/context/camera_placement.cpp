// SPDX-License-Identifier: Apache-2.0
#include "render/context/camera_placement.h"

#include "geometry/shutter.h"

#include <cmath>

namespace orca::render {

CameraPlacement::CameraPlacement(const scene::InstanceElement& element)
    : steps_(element.motionPath), moves_(element.instance.motion) {
    const miInstance& instance = element.instance;
    mi_matrix_copy(start_.toWorld, instance.tf.local_to_global);
    mi_matrix_copy(start_.fromWorld, instance.tf.global_to_local);
    end_ = start_;
    if (!moves_) return;
    mi_matrix_copy(end_.fromWorld, instance.motion_transform);
    // A matrix that is singular at the end of the shutter has no motion to interpolate.
    if (mi_matrix_invert(end_.toWorld, end_.fromWorld)) return;
    end_ = start_;
    steps_.clear();
    moves_ = false;
}

void CameraPlacement::at(float time, CameraSpace& space) const {
    const miScalar *before = start_.toWorld, *after = end_.toWorld;
    if (!steps_.empty()) {
        const auto [index, part] = geometry::ShutterSegment::at(time, steps_.size() - 1);
        before = steps_[index].data();
        after = steps_[index + 1].data();
        time = part;
    }
    for (int i = 0; i < 16; ++i) space.toWorld[i] = std::lerp(before[i], after[i], time);
    if (!mi_matrix_invert(space.fromWorld, space.toWorld)) space = start_; // halfway through half a turn
}

miVector CameraPlacement::apparentMotion(const miVector& opening, const miVector& closing,
                                         const CameraSpace& now) const {
    miVector seenFirst, seenLast, seen, result;
    mi_point_transform(&seenFirst, &opening, start_.fromWorld);
    mi_point_transform(&seenLast, &closing, end_.fromWorld);
    mi_vector_sub(&seen, &seenLast, &seenFirst);
    mi_vector_transform(&result, &seen, now.toWorld);
    return result;
}

} // namespace orca::render
