// SPDX-License-Identifier: Apache-2.0
#include "render/geometry_shaders.h"

#include "render/camera/state_shaders.h"
#include "render/context/render_context.h"

namespace orca::render {

namespace {

/// Lets the calls of this thread's shaders make elements, for the scope's lifetime.
class ActiveMaker {
public:
    explicit ActiveMaker(scene::SceneMaker& maker) { scene::activeSceneMaker() = &maker; }
    ~ActiveMaker() { scene::activeSceneMaker() = nullptr; }
    ActiveMaker(const ActiveMaker&) = delete;
    ActiveMaker& operator=(const ActiveMaker&) = delete;
};

} // namespace

GeometryShaders::GeometryShaders(scene::Database& database, Log& log, miTag rootGroup)
    : database_(database), maker_(database, log) {
    find(rootGroup);
}

GeometryShaders::~GeometryShaders() {
    for (scene::InstanceElement* const instance : instances_) instance->instance.item = miNULLTAG;
}

void GeometryShaders::find(miTag group) {
    const auto* const element = database_.find<scene::GroupElement>(group);
    if (!element || !seen_.insert(group).second) return;
    for (const miTag member : element->members) {
        auto* const instance = database_.find<scene::InstanceElement>(member);
        if (!instance || instance->hidden) continue;
        if (instance->geometryShaders.empty()) find(instance->instance.item);
        else if (seen_.insert(member).second) instances_.push_back(instance);
    }
}

void GeometryShaders::run(const Frame& frame) {
    const ActiveMaker active(maker_);
    for (scene::InstanceElement* const instance : instances_) {
        if (frame.stopped()) return;
        run(frame, *instance);
    }
}

void GeometryShaders::run(const Frame& frame, scene::InstanceElement& instance) {
    RenderContext context(frame, 0);
    openBaseState(context);
    context.samplePhase = noImagePhase;
    miTag result = miNULLTAG;
    for (const miTag shader : instance.geometryShaders) {
        const scene::Element* const element = database_.get(shader);
        maker_.setOwner(fmt::format("geometry shader \"{}\" of instance \"{}\"", element ? element->name : "",
                                    instance.name),
                        instance.location);
        ChildState child(context, &context.base, miRAY_NONE);
        child->parent = nullptr;
        child->instance = instance.tag;
        const miTag before = result;
        miBoolean delivered = miFALSE;
        const bool returned = withoutShaderExceptions(context, [&] {
            delivered = frame.runtime.callOne(&result, miSHADER_GEOMETRY, child.get(), shader);
        });
        if (!returned || !delivered) {
            if (returned) frame.runtime.countFault(shader, shading::ShaderRuntime::Fault::ReturnedFalse);
            result = before;
        }
        maker_.finishOwner();
    }
    const scene::Element* const made = database_.get(result);
    if (!made)
        frame.log.warningAt(instance.location, "GEOM", "instance \"{}\": its geometry shaders made nothing",
                            instance.name);
    else if (made->type == miSCENE_INSTANCE) {
        miTag group = miNULLTAG; // an instance cannot place another
        if (maker_.addResult(group, result)) result = group;
    }
    instance.instance.item = result;
    closeBaseState(context);
}

} // namespace orca::render
