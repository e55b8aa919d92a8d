// SPDX-License-Identifier: Apache-2.0
#include "geometry/scene_geometry.h"

#include "base/parallel_for.h"
#include "geometry/flattened_scene.h"
#include "geometry/hair/hair_surface.h"
#include "geometry/light_links.h"
#include "geometry/mesh.h"
#include "geometry/ray_kernel.h"
#include "geometry/surface.h"

#include <tbb/task_arena.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <deque>
#include <optional>
#include <unordered_map>
#include <unordered_set>

namespace orca::geometry {

struct SceneGeometry::Implementation {
    Implementation(scene::Database& sceneDatabase, Log& sceneLog, miTag rootGroup, int motionSteps)
        : database(sceneDatabase),
          log(sceneLog),
          graph(sceneDatabase, sceneLog, rootGroup, motionSteps),
          lightSets(graph) {
        auto material = std::make_unique<scene::MaterialElement>();
        material->name = "default material";
        defaultMaterial = database.add(std::move(material));
    }
    ~Implementation() { database.remove(defaultMaterial); }

    void buildMeshes(const SurfaceTessellation& tessellation);
    void buildMeshInstances(const miOptions& options);
    [[nodiscard]] bool isDisplaced(const MeshInstance& meshInstance) const;
    void displaceMeshes(const TessellationView& view, const DisplacementShader& shader,
                        const scene::OptionsElement* overrides);
    void buildKernel();
    [[nodiscard]] const miTag* inheritedMaterials(const FlattenedScene::ObjectInstance& placed,
                                                  const Mesh& mesh, std::uint32_t& count);

    scene::Database& database;
    Log& log;
    FlattenedScene graph;
    LightSets lightSets;
    miTag defaultMaterial;

    struct SharedMesh {
        Mesh mesh;
        int instances = 0;
    };
    std::deque<SharedMesh> meshes;                 // addresses stay
    std::unordered_map<miTag, SharedMesh*> meshOf; // by object
    std::deque<std::vector<miTag>> materialLists;
    std::unordered_map<const std::vector<miTag>*, const std::vector<miTag>*> listOf;

