// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/displacement.h"
#include "geometry/instructions.h"
#include "geometry/mesh_instance.h"
#include "geometry/ray.h"
#include "geometry/surface_point.h"

#include "base/log.h"
#include "scene/database.h"
#include "scene/elements/options_element.h"

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace orca::geometry {

/// What decides how finely curved surfaces are tessellated, besides what their objects say.
struct SurfaceTessellation {
    const miCamera* camera = nullptr; ///< null: limits in pixels have no effect
    miTag cameraInstance = miNULLTAG;
    const scene::OptionsElement* overrides = nullptr; ///< what the options say of all objects
};

/// Everything that rays can meet below a root group, with placements and inherited settings resolved, ready
/// for tracing; and the light instances there. Built once per picture; const, and safe from any thread,
/// afterwards.
class SceneGeometry {
public:
    /// With displacement still to come, `finish` must be called before any ray is cast.
    enum class Displacement { None, StillToCome };

    /// Flattens the scene graph below `rootGroup` and fills the records of the instances on its paths; an
    /// instance that several paths reach gets one more element for each further path. Those live as long as
    /// this object, so the database must outlive it. Scene faults become messages; the faulty part is left
    /// out. `threads` limits the threads that build the acceleration structures, 0 takes all; hits do not
    /// depend on it. Rays see things move only when `options.motion` is on.
    /// @param tessellation read by the constructor only
    SceneGeometry(scene::Database& database, Log& log, miTag rootGroup, const miOptions& options, int threads,
                  Displacement displacement = Displacement::None,
                  const SurfaceTessellation& tessellation = {},
                  Instructions instructions = Instructions::OfThisProcessor);
    ~SceneGeometry();
    SceneGeometry(const SceneGeometry&) = delete;
    SceneGeometry& operator=(const SceneGeometry&) = delete;

    /// Displaces the mesh instances whose materials have displacement shaders and makes everything ready for
    /// tracing. Without this call, and with displacement switched off in the options, they stay as modelled.
    /// `shader` is called on the threads of an arena of at most `threads`.
    /// @param overrides what the options say of all objects; null: nothing
    void finish(const TessellationView& view, const DisplacementShader& shader,
                const scene::OptionsElement* overrides = nullptr);

    /// Closest hit within the ray's range.
    [[nodiscard]] bool intersect(const Ray& ray, Hit& hit) const;
    /// True when anything that the ray's class can meet lies within the range.
    [[nodiscard]] bool occluded(const Ray& ray) const;

    /// Interpolated surface at a hit, in internal space. Normals are as modelled: not flipped toward the ray.
    /// `textureCoordinates` receives as many entries as the mesh has texture spaces; it has room for
    /// maxTextureSpaces().
    void surfaceAt(const Ray& ray, const Hit& hit, SurfacePoint& point, miVector* textureCoordinates) const;

    [[nodiscard]] std::span<const MeshInstance> meshInstances() const;
    [[nodiscard]] int maxTextureSpaces() const;

    /// All light instances in scene-graph order.
    [[nodiscard]] std::span<const miTag> lights() const;
    /// Lights that illuminate a mesh instance: its list, all but its exclusive list, or all.
    [[nodiscard]] std::span<const miTag> lightsOf(const MeshInstance& meshInstance) const;
    /// False when the instance's shadow links exempt it from this light's shadows. Constant time.
    [[nodiscard]] bool castsShadowOf(const MeshInstance& meshInstance, miTag lightInstance) const;

    /// The meshes of what a light names as its emitter, an instance with all below it or an object, those
    /// that rays see first, each in scene-graph order. Those that no ray sees are not displaced.
    [[nodiscard]] std::vector<const MeshInstance*> emittingMeshes(miTag emitter) const;

    /// The light instances of a list, groups replaced by their members, each once.
    [[nodiscard]] std::vector<miTag> expandLights(const std::vector<miTag>& entries) const;
    /// Material of surfaces that the scene gives none; it has no shader, and is shaded as plain grey.
    [[nodiscard]] miTag defaultMaterial() const;

    /// Bounds of everything, internal space, over the whole shutter. Empty scene: both at the origin.
    [[nodiscard]] miVector boundsMin() const;
    [[nodiscard]] miVector boundsMax() const;
    /// True when any mesh instance moves or deforms over the shutter.
    [[nodiscard]] bool moves() const;
    [[nodiscard]] std::size_t triangleCount() const;
    [[nodiscard]] std::size_t hairSegmentCount() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace orca::geometry
