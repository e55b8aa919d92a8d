// SPDX-License-Identifier: Apache-2.0
#include "bare_rays.h"

#include "geometry/mesh.h"
#include "geometry/scene_geometry.h"
#include "render/context/camera_placement.h"
#include "render/context/light_instances.h"

#include <embree3/rtcore.h>

#include <chrono>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <vector>

namespace orca::bench {

namespace {

struct BareLight {
    miVector position; // world space; of a directional light, the direction toward it
    bool directional;
};

RTCRay rayFrom(const miVector& origin, const miVector& direction, float nearest, float farthest) {
    RTCRay ray{};
    ray.org_x = origin.x, ray.org_y = origin.y, ray.org_z = origin.z;
    ray.dir_x = direction.x, ray.dir_y = direction.y, ray.dir_z = direction.z;
    ray.tnear = nearest;
    ray.tfar = farthest;
    ray.mask = 0xFFFFFFFFu;
    return ray;
}

float dot(const miVector& a, const miVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

} // namespace

struct BareRays::Implementation {
    RTCDevice device = nullptr;
    RTCScene kernelScene = nullptr;
    miCamera camera{};
    miMatrix cameraToWorld{};
    std::vector<BareLight> lights;

    ~Implementation() {
        if (kernelScene) rtcReleaseScene(kernelScene);
        if (device) rtcReleaseDevice(device);
    }

    void add(const geometry::MeshInstance& meshInstance) {
        const geometry::Mesh& mesh = *meshInstance.mesh;
        if (mesh.triangles.empty()) return;
        RTCGeometry triangles = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
        auto* points = static_cast<miVector*>(rtcSetNewGeometryBuffer(
            triangles, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, sizeof(miVector), mesh.points.size()));
        for (std::size_t i = 0; i < mesh.points.size(); ++i) {
            points[i] = mesh.points[i];
            if (!meshInstance.placedInWorld)
                mi_point_transform(&points[i], &mesh.points[i],
                                   meshInstance.instanceRecord->tf.local_to_global);
        }
        void* indices = rtcSetNewGeometryBuffer(triangles, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                                                sizeof(geometry::Mesh::Triangle), mesh.triangles.size());
        std::memcpy(indices, mesh.triangles.data(), mesh.triangles.size() * sizeof(geometry::Mesh::Triangle));
        rtcCommitGeometry(triangles);
        rtcAttachGeometry(kernelScene, triangles);
        rtcReleaseGeometry(triangles);
    }

    [[nodiscard]] bool lit(const BareLight& light, const miVector& point, const miVector& facing,
                           Result& result) const {
        miVector toLight = light.position;
        float farthest = std::numeric_limits<float>::infinity();
        if (!light.directional) {
            toLight = {light.position.x - point.x, light.position.y - point.y, light.position.z - point.z};
            farthest = 0.9999f; // in lengths of `toLight`
        }
        if (dot(toLight, facing) <= 0.0f) return false;
        ++result.shadow;
        RTCRay ray = rayFrom(point, toLight, 1e-4f, farthest);
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        rtcOccluded1(kernelScene, &context, &ray);
        return ray.tfar >= 0.0f;
    }
};

BareRays::BareRays(LoadedScene& scene) : implementation_(std::make_unique<Implementation>()) {
    Implementation& bare = *implementation_;
    const auto elements = render::pictureElements(scene.database(), scene.request(), scene.log());
    if (!elements) throw std::runtime_error("the scene's render statement names too little");

    // The renderer's own scene graph traversal, so that both have the same triangles.
    const geometry::SceneGeometry sceneGeometry(scene.database(), scene.log(), elements->group,
                                                elements->options->options, 0);
    bare.device = rtcNewDevice(nullptr);
    bare.kernelScene = rtcNewScene(bare.device);
    for (const geometry::MeshInstance& meshInstance : sceneGeometry.meshInstances()) bare.add(meshInstance);
    rtcCommitScene(bare.kernelScene);

    bare.camera = elements->camera->camera;
    const render::CameraPlacement placement(
        *scene.database().find<scene::InstanceElement>(elements->cameraInstance));
    mi_matrix_copy(bare.cameraToWorld, placement.start().toWorld);
    const render::LightInstances lights(scene.database(), sceneGeometry.lights());
    for (const render::LightInstance& light : lights.all()) {
        const miVector& direction = light.direction;
        if (light.directional()) bare.lights.push_back({{-direction.x, -direction.y, -direction.z}, true});
        else bare.lights.push_back({light.origin, false});
    }
}

BareRays::~BareRays() = default;

BareRays::Result BareRays::trace() const {
    const Implementation& bare = *implementation_;
    const miCamera& camera = bare.camera;
    const miScalar* toWorld = bare.cameraToWorld;
    const miVector eye{toWorld[12], toWorld[13], toWorld[14]};
    Result result;
    const auto start = std::chrono::steady_clock::now();
    for (int y = 0; y < camera.y_resolution; ++y)
        for (int x = 0; x < camera.x_resolution; ++x) {
            const float u = (static_cast<float>(x) + 0.5f) / static_cast<float>(camera.x_resolution) - 0.5f;
            const float v = (static_cast<float>(y) + 0.5f) / static_cast<float>(camera.y_resolution) - 0.5f;
            const miVector inCamera{camera.aperture * u, camera.aperture / camera.aspect * v, -camera.focal};
            miVector direction;
            mi_vector_transform(&direction, &inCamera, toWorld);
            mi_vector_normalize(&direction);

            RTCRayHit query{};
            query.ray = rayFrom(eye, direction, 0.0f, std::numeric_limits<float>::infinity());
            query.hit.geomID = query.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
            RTCIntersectContext context;
            rtcInitIntersectContext(&context);
            rtcIntersect1(bare.kernelScene, &context, &query);
            ++result.primary;
            if (query.hit.geomID == RTC_INVALID_GEOMETRY_ID) continue;
            ++result.hits;
            const float distance = query.ray.tfar;
            const miVector point{eye.x + distance * direction.x, eye.y + distance * direction.y,
                                 eye.z + distance * direction.z};
            miVector facing{query.hit.Ng_x, query.hit.Ng_y, query.hit.Ng_z};
            if (dot(facing, direction) > 0.0f) facing = {-facing.x, -facing.y, -facing.z};
            for (const BareLight& light : bare.lights)
                if (bare.lit(light, point, facing, result)) ++result.lit;
        }
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

} // namespace orca::bench
