// SPDX-License-Identifier: Apache-2.0
#include "geometry/ray_kernel.h"

#include "base/vectors.h"
#include "geometry/kernel_reach.h"
#include "geometry/singular_times.h"

#include <embree3/rtcore.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace orca::geometry {

namespace {

#if defined(__x86_64__)
constexpr const char* commonInstructions = "isa=sse2";
#else
constexpr const char* commonInstructions = nullptr; // the kernel has one set only
#endif
constexpr unsigned int everyClass = 0xFFFFFFFFu;

/// Errors of the kernel's library.
struct DeviceErrors {
    Log* log = nullptr;
    std::atomic<bool> outOfMemory{false}, any{false};
};

void noteDeviceError(void* user, RTCError code, const char* text) {
    auto& errors = *static_cast<DeviceErrors*>(user);
    errors.any = true;
    if (code == RTC_ERROR_OUT_OF_MEMORY) errors.outOfMemory = true;
    const std::string message = fmt::format("ray-tracing kernel: {} (code {})", text, static_cast<int>(code));
    errors.log->once(message, {LogLevel::Error, "GEOM", 0, message, {}});
}

[[nodiscard]] std::uint32_t meshInstanceOf(const RTCHit& hit) {
    return hit.instID[0] != RTC_INVALID_GEOMETRY_ID ? hit.instID[0] : hit.geomID;
}

/// Drops hits on the side of an instance that its `face` hides. Installed only where one hides a side.
void hideFace(const RTCFilterFunctionNArguments* arguments) {
    const auto* const meshInstances = static_cast<const MeshInstance*>(arguments->geometryUserPtr);
    for (unsigned int i = 0; i < arguments->N; ++i) {
        if (arguments->valid[i] == 0) continue;
        const unsigned int instance = RTCHitN_instID(arguments->hit, arguments->N, i, 0);
        const MeshInstance& meshInstance =
            meshInstances[instance != RTC_INVALID_GEOMETRY_ID
                              ? instance
                              : RTCHitN_geomID(arguments->hit, arguments->N, i)];
        // Both are in the space of the mesh: object space below an instance.
        const float along =
            RTCHitN_Ng_x(arguments->hit, arguments->N, i) * RTCRayN_dir_x(arguments->ray, arguments->N, i) +
            RTCHitN_Ng_y(arguments->hit, arguments->N, i) * RTCRayN_dir_y(arguments->ray, arguments->N, i) +
            RTCHitN_Ng_z(arguments->hit, arguments->N, i) * RTCRayN_dir_z(arguments->ray, arguments->N, i);
        const bool turned = meshInstance.placedInWorld && meshInstance.mirrored;
        const bool front = turned ? along > 0.0f : along < 0.0f;
        if ((meshInstance.face == 'f' && !front) || (meshInstance.face == 'b' && front))
            arguments->valid[i] = 0;
    }
}

/// True for the triangle that a ray starts on, and for a segment of a hair and its neighbours.
[[nodiscard]] bool isStart(const Mesh& mesh, std::uint32_t hit, std::uint32_t start) {
    return mesh.hair ? mesh.hair->touch(hit, start) : hit == start;
}

/// A shadow ray with a triangle that it must not count.
struct SkippingContext {
    RTCIntersectContext context;
    std::uint32_t meshInstance, triangle;
    const Mesh* mesh;
};

void skipTriangle(const RTCFilterFunctionNArguments* arguments) {
    const auto* const skipping = reinterpret_cast<const SkippingContext*>(arguments->context);
    for (unsigned int i = 0; i < arguments->N; ++i) {
        if (arguments->valid[i] == 0) continue;
        const unsigned int instance = RTCHitN_instID(arguments->hit, arguments->N, i, 0);
        const unsigned int meshInstance =
            instance != RTC_INVALID_GEOMETRY_ID ? instance : RTCHitN_geomID(arguments->hit, arguments->N, i);
        if (meshInstance == skipping->meshInstance &&
            isStart(*skipping->mesh, RTCHitN_primID(arguments->hit, arguments->N, i), skipping->triangle))
            arguments->valid[i] = 0;
    }
}

} // namespace

