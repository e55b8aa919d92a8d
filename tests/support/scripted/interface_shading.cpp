// SPDX-License-Identifier: Apache-2.0
/// mi_* functions of shader calls, tracing, lights, textures and random numbers.
#include "scripted_renderer.h"

#include <cmath>

namespace {

constexpr miColor black{0.0f, 0.0f, 0.0f, 0.0f};

/// Radical inverse of n in base b (van der Corput, 1935).
double radicalInverse(int n, int base) {
    double value = 0.0;
    double digit = 1.0 / base;
    for (; n > 0; n /= base, digit /= base) value += digit * (n % base);
    return value;
}

miBoolean deliver(const ScriptedLight& light, const miVector& direction, miColor* result, miVector* toLight,
                  miScalar* dotNl, miState* state) {
    *toLight = direction;
    *dotNl = mi_vector_dot(&state->normal, &direction);
    if (!light.shader) {
        *result = light.color;
        return miTRUE;
    }
    miState child = ScriptedRenderer::current().derived(*state, miRAY_LIGHT);
    child.light_instance = light.instance;
    child.dir = {-direction.x, -direction.y, -direction.z};
    child.dot_nd = *dotNl;
    *result = black;
    return light.shader(result, &child);
}

void halton(double* sample, miUshort dimension, int n) {
    constexpr int primes[] = {2, 3, 5, 7, 11, 13, 17, 19};
    for (miUshort i = 0; i < dimension; ++i) sample[i] = radicalInverse(n, primes[i % 8]);
}

} // namespace

