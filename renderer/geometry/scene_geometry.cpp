// SPDX-License-Identifier: Apache-2.0
#include "geometry/scene_geometry.h"

#include "base/parallel_for.h"
#include "geometry/graph_walk.h"
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

namespace orca::geometry {

struct SceneGeometry::Implementation {
    Implementation(scene::Database& sceneDatabase, Messages& sceneMessages, miTag rootGroup, int motionSteps)
        : database(sceneDatabase),
          messages(sceneMessages),
          graph(sceneDatabase, sceneMessages, rootGroup, motionSteps),
          lightSets(graph) {
        auto material = std::make_unique<scene::MaterialElement>();
        material->name = "default material";
        defaultMaterial = database.add(std::move(material));
    }
    ~Implementation() { database.remove(defaultMaterial); }

    void buildMeshes();
    void buildLeaves(const miOptions& options);
    [[nodiscard]] bool isDisplaced(const Leaf& leaf) const;
    void displaceLeaves(const DisplacementView& view, const DisplacementShader& shader,
                        const scene::OptionsElement* overrides);
    void buildKernel();
    [[nodiscard]] const miTag* inheritedMaterials(const PlacedGraph::Leaf& placed, const Mesh& mesh,
                                                  std::uint32_t& count);

    scene::Database& database;
    Messages& messages;
    PlacedGraph graph;
    LightSets lightSets;
    miTag defaultMaterial;

    struct SharedMesh {
        Mesh mesh;
        int places = 0;
    };
    std::deque<SharedMesh> meshes;                 // addresses stay
    std::unordered_map<miTag, SharedMesh*> meshOf; // by object
    std::deque<std::vector<miTag>> materialLists;
    std::unordered_map<const std::vector<miTag>*, const std::vector<miTag>*> listOf;

