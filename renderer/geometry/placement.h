// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/transform.h"
#include "base/vectors.h"
#include "geometry/mesh_instance.h"
#include "geometry/shutter.h"

#include <cstddef>

namespace orca::geometry {

/// Transforms of a mesh instance at one time of the shutter, from the space of its mesh to the world.
class Placement {
public:
    Placement(const MeshInstance& meshInstance, float time) : meshInstance_(meshInstance) {
        if (meshInstance.placedInWorld || !meshInstance.transformMoves || time == 0.0f) return;
        moved_ = true;
        if (meshInstance.motionPath.empty()) {
            blend(meshInstance.instanceRecord->tf.local_to_global, meshInstance.localToGlobalAtEnd, time);
            return;
        }
        const auto [index, part] = ShutterSegment::at(time, meshInstance.motionPath.size() - 1);
        blend(meshInstance.motionPath[index].data(), meshInstance.motionPath[index + 1].data(), part);
    }
    [[nodiscard]] miVector point(const miVector& p) const {
        return meshInstance_.placedInWorld ? p : transformPoint(p, matrix());
    }
    [[nodiscard]] miVector vector(const miVector& v) const {
        return meshInstance_.placedInWorld ? v : transformVector(v, matrix());
    }
    /// For derivatives, which are in object space even where the mesh is in world space.
    [[nodiscard]] miVector objectVector(const miVector& v) const { return transformVector(v, matrix()); }
    /// Through the transposed inverse; not unit.
    [[nodiscard]] miVector normal(const miVector& n) const {
        if (meshInstance_.placedInWorld) return n;
        if (!moved_) return transformNormal(n, meshInstance_.instanceRecord->tf.global_to_local);
        // Cofactors are the transposed inverse times the determinant, whose sign alone matters here.
        const miVector x{matrix_[0], matrix_[1], matrix_[2]}, y{matrix_[4], matrix_[5], matrix_[6]},
            z{matrix_[8], matrix_[9], matrix_[10]};
        const miVector sum = n.x * cross(y, z) + (n.y * cross(z, x) + n.z * cross(x, y));
        return dot(x, cross(y, z)) < 0.0f ? -1.0f * sum : sum;
    }

private:
    void blend(const miScalar* before, const miScalar* after, float part) {
        for (std::size_t i = 0; i < 16; ++i) matrix_[i] = (1.0f - part) * before[i] + part * after[i];
    }
    [[nodiscard]] const miScalar* matrix() const {
        return moved_ ? matrix_ : meshInstance_.instanceRecord->tf.local_to_global;
    }
    const MeshInstance& meshInstance_;
    bool moved_ = false;
    miMatrix matrix_;
};

} // namespace orca::geometry
