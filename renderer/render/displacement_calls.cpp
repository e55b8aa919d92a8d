// SPDX-License-Identifier: Apache-2.0
#include "render/displacement_calls.h"

#include "render/camera/state_shaders.h"
#include "scene/elements/elements.h"
#include "scene/shader_slots.h"

#include <tbb/task_arena.h>

#include <algorithm>
#include <cmath>

namespace orca::render {

struct DisplacementCalls::Worker {
    Worker(const Frame& frame, int thread) : context(frame, thread) {
        openBaseState(context);
        context.samplePhase = noImagePhase;
        context.displacementSpace = &space;
    }
    ~Worker() {
        context.displacementSpace = nullptr;
        closeBaseState(context);
    }

    void enter(const geometry::MeshInstance& meshInstance) {
        if (current == &meshInstance) return;
        current = &meshInstance;
        const miTransform& place = meshInstance.instanceRecord->tf;
        const CameraSpace& camera = context.frame.placement.start();
        space.toWorld = place.local_to_global;
        space.fromWorld = place.global_to_local;
        mi_matrix_prod(space.toCamera, place.local_to_global, camera.fromWorld);
        mi_matrix_prod(space.fromCamera, camera.toWorld, place.global_to_local);
    }

    RenderContext context;
    DisplacementSpace space{};
    const geometry::MeshInstance* current = nullptr;
};

DisplacementCalls::DisplacementCalls(const Frame& frame, int threads)
    : frame_(frame),
      workers_(static_cast<std::size_t>(std::max(1, threads))),
      usable_(frame.database.endTag()) {
    for (miTag tag = 1; tag < frame.database.endTag(); ++tag)
        if (const miMaterial* material = frame.materialOf(tag); material && material->displace)
            usable_[material->displace] = returnsScalar(material->displace);
}

DisplacementCalls::~DisplacementCalls() = default;

bool DisplacementCalls::returnsScalar(miTag shader) const {
    for (miTag tag = shader; tag != miNULLTAG; tag = frame_.runtime.next(tag)) {
        const auto* element = frame_.database.find<scene::FunctionElement>(tag);
        if (!element) return false;
        if (scene::returns(*element->declaration, miTYPE_SCALAR)) continue;
        frame_.log.errorAt(element->location, "RNDR",
                           "displacement shader \"{}\": \"{}\" does not return a scalar; connect a scalar "
                           "result of it to \"height\" of \"velaDisplacement\" and use that",
                           element->name, element->declaration->name);
        return false;
    }
    return true;
}

DisplacementCalls::Worker& DisplacementCalls::workerOfThisThread() {
    const int thread = tbb::this_task_arena::current_thread_index();
    std::unique_ptr<Worker>& worker = workers_[static_cast<std::size_t>(thread)];
    if (!worker) worker = std::make_unique<Worker>(frame_, thread);
    return *worker;
}

float DisplacementCalls::operator()(const geometry::MeshInstance& meshInstance,
                                    const geometry::DisplacementVertex& vertex) {
    const miMaterial* const material = frame_.materialOf(vertex.material);
    if (!material || material->displace == miNULLTAG || !usable_[material->displace]) return 0.0f;
    Worker& worker = workerOfThisThread();
    worker.enter(meshInstance);

    ChildState child(worker.context, &worker.context.base, miRAY_DISPLACE);
    DerivedState& derived = child.derived();
    child->parent = nullptr;
    child->point = vertex.point;
    child->normal = child->normal_geom = vertex.normal;
    child->org = vertex.point;
    child->dir = vertex.normal;
    mi_vector_neg(&child->dir);
    child->dot_nd = -1.0f;
    child->instance = meshInstance.instance;
    child->material = vertex.material;
    child->label = meshInstance.label;
    child->tex_list = derived.textureCoordinates.data();
    derived.textureCoordinates[0] = {0.0f, 0.0f, 0.0f};
    std::copy_n(vertex.textures, vertex.textureSpaces, derived.textureCoordinates.begin());
    derived.bumpX = vertex.bumpX;
    derived.bumpY = vertex.bumpY;
    child->bump_x_list = &derived.bumpX;
    child->bump_y_list = &derived.bumpY;
    std::fill(std::begin(child->derivs), std::end(child->derivs), miVector{});
    child->derivs[0] = vertex.dPdu;
    child->derivs[1] = vertex.dPdv;

    using Fault = shading::ShaderRuntime::Fault;
    float height = 0.0f;
    miBoolean delivered = miFALSE;
    const bool returned = withoutShaderExceptions(worker.context, [&] {
        delivered = frame_.runtime.call(&height, miSHADER_DISPLACE, child.get(), material->displace);
    });
    if (!returned) return 0.0f;
    if (delivered && std::isfinite(height)) return height;
    frame_.runtime.countFault(material->displace, delivered ? Fault::NotANumber : Fault::ReturnedFalse);
    return 0.0f;
}

} // namespace orca::render
