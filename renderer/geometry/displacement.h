// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/mesh.h"
#include "geometry/mesh_instance.h"
#include "geometry/tessellation/view.h"

#include "scene/elements/approximation.h"

#include <shader.h>

#include <cstddef>
#include <functional>

namespace orca::geometry {

/// A vertex whose displacement is asked for. Points, normals and the like are in the object's space.
struct DisplacementVertex {
    miVector point;
    miVector normal;          ///< unit
    const miVector* textures; ///< `textureSpaces` of them
    int textureSpaces;
    bool hasBump;
    miVector bumpX, bumpY; ///< of the first texture space
    miVector dPdu, dPdv;   ///< null where unknown
    miTag material;
};

/// Answers how far a vertex moves along its normal, in units of the object's space. Called from any thread.
using DisplacementShader = std::function<float(const MeshInstance&, const DisplacementVertex&)>;

/// How finely surfaces are refined, and how far vertices may move.
struct DisplacementLimits {
    scene::Approximation approximation{4.0f, true};
    float distance = 0.0f;             ///< object space units in either direction; 0: any
    std::size_t triangles = 32u << 20; ///< of one mesh
};

/// What `displace` reports.
struct DisplacementOutcome {
    bool stoppedEarly = false; ///< the limit of triangles was met; the surface is coarser than asked for
};

/// Refines the mesh of an instance, in object space, and moves its vertices. Edges are halved until they
/// appear short enough; whether one is depends on its two ends alone, so that triangles that share it, or
/// meet along it with vertices of their own, agree and no cracks open. Coincident vertices move together, by
/// the mean of their displacements. The result is the same for any number of threads.
///
/// Normals are computed from the moved triangles, smooth where the given ones were. Moving vertices keep the
/// displacement that they have at the start of the shutter.
DisplacementOutcome displace(Mesh& mesh, const MeshInstance& meshInstance, const TessellationView& view,
                             const DisplacementLimits& limits, const DisplacementShader& shader);

} // namespace orca::geometry
