// SPDX-License-Identifier: Apache-2.0
#include "render/camera_placement.h"

#include <cmath>

namespace orca::render {

namespace {

miVector along(const miVector& point, const miVector& motion, float part) {
    return {point.x + part * motion.x, point.y + part * motion.y, point.z + part * motion.z};
}

} // namespace

CameraPlacement::CameraPlacement(const miInstance& instance) : moves_(instance.motion) {
    mi_matrix_copy(start_.toWorld, instance.tf.local_to_global);
    mi_matrix_copy(start_.fromWorld, instance.tf.global_to_local);
    end_ = start_;
    if (!moves_) return;
    mi_matrix_copy(end_.fromWorld, instance.motion_transform);
    // A camera that is flattened at the end of the shutter cannot be said to go anywhere.
    if (mi_matrix_invert(end_.toWorld, end_.fromWorld)) return;
    end_ = start_;
    moves_ = false;
}

void CameraPlacement::at(float time, CameraSpace& space) const {
    for (int i = 0; i < 16; ++i) space.toWorld[i] = std::lerp(start_.toWorld[i], end_.toWorld[i], time);
    if (!mi_matrix_invert(space.fromWorld, space.toWorld)) space = start_; // halfway through half a turn
}

miVector CameraPlacement::apparentMotion(const miVector& point, const miVector& motion, float time,
                                         const CameraSpace& now) const {
    const miVector first = along(point, motion, -time), last = along(point, motion, 1.0f - time);
    miVector seenFirst, seenLast, seen, result;
    mi_point_transform(&seenFirst, &first, start_.fromWorld);
    mi_point_transform(&seenLast, &last, end_.fromWorld);
    mi_vector_sub(&seen, &seenLast, &seenFirst);
    mi_vector_transform(&result, &seen, now.toWorld);
    return result;
}

} // namespace orca::render