struct RayKernel::Implementation {
    RTCDevice device = nullptr;
    RTCScene top = nullptr;
    std::vector<RTCScene> instanced;
    bool traceMotion = false;
    SingularTimes singularTimes;
    const MeshInstance* meshInstances = nullptr;
    RayReach reach;
    DeviceErrors errors;

    ~Implementation() {
        if (top) rtcReleaseScene(top);
        for (const RTCScene scene : instanced) rtcReleaseScene(scene);
        if (device) rtcReleaseDevice(device);
    }
    /// False for a null direction and for not-a-numbers of shaders, and with a message for what is beyond the
    /// kernel's reach.
    [[nodiscard]] bool takes(const Ray& ray) const {
        // No component is larger than the length; false for sums that overflow and for not-a-numbers.
        const float length = dot(ray.direction, ray.direction), place = dot(ray.origin, ray.origin);
        return (length > 0.0f && length <= reach.direction * reach.direction &&
                place <= reach.origin * reach.origin && ray.farDistance == ray.farDistance) ||
               takesExtreme(ray);
    }
    [[nodiscard]] bool takesExtreme(const Ray& ray) const;
    /// @param extra further flags
    [[nodiscard]] RTCScene newScene(unsigned int extra = RTC_SCENE_FLAG_NONE) const {
        const RTCScene scene = rtcNewScene(device);
        // Robust: no light leaks through the edges between triangles. The filter is for rays whose context
        // has one.
        rtcSetSceneFlags(scene, static_cast<RTCSceneFlags>(RTC_SCENE_FLAG_ROBUST |
                                                           RTC_SCENE_FLAG_CONTEXT_FILTER_FUNCTION | extra));
        // Not the quality with spatial splits: those come in an order that depends on the threads, and with
        // them which of two triangles answers for a ray that meets both at the same distance.
        rtcSetSceneBuildQuality(scene, RTC_BUILD_QUALITY_MEDIUM);
        return scene;
    }