extern "C" {

miBoolean mi_call_shader_x(miColor* result, int type, miState* state, miTag shader, void* argument) {
    ScriptedRenderer& renderer = enter("mi_call_shader_x");
    return shader != miNULLTAG && renderer.callShader
               ? renderer.callShader(result, type, state, shader, argument)
               : miFALSE;
}
void* mi_phen_eval(miState* state, void* parameter) {
    ScriptedRenderer& renderer = enter("mi_phen_eval");
    return renderer.evaluate ? renderer.evaluate(state, parameter) : renderer.computed(parameter);
}
void mi_flush_cache(miState*) {
    enter("mi_flush_cache");
}

miBoolean mi_shaderstate_set(miState*, const char* key, void* data, int size, int lifetime) {
    return enter("mi_shaderstate_set").setShaderState(key, data, size, lifetime);
}
void* mi_shaderstate_get(miState*, const char* key, int* size) {
    return enter("mi_shaderstate_get").shaderState(key, size);
}

miBoolean mi_trace_eye(miColor* result, miState* state, miVector* origin, miVector* direction) {
    ScriptedRenderer& renderer = enter("mi_trace_eye");
    return renderer.traceEye ? renderer.traceEye(result, state, origin, direction) : miFALSE;
}
miBoolean mi_trace_reflection(miColor* result, miState* state, miVector* direction) {
    ScriptedRenderer& renderer = enter("mi_trace_reflection");
    return renderer.traceReflection ? renderer.traceReflection(result, state, direction) : miFALSE;
}
miBoolean mi_trace_refraction(miColor* result, miState* state, miVector* direction) {
    ScriptedRenderer& renderer = enter("mi_trace_refraction");
    return renderer.traceRefraction ? renderer.traceRefraction(result, state, direction) : miFALSE;
}
miBoolean mi_trace_environment(miColor* result, miState* state, miVector* direction) {
    ScriptedRenderer& renderer = enter("mi_trace_environment");
    return renderer.traceEnvironment ? renderer.traceEnvironment(result, state, direction) : miFALSE;
}
miBoolean mi_trace_transparent(miColor* result, miState* state) {
    ScriptedRenderer& renderer = enter("mi_trace_transparent");
    return renderer.traceTransparent ? renderer.traceTransparent(result, state) : miFALSE;
}
miBoolean mi_trace_continue(miColor* result, miState* state) {
    ScriptedRenderer& renderer = enter("mi_trace_continue");
    return renderer.traceContinue ? renderer.traceContinue(result, state) : miFALSE;
}
miBoolean mi_trace_probe(miState*, miVector*, miVector*) {
    enter("mi_trace_probe");
    return miFALSE;
}
miBoolean mi_trace_shadow(miColor* result, miState* state) {
    ScriptedRenderer& renderer = enter("mi_trace_shadow");
    return renderer.traceShadow ? renderer.traceShadow(result, state) : miTRUE;
}
miBoolean mi_trace_shadow_seg(miColor* result, miState* state) {
    ScriptedRenderer& renderer = enter("mi_trace_shadow_seg");
    return renderer.traceShadowSegment ? renderer.traceShadowSegment(result, state) : miTRUE;
}

miBoolean mi_compute_avg_radiance(miColor* result, miState* state, miUint1 face, miIrrad_options* options) {
    ScriptedRenderer& renderer = enter("mi_compute_avg_radiance");
    if (renderer.averageRadiance) return renderer.averageRadiance(result, state, face, options);
    *result = black;
    return miFALSE;
}
miBoolean mi_ambient_occlusion(miScalar* result, miState* state, miAo_options* options) {
    ScriptedRenderer& renderer = enter("mi_ambient_occlusion");
    if (renderer.ambientOcclusion) return renderer.ambientOcclusion(result, state, options);
    *result = 0.0f;
    return miTRUE;
}

miBoolean mi_sample_light(miColor* result, miVector* direction, miScalar* dotNl, miState* state,
                          miTag instance, miInteger* samples) {
    ScriptedRenderer& renderer = enter("mi_sample_light");
    for (const ScriptedLight& light : renderer.lights) {
        if (light.instance != instance) continue;
        if (*samples >= static_cast<int>(light.directions.size())) return miFALSE;
        const miVector toLight = light.directions[static_cast<std::size_t>((*samples)++)];
        return deliver(light, toLight, result, direction, dotNl, state);
    }
    return miFALSE;
}
miBoolean mi_instance_lightlist(int* count, miTag** tags, miState*) {
    const ScriptedRenderer& renderer = enter("mi_instance_lightlist");
    static std::vector<miTag> list;
    list.clear();
    for (const ScriptedLight& light : renderer.lights) list.push_back(light.instance);
    *count = static_cast<int>(list.size());
    *tags = list.data();
    return miTRUE;
}
miScalar mi_lightprofile_sample(miState*, miTag, miBoolean) {
    enter("mi_lightprofile_sample");
    return 1.0f;
}

miBoolean mi_lookup_color_texture(miColor* result, miState* state, miTag texture, miVector* coord) {
    ScriptedRenderer& renderer = enter("mi_lookup_color_texture");
    return renderer.lookupColor ? renderer.lookupColor(result, state, texture, coord) : miFALSE;
}
miBoolean mi_lookup_filter_color_texture(miColor* result, miState* state, miTag texture, miTexfilter*,
                                         miMatrix) {
    return mi_lookup_color_texture(result, state, texture, &state->tex);
}

miBoolean mi_sample(double* sample, int* instance, miState*, miUshort dimension, const miUint* n) {
    ScriptedRenderer& renderer = enter("mi_sample");
    if (instance && n) {
        if (*instance >= static_cast<int>(*n)) return miFALSE;
        halton(sample, dimension, ++*instance);
        return miTRUE;
    }
    halton(sample, dimension, instance ? ++*instance : ++renderer.samplesDrawn);
    return miTRUE;
}
miScalar mi_random(void) {
    constexpr std::uint64_t modulus = std::uint64_t{1} << 48;
    std::uint64_t& x = enter("mi_random").randomState;
    x = (x * 0x5DEECE66Dull + 0xBull) & (modulus - 1);
    return static_cast<miScalar>(std::ldexp(static_cast<double>(x), -48));
}
void mi_srandom(long seed) {
    enter("mi_srandom").randomState =
        (static_cast<std::uint64_t>(static_cast<std::uint32_t>(seed)) << 16) | 0x330E;
}

} // extern "C"
