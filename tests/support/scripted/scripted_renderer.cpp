// SPDX-License-Identifier: Apache-2.0
#include "scripted_renderer.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace {
ScriptedRenderer* theRenderer = nullptr;
}

ScriptedRenderer::ScriptedRenderer() {
    if (theRenderer) throw std::logic_error("one scripted renderer at a time");
    theRenderer = this;

    options.trace = miTRUE;
    options.scanline = 1;
    options.reflection_depth = options.refraction_depth = 4;
    options.trace_depth = 8;
    options.shadow = miSHADOW_SIMPLE;
    options.finalgather = miFALSE;
    options.luminance_weight = {0.30f, 0.59f, 0.11f, 0.0f};

    camera.focal = camera.aperture = camera.aspect = 1.0f;
    camera.clip = {0.001f, 1e6f};
    camera.x_resolution = camera.y_resolution = 100;
    camera.buffertag = database.add(miSCENE_FRAMEBUFFERS, 0);

    state.version = miSHADER_INTERFACE_VERSION;
    state.camera = &camera;
    state.options = &options;
    state.camera_inst = database.addInstance();
    state.instance = database.addInstance(database.addObject());
    state.type = miRAY_EYE;
    state.org = {0.0f, 0.0f, 10.0f};
    state.dir = {0.0f, 0.0f, -1.0f};
    state.normal = state.normal_geom = {0.0f, 0.0f, 1.0f};
    state.dot_nd = -1.0f;
    state.dist = 10.0;
    state.importance = 1.0f;
    state.ior = state.ior_in = 1.0f;
    mi_init_lock(&state.global_lock);

    for (auto* matrix : {&internalToWorld, &internalToCamera, &internalToObject, &internalToLight})
        mi_matrix_ident(*matrix);

    answer<int>(miQ_SAMPLE_PHASE, 1);
    answer<int>(miQ_FUNC_CALLTYPE, miSHADER_MATERIAL);
    answer<int>(miQ_FINALGATHER_STATE, 0);
    answer<int>(miQ_SAMPLE_MOVING, 0);
    answer<int>(miQ_FUNC_RESULT_SIZE, 16);
    calls.clear();
}

ScriptedRenderer::~ScriptedRenderer() {
    mi_delete_lock(&state.global_lock);
    theRenderer = nullptr;
}

ScriptedRenderer& ScriptedRenderer::current() {
    if (!theRenderer) throw std::logic_error("a mi_* function was called without a scripted renderer");
    return *theRenderer;
}

miState ScriptedRenderer::derived(miState& parent, miRay_type type) const {
    miState child = parent;
    child.parent = &parent;
    child.child = nullptr;
    child.type = type;
    if (type == miRAY_REFLECT) ++child.reflection_level;
    if (type == miRAY_REFRACT || type == miRAY_TRANSPARENT) ++child.refraction_level;
    return child;
}

ScriptedRenderer& enter(const char* name) {
    ScriptedRenderer& renderer = ScriptedRenderer::current();
    renderer.calls.emplace_back(name);
    if (renderer.onCall) renderer.onCall(name);
    return renderer;
}

int ScriptedRenderer::callCount(const std::string& name) const {
    return static_cast<int>(std::count(calls.begin(), calls.end(), name));
}

miBoolean ScriptedRenderer::query(miQ_type query, miState* of, miTag tag, void* result) {
    if (query == miQ_FUNC_USERPTR) {
        *static_cast<void***>(result) = userPointer(of ? of->shader : nullptr);
        return miTRUE;
    }
    if (query == miQ_DATA_PARAM) {
        if (database.type(tag) != miSCENE_USERDATA) return miFALSE;
        *static_cast<char**>(result) = database.element<miUserdata>(tag).parameters;
        return miTRUE;
    }
    if (query == miQ_INST_ITEM && database.type(tag) == miSCENE_INSTANCE) {
        *static_cast<miTag*>(result) = database.element<miInstance>(tag).item;
        return miTRUE;
    }
    if (query == miQ_INST_DATA && database.type(tag) == miSCENE_INSTANCE) {
        *static_cast<miTag*>(result) = database.element<miInstance>(tag).userdata;
        return miTRUE;
    }
    const auto found = answers_.find(query);
    if (found == answers_.end()) return miFALSE;
    std::memcpy(result, found->second.data(), found->second.size());
    return miTRUE;
}

void* ScriptedRenderer::computed(const void* parameter) {
    const auto found = computed_.find(parameter);
    if (found == computed_.end()) throw std::logic_error("mi_phen_eval of a parameter that no test computes");
    return found->second.data();
}

miBoolean ScriptedRenderer::setShaderState(const char* key, const void* data, int size, int lifetime) {
    const auto* const bytes = static_cast<const char*>(data);
    if (data && size != 0) shaderState_[key] = {{bytes, bytes + size}, lifetime};
    else shaderState_.erase(key);
    return miTRUE;
}

void* ScriptedRenderer::shaderState(const char* key, int* size) {
    Bytes& bytes = shaderState_[key].bytes;
    if (size) *size = static_cast<int>(bytes.size());
    return bytes.empty() ? nullptr : bytes.data();
}