    [[nodiscard]] RTCGeometry newTriangles(const Mesh& mesh) const {
        const RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
        const bool deforms = traceMotion && mesh.deforms();
        if (deforms)
            rtcSetGeometryTimeStepCount(geometry, static_cast<unsigned int>(1 + mesh.laterPoints.size()));
        rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                                   mesh.triangles.data(), 0, sizeof(Mesh::Triangle), mesh.triangles.size());
        rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, mesh.points.data(),
                                   0, sizeof(miVector), mesh.points.size());
        for (unsigned int i = 0; deforms && i < mesh.laterPoints.size(); ++i) {
            const std::vector<miVector>& points = mesh.laterPoints[i];
            rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 1 + i, RTC_FORMAT_FLOAT3,
                                       points.data(), 0, sizeof(miVector), points.size());
        }
        return geometry;
    }

    [[nodiscard]] RTCGeometry newCurves(const HairSegments& hair) const {
        const bool lines = hair.degree == 1;
        const RTCGeometryType kind =
            hair.list->round
                ? (lines ? RTC_GEOMETRY_TYPE_ROUND_LINEAR_CURVE : RTC_GEOMETRY_TYPE_ROUND_BEZIER_CURVE)
                : (lines ? RTC_GEOMETRY_TYPE_FLAT_LINEAR_CURVE : RTC_GEOMETRY_TYPE_FLAT_BEZIER_CURVE);
        const RTCGeometry geometry = rtcNewGeometry(device, kind);
        const auto setPoints = [&](unsigned int step, const std::vector<HairSegments::Point>& points) {
            rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, step, RTC_FORMAT_FLOAT4,
                                       points.data(), 0, sizeof(HairSegments::Point), points.size());
        };
        const bool deforms = traceMotion && !hair.laterPoints.empty();
        if (deforms)
            rtcSetGeometryTimeStepCount(geometry, static_cast<unsigned int>(1 + hair.laterPoints.size()));
        rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT,
                                   hair.firstPoints.data(), 0, sizeof(std::uint32_t),
                                   hair.firstPoints.size());
        if (!hair.neighbours.empty())
            rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_FLAGS, 0, RTC_FORMAT_UCHAR,
                                       hair.neighbours.data(), 0, 1, hair.neighbours.size());
        if (!lines && !hair.list->round)
            rtcSetGeometryTessellationRate(geometry, static_cast<float>(hair.list->pieces));
        setPoints(0, hair.points);
        for (unsigned int i = 0; deforms && i < hair.laterPoints.size(); ++i)
            setPoints(1 + i, hair.laterPoints[i]);
        return geometry;
    }

    void hideFaces(RTCGeometry geometry) const {
        rtcSetGeometryUserData(geometry, const_cast<MeshInstance*>(meshInstances));
        rtcSetGeometryIntersectFilterFunction(geometry, hideFace);
        rtcSetGeometryOccludedFilterFunction(geometry, hideFace);
    }

    /// The mesh's own scene, for its instances.
    [[nodiscard]] RTCScene sceneOf(const Mesh& mesh, bool hidesFaces) {
        // Millions of hairs are what fills memory.
        const RTCScene scene = newScene(mesh.hair ? RTC_SCENE_FLAG_COMPACT : RTC_SCENE_FLAG_NONE);
        const RTCGeometry geometry = mesh.hair ? newCurves(*mesh.hair) : newTriangles(mesh);
        rtcSetGeometryMask(geometry, everyClass); // the instances decide
        if (hidesFaces && !mesh.hair) hideFaces(geometry);
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(scene, geometry);
        rtcReleaseGeometry(geometry);
        rtcCommitScene(scene);
        instanced.push_back(scene);
        return scene;
    }

    [[nodiscard]] RTCGeometry newInstance(RTCScene scene, const MeshInstance& meshInstance) const {
        const RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_INSTANCE);
        rtcSetGeometryInstancedScene(geometry, scene);
        // A row-major matrix for row vectors lies in memory as a column-major one for column vectors.
        const bool moves = traceMotion && meshInstance.transformMoves;
        const auto setTransform = [&](unsigned int step, const float* matrix) {
            rtcSetGeometryTransform(geometry, step, RTC_FORMAT_FLOAT4X4_COLUMN_MAJOR, matrix);
        };
        if (moves && !meshInstance.motionPath.empty()) {
            const auto steps = static_cast<unsigned int>(meshInstance.motionPath.size());
            rtcSetGeometryTimeStepCount(geometry, steps);
            for (unsigned int i = 0; i < steps; ++i) setTransform(i, meshInstance.motionPath[i].data());
            return geometry;
        }
        rtcSetGeometryTimeStepCount(geometry, moves ? 2 : 1);
        setTransform(0, meshInstance.instanceRecord->tf.local_to_global);
        if (moves) setTransform(1, meshInstance.localToGlobalAtEnd);
        return geometry;
    }

    void findSingularTimes(const MeshInstance& meshInstance) {
        if (meshInstance.motionPath.empty())
            singularTimes.add(meshInstance.instanceRecord->tf.local_to_global,
                              meshInstance.localToGlobalAtEnd, 0.0f, 1.0f);
        const auto timeOfStep = [&](std::size_t i) {
            return static_cast<float>(i) / static_cast<float>(meshInstance.motionPath.size() - 1);
        };
        for (std::size_t i = 1; i < meshInstance.motionPath.size(); ++i)
            singularTimes.add(meshInstance.motionPath[i - 1].data(), meshInstance.motionPath[i].data(),
                              timeOfStep(i - 1), timeOfStep(i));
    }
};

