// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "geometry/instructions.h"
#include "geometry/mesh.h"
#include "geometry/mesh_instance.h"
#include "geometry/ray.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace orca::geometry {

/// The ray-tracing kernel's scene over all mesh instances, which hits name by their index in the span; span
/// and meshes must outlive it unchanged. Meshes in world space are geometries of the top level, the others
/// are instanced there.
class RayKernel {
public:
    /// Throws std::bad_alloc or std::runtime_error when the kernel cannot take the scene.
    /// @param traceMotion rays see the scene at their own time; else at shutter time 0
    RayKernel(std::span<const MeshInstance> meshInstances, bool traceMotion, Instructions instructions,
              Log& log);
    ~RayKernel();
    RayKernel(const RayKernel&) = delete;
    RayKernel& operator=(const RayKernel&) = delete;

    /// A mesh instance that the kernel cannot take, so that no ray meets it, and why.
    struct LeftOut {
        std::uint32_t meshInstance;
        std::string reason;
    };
    [[nodiscard]] const std::vector<LeftOut>& leftOut() const { return leftOut_; }

    bool intersect(const Ray& ray, Hit& hit) const;
    [[nodiscard]] bool occluded(const Ray& ray) const;
    /// The time at which a ray is traced: within the shutter, and never one at which an instance is singular.
    [[nodiscard]] float timeOf(const Ray& ray) const;
    /// Over the whole shutter; both at the origin when there is nothing.
    void bounds(miVector& lower, miVector& upper) const;

    struct Implementation;

private:
    std::unique_ptr<Implementation> implementation_;
    std::vector<LeftOut> leftOut_;
};

} // namespace orca::geometry