    std::vector<MeshInstance> meshInstances;
    std::vector<MeshInstance> unseenEmitters; // of lights; no ray sees them
    std::deque<Mesh> displacedMeshes;         // one per displaced instance, however many share the object
    bool displacementToCome = false;
    int threads = 0;
    std::optional<RayKernel> kernel;
    int maxTextureSpaces = 0;
    bool moves = false;
    bool traceMotion = false;
    Instructions instructions = Instructions::OfThisProcessor;
    std::size_t triangles = 0, hairSegments = 0;
    miVector lower{0, 0, 0}, upper{0, 0, 0};
};

void SceneGeometry::Implementation::buildMeshes(const SurfaceTessellation& tessellation) {
    std::optional<TessellationView> view;
    if (const auto* placed = database.find<scene::InstanceElement>(tessellation.cameraInstance);
        placed && tessellation.camera)
        view = viewOf(*tessellation.camera, placed->instance.tf.global_to_local);

    struct Task {
        const scene::ObjectElement* object;
        SharedMesh* target;
        SurfaceSettings surfaces;
    };
    std::vector<Task> tasks;
    std::unordered_map<miTag, std::size_t> taskOf; // by object
    for (const FlattenedScene::ObjectInstance& instance : graph.objectInstances) {
        const auto [at, isNew] = taskOf.try_emplace(instance.object->tag, tasks.size());
        if (isNew) {
            SharedMesh*& shared = meshOf[instance.object->tag];
            shared = &meshes.emplace_back();
            Task& task = tasks.emplace_back(Task{instance.object, shared, {}});
            task.surfaces.views.view = view ? &*view : nullptr;
            if (tessellation.overrides)
                task.surfaces.overrides = &tessellation.overrides->surfaceApproximations;
        }
        Task& task = tasks[at->second];
        ++task.target->instances;
        task.surfaces.views.localToWorld.push_back(instance.instance->instance.tf.local_to_global);
    }
    parallelFor(tasks.size(), 1, [&](std::size_t i, std::size_t) {
        tasks[i].target->mesh = buildMesh(*tasks[i].object, log, tasks[i].surfaces);
    });
}

const miTag* SceneGeometry::Implementation::inheritedMaterials(const FlattenedScene::ObjectInstance& placed,
                                                               const Mesh& mesh, std::uint32_t& count) {
    const std::vector<miTag>* const given = placed.inherited.materials.value.value_or(nullptr);
    const std::vector<miTag>*& usable = listOf[given];
    if (!usable) {
        std::vector<miTag>& list = materialLists.emplace_back(given ? *given : std::vector<miTag>{miNULLTAG});
        std::replace(list.begin(), list.end(), miNULLTAG, defaultMaterial);
        usable = &list;
    }
    const bool allHaveTheirOwn =
        mesh.hair ? mesh.hair->list->material != miNULLTAG
                  : !mesh.materials.empty() && std::find(mesh.materials.begin(), mesh.materials.end(),
                                                         miNULLTAG) == mesh.materials.end();
    if (!given && !allHaveTheirOwn)
        log.once("no material " + std::to_string(placed.object->tag),
                 {LogLevel::Warning, "GEOM", 0,
                  "object \"" + placed.object->name + "\" (instance \"" + placed.instance->name +
                      "\") has no material; it is rendered plain grey",
                  placed.instance->location});
    count = static_cast<std::uint32_t>(usable->size());
    return usable->data();
}

void SceneGeometry::Implementation::buildMeshInstances(const miOptions& options) {
    const char faceOfOptions =
        options.face == 'f' || options.face == 'b' ? static_cast<char>(options.face) : 'a';
    for (const FlattenedScene::ObjectInstance& placed : graph.objectInstances) {
        SharedMesh& shared = *meshOf[placed.object->tag];
        Mesh& mesh = shared.mesh;
        const ResolvedFlags flags = resolve(placed.inherited, *placed.object, faceOfOptions);
        miInstance& record = placed.instance->instance;

        MeshInstance meshInstance{};
        meshInstance.instance = placed.instance->tag;
        meshInstance.instanceRecord = &record;
        meshInstance.object = placed.object->tag;
        meshInstance.mesh = &mesh;
        meshInstance.label = record.label ? record.label : placed.object->object.label;
        meshInstance.visibleTo = flags.visibleTo;
        meshInstance.receivesShadows = flags.receivesShadows;
        meshInstance.sendsReflections = flags.sendsReflections;
        meshInstance.sendsRefractions = flags.sendsRefractions;
        meshInstance.sendsTransparency = flags.sendsTransparency;
        meshInstance.face = flags.face;
        meshInstance.mirrored = determinant(placed.inherited.worldToLocal) < 0.0;
        meshInstance.transformMoves = record.motion != 0;
        meshInstance.materialsOverride = placed.inherited.materials.overridden;
        meshInstance.materials = inheritedMaterials(placed, mesh, meshInstance.materialCount);
        meshInstance.lightList = lightSets.listFor(placed.inherited.lights);
        meshInstance.shadowSet = lightSets.shadowSetFor(placed.inherited.shadowLights);
        const auto& approximation = placed.inherited.approximation.value;
        meshInstance.approximation = approximation ? &*approximation : nullptr;
        bool singular = false;
        const Transform atEnd = inverse(placed.inherited.worldToLocalAtEnd, singular);
        if (singular) {
            log.errorAt(placed.instance->location, "GEOM",
                        "the motion transforms down to instance \"{}\" cannot be inverted; it does not move",
                        placed.instance->name);
            meshInstance.transformMoves = false;
            std::memcpy(meshInstance.localToGlobalAtEnd, record.tf.local_to_global, sizeof(miMatrix));
        } else {
            atEnd.store(meshInstance.localToGlobalAtEnd);
            meshInstance.motionPath = placed.instance->motionPath;
        }

        record.material = meshInstance.materials[0];
        record.visible = flags.visible;
        record.trace = flags.trace;
        record.shadow =
            static_cast<miCBoolean>((flags.castsShadows ? 1 : 0) | (flags.receivesShadows ? 2 : 0));
        record.reflection = flags.reflection;
        record.refraction = flags.refraction;
        record.transparency = flags.transparency;
        record.finalgather = flags.gather;
        record.face = static_cast<miCBoolean>(flags.face);
        const bool unseenEmitter = !meshInstance.visibleTo && graph.emits(meshInstance.instance);
        if (!meshInstance.visibleTo && !mesh.isEmpty() && !unseenEmitter)
            log.once("unseen " + std::to_string(meshInstance.object),
                     {LogLevel::Warning, "GEOM", 0,
                      "object \"" + placed.object->name +
                          "\" is seen by no ray: visible, trace and shadow are all off",
                      placed.object->location});
        if (mesh.isEmpty() || (mesh.hair && options.no_hair)) continue;
        if (unseenEmitter) {
            maxTextureSpaces = std::max(maxTextureSpaces, mesh.textureSpaces);
            unseenEmitters.push_back(meshInstance);
        }
        if (!meshInstance.visibleTo) continue;

        const bool displaced = displacementToCome && isDisplaced(meshInstance);
        meshInstance.placedInWorld = shared.instances == 1 && !displaced && !mesh.hair &&
                                     !(traceMotion && meshInstance.transformMoves);
        if (meshInstance.placedInWorld)
            placeInWorld(mesh, record.tf.local_to_global, record.tf.global_to_local);
        maxTextureSpaces = std::max(maxTextureSpaces, mesh.textureSpaces);
        moves = moves || meshInstance.transformMoves || mesh.deforms();
        triangles += mesh.triangles.size();
        if (mesh.hair) hairSegments += mesh.hair->segmentCount();
        meshInstances.push_back(meshInstance);
    }
    lightSets.finish();
}

/// Every instance of a displaced object is displaced on its own: its material and its distance differ.
bool SceneGeometry::Implementation::isDisplaced(const MeshInstance& meshInstance) const {
    const auto displaces = [&](miTag tag) {
        const auto* material = tag ? database.find<scene::MaterialElement>(tag) : nullptr;
        return material && material->material.displace != miNULLTAG;
    };
    const Mesh& mesh = *meshInstance.mesh;
    if (mesh.hair) return false;
    return std::any_of(meshInstance.materials, meshInstance.materials + meshInstance.materialCount,
                       displaces) ||
           (!meshInstance.materialsOverride &&
            std::any_of(mesh.materials.begin(), mesh.materials.end(), displaces));
}

namespace {

DisplacementLimits limitsOf(const MeshInstance& meshInstance, const scene::ObjectElement& object,
                            const scene::OptionsElement* overrides) {
    DisplacementLimits limits;
    if (meshInstance.approximation) limits.approximation = *meshInstance.approximation;
    else if (object.approximation) limits.approximation = *object.approximation;
    limits.distance = object.maxDisplacement;
    if (overrides && overrides->approximation) limits.approximation = *overrides->approximation;
    if (overrides && overrides->maxDisplacement > 0.0f) limits.distance = overrides->maxDisplacement;
    return limits;
}

} // namespace

void SceneGeometry::Implementation::displaceMeshes(const TessellationView& view,
                                                   const DisplacementShader& shader,
                                                   const scene::OptionsElement* overrides) {
    for (MeshInstance& meshInstance : meshInstances) {
        if (!isDisplaced(meshInstance)) continue;
        Mesh& own = displacedMeshes.emplace_back(*meshInstance.mesh);
        const auto* object = database.find<scene::ObjectElement>(meshInstance.object);
        const DisplacementLimits limits = limitsOf(meshInstance, *object, overrides);
        const DisplacementOutcome outcome = displace(own, meshInstance, view, limits, shader);
        if (outcome.stoppedEarly) {
            log.warningAt(object->location, "GEOM",
                          "object \"{}\": displacing it as finely as the picture shows takes more than {} "
                          "triangles; it is left coarser, cut it into smaller objects",
                          object->name, limits.triangles);
        }
        triangles += own.triangles.size() - meshInstance.mesh->triangles.size();
        meshInstance.mesh = &own;
        if (traceMotion && meshInstance.transformMoves) continue;
        const miTransform& place = meshInstance.instanceRecord->tf;
        placeInWorld(own, place.local_to_global, place.global_to_local);
        meshInstance.placedInWorld = true;
    }
}

void SceneGeometry::Implementation::buildKernel() {
    kernel.emplace(meshInstances, traceMotion, instructions, log);
    for (const RayKernel::LeftOut& each : kernel->leftOut()) {
        const auto* instance =
            database.find<scene::InstanceElement>(meshInstances[each.meshInstance].instance);
        log.errorAt(instance->location, "GEOM", "instance \"{}\" is left out: {}", instance->name,
                    each.reason);
    }
    kernel->bounds(lower, upper);
}

namespace {

/// Steps are for rays that see motion; without it the ends of the shutter suffice.
int motionStepsOf(const miOptions& options) {
    return options.motion ? std::clamp(static_cast<int>(options.motion_steps), 1, scene::motionStepsAtMost)
                          : 1;
}

} // namespace

SceneGeometry::SceneGeometry(scene::Database& database, Log& log, miTag rootGroup, const miOptions& options,
                             int threads, Displacement displacement, const SurfaceTessellation& tessellation,
                             Instructions instructions)
    : implementation_(std::make_unique<Implementation>(database, log, rootGroup, motionStepsOf(options))) {
    Implementation& all = *implementation_;
    all.traceMotion = options.motion != 0;
    all.instructions = instructions;
    all.displacementToCome = displacement == Displacement::StillToCome && !options.no_displace;
    const int available = tbb::this_task_arena::max_concurrency();
    all.threads = threads > 0 ? std::min(threads, available) : available;

    tbb::task_arena(all.threads).execute([&] {
        all.buildMeshes(tessellation);
        all.buildMeshInstances(options);
        if (displacement == Displacement::None) all.buildKernel();
    });
}

void SceneGeometry::finish(const TessellationView& view, const DisplacementShader& shader,
                           const scene::OptionsElement* overrides) {
    Implementation& all = *implementation_;
    tbb::task_arena(all.threads).execute([&] {
        if (all.displacementToCome) all.displaceMeshes(view, shader, overrides);
        all.buildKernel();
    });
}

SceneGeometry::~SceneGeometry() = default;

bool SceneGeometry::intersect(const Ray& ray, Hit& hit) const {
    return implementation_->kernel->intersect(ray, hit);
}

bool SceneGeometry::occluded(const Ray& ray) const {
    return implementation_->kernel->occluded(ray);
}

void SceneGeometry::surfaceAt(const Ray& ray, const Hit& hit, SurfacePoint& point,
                              miVector* textureCoordinates) const {
    const MeshInstance& meshInstance = implementation_->meshInstances[hit.meshInstance];
    const float time = implementation_->kernel->timeOf(ray);
    if (meshInstance.mesh->hair) hairSurfaceAt(meshInstance, ray, hit, time, point, textureCoordinates);
    else interpolateSurface(meshInstance, hit, time, point, textureCoordinates);
}

std::span<const MeshInstance> SceneGeometry::meshInstances() const {
    return implementation_->meshInstances;
}

int SceneGeometry::maxTextureSpaces() const {
    return implementation_->maxTextureSpaces;
}

std::span<const miTag> SceneGeometry::lights() const {
    return implementation_->graph.lights;
}

std::span<const miTag> SceneGeometry::lightsOf(const MeshInstance& meshInstance) const {
    return implementation_->lightSets.list(meshInstance.lightList);
}

bool SceneGeometry::castsShadowOf(const MeshInstance& meshInstance, miTag lightInstance) const {
    return implementation_->lightSets.castsShadow(meshInstance.shadowSet, lightInstance);
}

std::vector<const MeshInstance*> SceneGeometry::emittingMeshes(miTag emitter) const {
    const std::vector<miTag>& members = implementation_->graph.membersOf(emitter);
    const std::unordered_set<miTag> instances(members.begin(), members.end());
    std::vector<const MeshInstance*> meshes;
    if (instances.empty()) return meshes;
    for (const auto* list : {&implementation_->meshInstances, &implementation_->unseenEmitters})
        for (const MeshInstance& meshInstance : *list)
            if (instances.contains(meshInstance.instance)) meshes.push_back(&meshInstance);
    return meshes;
}

std::vector<miTag> SceneGeometry::expandLights(const std::vector<miTag>& entries) const {
    return implementation_->graph.expandLights(entries);
}

miTag SceneGeometry::defaultMaterial() const {
    return implementation_->defaultMaterial;
}

miVector SceneGeometry::boundsMin() const {
    return implementation_->lower;
}

miVector SceneGeometry::boundsMax() const {
    return implementation_->upper;
}

bool SceneGeometry::moves() const {
    return implementation_->moves;
}

std::size_t SceneGeometry::triangleCount() const {
    return implementation_->triangles;
}

std::size_t SceneGeometry::hairSegmentCount() const {
    return implementation_->hairSegments;
}

} // namespace orca::geometry