RayKernel::RayKernel(std::span<const MeshInstance> meshInstances, bool traceMotion, Instructions instructions,
                     Log& log)
    : implementation_(std::make_unique<Implementation>()) {
    Implementation& kernel = *implementation_;
    kernel.traceMotion = traceMotion;
    kernel.meshInstances = meshInstances.data();
    kernel.errors.log = &log;
    kernel.device =
        rtcNewDevice(instructions == Instructions::OfEveryProcessor ? commonInstructions : nullptr);
    if (!kernel.device) {
        log.error("GEOM", "the ray-tracing kernel does not start (code {}); nothing can be hit",
                  static_cast<int>(rtcGetDeviceError(nullptr)));
        return;
    }
    rtcSetDeviceErrorFunction(kernel.device, noteDeviceError, &kernel.errors);

    std::unordered_set<const Mesh*> meshesWithHiddenFaces;
    for (const MeshInstance& meshInstance : meshInstances)
        if (meshInstance.face != 'a') meshesWithHiddenFaces.insert(meshInstance.mesh);

    kernel.top = kernel.newScene();
    std::unordered_map<const Mesh*, RTCScene> scenes;
    std::unordered_map<const Mesh*, float> extents;
    for (std::uint32_t i = 0; i < meshInstances.size(); ++i) {
        const MeshInstance& meshInstance = meshInstances[i];
        const auto [extent, isNew] = extents.try_emplace(meshInstance.mesh, 0.0f);
        if (isNew) extent->second = extentOf(*meshInstance.mesh);
        if (std::string reason = whyOutOfReach(meshInstance, extent->second, traceMotion, kernel.reach);
            !reason.empty()) {
            leftOut_.push_back({i, std::move(reason)});
            continue;
        }
        const bool hidesFaces = meshesWithHiddenFaces.count(meshInstance.mesh) != 0;
        RTCGeometry geometry;
        if (meshInstance.placedInWorld) {
            geometry = kernel.newTriangles(*meshInstance.mesh);
            if (hidesFaces) kernel.hideFaces(geometry);
        } else {
            RTCScene& scene = scenes[meshInstance.mesh];
            if (!scene) scene = kernel.sceneOf(*meshInstance.mesh, hidesFaces);
            geometry = kernel.newInstance(scene, meshInstance);
            if (traceMotion && meshInstance.transformMoves) kernel.findSingularTimes(meshInstance);
        }
        rtcSetGeometryMask(geometry, meshInstance.visibleTo);
        rtcCommitGeometry(geometry);
        rtcAttachGeometryByID(kernel.top, geometry, i); // so that a hit names its mesh instance
        rtcReleaseGeometry(geometry);
    }
    rtcCommitScene(kernel.top);
    if (kernel.errors.outOfMemory) throw std::bad_alloc();
    if (kernel.errors.any) throw std::runtime_error("the ray-tracing kernel could not take the scene");
    kernel.singularTimes.sort();
}

RayKernel::~RayKernel() = default;

namespace {

[[nodiscard]] float largestOf(const miVector& v) {
    return std::max(std::max(std::abs(v.x), std::abs(v.y)), std::abs(v.z));
}

void setRay(RTCRay& to, const Ray& ray, float time) {
    to.org_x = ray.origin.x;
    to.org_y = ray.origin.y;
    to.org_z = ray.origin.z;
    to.tnear = ray.nearDistance > 0.0f ? ray.nearDistance : 0.0f;
    to.dir_x = ray.direction.x;
    to.dir_y = ray.direction.y;
    to.dir_z = ray.direction.z;
    to.time = time;
    to.tfar = ray.farDistance;
    to.mask = 1u << static_cast<unsigned>(ray.rayClass);
    to.id = 0;
    to.flags = 0;
}

} // namespace

