// SPDX-License-Identifier: Apache-2.0
#include "render/lightmap/texel_shading.h"

#include "render/camera/state_shaders.h"
#include "render/context/surface_state.h"
#include "scene/shader_slots.h"

#include <cmath>

namespace orca::render {

namespace {

/// The base state and the context as at the start of an eye sample of the pixel, but outside of the picture.
void beginSample(RenderContext& context, int x, int y, unsigned index) {
    const Frame& frame = context.frame;
    context.sampler.startSample(frame.seed, x, y, index);
    context.resetBase();
    context.primary = {};
    context.depth = 0;
    context.eyeStart = 0.0f;
    context.skipInstance = context.skipTriangle = geometry::nothing;
    context.samplePhase = noImagePhase;
    context.sampleMoving = 0;
    context.inEyeSample = false;
    miState& state = context.base;
    state.raster_x = static_cast<float>(x) + 0.5f;
    state.raster_y = static_cast<float>(y) + 0.5f;
    state.time = frame.options.shutter_delay;
    state.org = {0.0f, 0.0f, 0.0f};
    state.dir = {0.0f, 0.0f, -1.0f};
    if (frame.placement.moves()) frame.placement.at(kernelTime(context, state), context.camera);
}

/// The intersection part of the state, seen from outside.
void setSurface(const RenderContext& context, ChildState& child, const TexelPoint& point) {
    geometry::Ray ray{};
    ray.time = kernelTime(context, *child.get());
    const geometry::Hit hit{0.0f, point.u, point.v, point.triangle->meshInstance, point.triangle->triangle};
    setHit(context, child.derived(), ray, hit, NormalSide::AsModelled);
    child->org = child->point;
    child->dir = child->normal;
    mi_vector_neg(&child->dir);
    child->dot_nd = -1.0f;
    const miMaterial* const material = context.frame.materialOf(child->material);
    child->refraction_volume = material ? material->volume : miNULLTAG;
    if (material && material->environment != miNULLTAG) child->environment = material->environment;
}

miBoolean callShader(RenderContext& context, const LightMapShader& shader, miState* state, miColor& result) {
    shading::ShaderRuntime& runtime = context.runtime;
    switch (shader.result) {
    case LightMapShader::Result::Scalar: {
        miScalar number = 0.0f;
        const miBoolean delivered = runtime.callOne(&number, miSHADER_LIGHTMAP, state, shader.tag);
        result = {number, number, number, 1.0f};
        return delivered;
    }
    case LightMapShader::Result::Vector: {
        miVector vector{};
        const miBoolean delivered = runtime.callOne(&vector, miSHADER_LIGHTMAP, state, shader.tag);
        result = {vector.x, vector.y, vector.z, 1.0f};
        return delivered;
    }
    case LightMapShader::Result::Color: break;
    }
    return runtime.callOne(&result, miSHADER_LIGHTMAP, state, shader.tag);
}

} // namespace

std::optional<LightMapShader> lightMapShader(const scene::FunctionElement& shader) {
    const scene::DeclarationElement& declaration = *shader.declaration;
    using Result = LightMapShader::Result;
    if (scene::returns(declaration, miTYPE_COLOR)) return LightMapShader{shader.tag, Result::Color};
    if (scene::returns(declaration, miTYPE_SCALAR)) return LightMapShader{shader.tag, Result::Scalar};
    if (scene::returns(declaration, miTYPE_VECTOR)) return LightMapShader{shader.tag, Result::Vector};
    return {};
}

bool shadeTexel(RenderContext& context, const LightMapShader& shader, const TexelPoint& point, int x, int y,
                unsigned index, miColor& result) {
    beginSample(context, x, y, index);
    result = {};
    miBoolean delivered = miFALSE;
    const bool returned = withoutShaderExceptions(context, [&] {
        miColor unused{};
        miBoolean noPicture = miTRUE;
        callStateShaders(context, miSHADERSTATE_SAMPLE_INIT, unused, noPicture);
        {
            ChildState child(context, &context.base, miRAY_LIGHTMAP);
            child->parent = nullptr;
            setSurface(context, child, point);
            ++context.counts.materialCalls;
            delivered = callShader(context, shader, child.get(), result);
        }
        callStateShaders(context, miSHADERSTATE_SAMPLE_EXIT, result, delivered);
    });
    context.store.endSample();
    if (!returned || !delivered) return false;
    if (std::isfinite(result.r) && std::isfinite(result.g) && std::isfinite(result.b) &&
        std::isfinite(result.a))
        return true;
    context.runtime.countFault(shader.tag, shading::ShaderRuntime::Fault::NotANumber);
    return false;
}

} // namespace orca::render