    std::vector<Leaf> leaves;
    std::deque<Mesh> displacedMeshes; // one per displaced leaf, however many share the object
    bool displacementToCome = false;
    int threads = 0;
    std::optional<RayKernel> kernel;
    int maxTextureSpaces = 0;
    bool moves = false;
    bool traceMotion = false;
    std::size_t triangles = 0;
    miVector lower{0, 0, 0}, upper{0, 0, 0};
};

void SceneGeometry::Implementation::buildMeshes() {
    std::vector<const scene::ObjectElement*> objects;
    std::vector<SharedMesh*> targets;
    for (const PlacedGraph::Leaf& leaf : graph.leaves) {
        SharedMesh*& shared = meshOf[leaf.object->tag];
        if (!shared) {
            shared = &meshes.emplace_back();
            objects.push_back(leaf.object);
            targets.push_back(shared);
        }
        ++shared->places;
    }
    parallelFor(objects.size(), 1,
                [&](std::size_t i, std::size_t) { targets[i]->mesh = buildMesh(*objects[i], messages); });
}

const miTag* SceneGeometry::Implementation::inheritedMaterials(const PlacedGraph::Leaf& placed,
                                                               const Mesh& mesh, std::uint32_t& count) {
    const std::vector<miTag>* const given = placed.inherited.materials.value.value_or(nullptr);
    const std::vector<miTag>*& usable = listOf[given];
    if (!usable) {
        std::vector<miTag>& list = materialLists.emplace_back(given ? *given : std::vector<miTag>{miNULLTAG});
        std::replace(list.begin(), list.end(), miNULLTAG, defaultMaterial);
        usable = &list;
    }
    const bool everyTriangleHasItsOwn =
        !mesh.materials.empty() &&
        std::find(mesh.materials.begin(), mesh.materials.end(), miNULLTAG) == mesh.materials.end();
    if (!given && !everyTriangleHasItsOwn)
        messages.once("no material " + std::to_string(placed.object->tag),
                      {Level::Warning, "GEOM", 0,
                       "object \"" + placed.object->name + "\" (instance \"" + placed.instance->name +
                           "\") has no material; it is rendered plain grey",
                       placed.instance->place});
    count = static_cast<std::uint32_t>(usable->size());
    return usable->data();
}

void SceneGeometry::Implementation::buildLeaves(const miOptions& options) {
    const char faceOfOptions =
        options.face == 'f' || options.face == 'b' ? static_cast<char>(options.face) : 'a';
    for (const PlacedGraph::Leaf& placed : graph.leaves) {
        SharedMesh& shared = *meshOf[placed.object->tag];
        Mesh& mesh = shared.mesh;
        const ResolvedFlags flags = resolve(placed.inherited, *placed.object, faceOfOptions);
        miInstance& record = placed.instance->instance;

        Leaf leaf{};
        leaf.instance = placed.instance->tag;
        leaf.instanceRecord = &record;
        leaf.object = placed.object->tag;
        leaf.mesh = &mesh;
        leaf.label = record.label ? record.label : placed.object->object.label;
        leaf.visibleTo = flags.visibleTo;
        leaf.receivesShadows = flags.receivesShadows;
        leaf.sendsReflections = flags.sendsReflections;
        leaf.sendsRefractions = flags.sendsRefractions;
        leaf.sendsTransparency = flags.sendsTransparency;
        leaf.face = flags.face;
        leaf.mirrored = determinant(placed.inherited.worldToLocal) < 0.0;
        leaf.transformMoves = record.motion != 0;
        leaf.materialsOverride = placed.inherited.materials.overridden;
        leaf.materials = inheritedMaterials(placed, mesh, leaf.materialCount);
        leaf.lightList = lightSets.listFor(placed.inherited.lights);
        leaf.shadowSet = lightSets.shadowSetFor(placed.inherited.shadowLights);
        const auto& approximation = placed.inherited.approximation.value;
        leaf.approximation = approximation ? &*approximation : nullptr;
        bool singular = false;
        const Transform atEnd = inverse(placed.inherited.worldToLocalAtEnd, singular);
        if (singular) {
            messages.errorAt(
                placed.instance->place, "GEOM",
                "the motion transforms down to instance \"{}\" cannot be inverted; it does not move",
                placed.instance->name);
            leaf.transformMoves = false;
            std::memcpy(leaf.localToGlobalAtEnd, record.tf.local_to_global, sizeof(miMatrix));
        } else {
            atEnd.store(leaf.localToGlobalAtEnd);
            leaf.motionPath = placed.instance->motionPath;
        }

        record.material = leaf.materials[0];
        record.visible = flags.visible;
        record.trace = flags.trace;
        record.shadow =
            static_cast<miCBoolean>((flags.castsShadows ? 1 : 0) | (flags.receivesShadows ? 2 : 0));
        record.reflection = flags.reflection;
        record.refraction = flags.refraction;
        record.transparency = flags.transparency;
        record.finalgather = flags.gather;
        record.face = static_cast<miCBoolean>(flags.face);
        if (!leaf.visibleTo && !mesh.triangles.empty())
            messages.once("unseen " + std::to_string(leaf.object),
                          {Level::Warning, "GEOM", 0,
                           "object \"" + placed.object->name +
                               "\" is seen by no ray: visible, trace and shadow are all off",
                           placed.object->place});
        if (mesh.triangles.empty() || !leaf.visibleTo) continue;

        const bool displaced = displacementToCome && isDisplaced(leaf);
        leaf.placedInWorld = shared.places == 1 && !displaced && !(traceMotion && leaf.transformMoves);
        if (leaf.placedInWorld) placeInWorld(mesh, record.tf.local_to_global, record.tf.global_to_local);
        maxTextureSpaces = std::max(maxTextureSpaces, mesh.textureSpaces);
        moves = moves || leaf.transformMoves || mesh.deforms();
        triangles += mesh.triangles.size();
        leaves.push_back(leaf);
    }
    lightSets.finish();
}

/// Every place of a displaced object is displaced for itself: its material and its distance are its own.
bool SceneGeometry::Implementation::isDisplaced(const Leaf& leaf) const {
    const auto displaces = [&](miTag tag) {
        const auto* material = tag ? database.find<scene::MaterialElement>(tag) : nullptr;
        return material && material->material.displace != miNULLTAG;
    };
    const Mesh& mesh = *leaf.mesh;
    return std::any_of(leaf.materials, leaf.materials + leaf.materialCount, displaces) ||
           (!leaf.materialsOverride && std::any_of(mesh.materials.begin(), mesh.materials.end(), displaces));
}

namespace {

DisplacementLimits limitsOf(const Leaf& leaf, const scene::ObjectElement& object,
                            const scene::OptionsElement* overrides) {
    DisplacementLimits limits;
    if (leaf.approximation) limits.approximation = *leaf.approximation;
    else if (object.approximation) limits.approximation = *object.approximation;
    limits.distance = object.maxDisplacement;
    if (overrides && overrides->approximation) limits.approximation = *overrides->approximation;
    if (overrides && overrides->maxDisplacement > 0.0f) limits.distance = overrides->maxDisplacement;
    return limits;
}

} // namespace

void SceneGeometry::Implementation::displaceLeaves(const DisplacementView& view,
                                                   const DisplacementShader& shader,
                                                   const scene::OptionsElement* overrides) {
    for (Leaf& leaf : leaves) {
        if (!isDisplaced(leaf)) continue;
        Mesh& own = displacedMeshes.emplace_back(*leaf.mesh);
        const auto* object = database.find<scene::ObjectElement>(leaf.object);
        const DisplacementLimits limits = limitsOf(leaf, *object, overrides);
        const DisplacementOutcome outcome = displace(own, leaf, view, limits, shader);
        if (outcome.stoppedEarly) {
            messages.warningAt(
                object->place, "GEOM",
                "object \"{}\": displacing it as finely as the picture shows takes more than {} "
                "triangles; it is left coarser, cut it into smaller objects",
                object->name, limits.triangles);
        }
        triangles += own.triangles.size() - leaf.mesh->triangles.size();
        leaf.mesh = &own;
        if (traceMotion && leaf.transformMoves) continue;
        const miTransform& place = leaf.instanceRecord->tf;
        placeInWorld(own, place.local_to_global, place.global_to_local);
        leaf.placedInWorld = true;
    }
}

void SceneGeometry::Implementation::buildKernel() {
    kernel.emplace(leaves, traceMotion, messages);
    kernel->bounds(lower, upper);
}

namespace {

/// Steps are for rays that see things move; without them the ends of the shutter tell all.
int motionStepsOf(const miOptions& options) {
    return options.motion ? std::clamp(static_cast<int>(options.motion_steps), 1, scene::motionStepsAtMost)
                          : 1;
}

} // namespace

SceneGeometry::SceneGeometry(scene::Database& database, Messages& messages, miTag rootGroup,
                             const miOptions& options, int threads, Displacement displacement)
    : implementation_(
          std::make_unique<Implementation>(database, messages, rootGroup, motionStepsOf(options))) {
    Implementation& all = *implementation_;
    all.traceMotion = options.motion != 0;
    all.displacementToCome = displacement == Displacement::StillToCome && !options.no_displace;
    const int available = tbb::this_task_arena::max_concurrency();
    all.threads = threads > 0 ? std::min(threads, available) : available;

    tbb::task_arena(all.threads).execute([&] {
        all.buildMeshes();
        all.buildLeaves(options);
        if (displacement == Displacement::None) all.buildKernel();
    });
}

void SceneGeometry::finish(const DisplacementView& view, const DisplacementShader& shader,
                           const scene::OptionsElement* overrides) {
    Implementation& all = *implementation_;
    tbb::task_arena(all.threads).execute([&] {
        if (all.displacementToCome) all.displaceLeaves(view, shader, overrides);
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
    interpolateSurface(implementation_->leaves[hit.leaf], hit, implementation_->kernel->timeOf(ray), point,
                       textureCoordinates);
}

std::span<const Leaf> SceneGeometry::leaves() const {
    return implementation_->leaves;
}

int SceneGeometry::maxTextureSpaces() const {
    return implementation_->maxTextureSpaces;
}

std::span<const miTag> SceneGeometry::lights() const {
    return implementation_->graph.lights;
}

std::span<const miTag> SceneGeometry::lightsOf(const Leaf& leaf) const {
    return implementation_->lightSets.list(leaf.lightList);
}

bool SceneGeometry::castsShadowOf(const Leaf& leaf, miTag lightInstance) const {
    return implementation_->lightSets.castsShadow(leaf.shadowSet, lightInstance);
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

} // namespace orca::geometry