/// Exact, for rays close to the limits and beyond them.
bool RayKernel::Implementation::takesExtreme(const Ray& ray) const {
    const float length = dot(ray.direction, ray.direction);
    const float place = ray.origin.x + ray.origin.y + ray.origin.z;
    const float farthest = largestOf(ray.origin), longest = largestOf(ray.direction);
    if (length > 0.0f && place == place && ray.farDistance == ray.farDistance && farthest <= reach.origin &&
        longest <= reach.direction)
        return true;
    if (farthest > reach.origin || longest > reach.direction)
        errors.log->once(
            "ray out of reach",
            {LogLevel::Error,
             "GEOM",
             0,
             fmt::format("a ray from ({:g}, {:g}, {:g}) along ({:g}, {:g}, {:g}) is out of reach and "
                         "hits nothing: rays of this scene start up to {:g} units from the origin, with "
                         "directions up to {:g} long",
                         ray.origin.x, ray.origin.y, ray.origin.z, ray.direction.x, ray.direction.y,
                         ray.direction.z, reach.origin, reach.direction),
             {}});
    return false;
}

bool RayKernel::intersect(const Ray& ray, Hit& hit) const {
    const Implementation& kernel = *implementation_;
    if (!kernel.top || !kernel.takes(ray)) return false;
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRayHit query;
    setRay(query.ray, ray, timeOf(ray));
    // After a hit on the triangle to skip, the ray starts again just beyond it: that happens to few rays,
    // while a filter would slow them all.
    for (;;) {
        query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
        query.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
        rtcIntersect1(kernel.top, &context, &query);
        if (query.hit.geomID == RTC_INVALID_GEOMETRY_ID) return false;
        const std::uint32_t meshInstance = meshInstanceOf(query.hit);
        if (meshInstance != ray.skipInstance ||
            !isStart(*kernel.meshInstances[meshInstance].mesh, query.hit.primID, ray.skipTriangle)) {
            hit = {query.ray.tfar, query.hit.u, query.hit.v, meshInstance, query.hit.primID};
            return true;
        }
        query.ray.tnear = std::nextafter(query.ray.tfar, std::numeric_limits<float>::infinity());
        query.ray.tfar = ray.farDistance;
        if (!(query.ray.tnear < ray.farDistance)) return false;
    }
}

bool RayKernel::occluded(const Ray& ray) const {
    const Implementation& kernel = *implementation_;
    if (!kernel.top || !kernel.takes(ray)) return false;
    RTCRay query;
    setRay(query, ray, timeOf(ray));
    if (ray.skipInstance == nothing) {
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        rtcOccluded1(kernel.top, &context, &query);
    } else {
        SkippingContext skipping;
        rtcInitIntersectContext(&skipping.context);
        skipping.context.filter = skipTriangle;
        skipping.meshInstance = ray.skipInstance;
        skipping.triangle = ray.skipTriangle;
        skipping.mesh = kernel.meshInstances[ray.skipInstance].mesh;
        rtcOccluded1(kernel.top, &skipping.context, &query);
    }
    return query.tfar < 0.0f; // minus infinity when something was met
}

float RayKernel::timeOf(const Ray& ray) const {
    const Implementation& kernel = *implementation_;
    return kernel.traceMotion ? kernel.singularTimes.avoidedBy(shutterTime(ray.time)) : 0.0f;
}

void RayKernel::bounds(miVector& lower, miVector& upper) const {
    lower = upper = {0, 0, 0};
    if (!implementation_->top) return;
    RTCLinearBounds all;
    rtcGetSceneLinearBounds(implementation_->top, &all);
    const RTCBounds &start = all.bounds0, &end = all.bounds1;
    if (!(start.lower_x <= start.upper_x)) return;
    lower = {std::min(start.lower_x, end.lower_x), std::min(start.lower_y, end.lower_y),
             std::min(start.lower_z, end.lower_z)};
    upper = {std::max(start.upper_x, end.upper_x), std::max(start.upper_y, end.upper_y),
             std::max(start.upper_z, end.upper_z)};
}

} // namespace orca::geometry
