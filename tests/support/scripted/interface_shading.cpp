// SPDX-License-Identifier: Apache-2.0
/// mi_* functions of shader calls, tracing, lights, textures and random numbers.
#include "scripted_renderer.h"

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
    return enter("mi_call_shader_x").callShader(result, type, state, shader, argument);
}
miBoolean mi_call_material(miColor* result, miState* state) {
    return enter("mi_call_material").callShader(result, miSHADER_MATERIAL, state, state->material, nullptr);
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

/// There are no triangles.
miBoolean mi_tri_vectors(miState*, int, int, miVector**, miVector**, miVector**) {
    enter("mi_tri_vectors");
    return miFALSE;
}

miBoolean mi_trace_eye(miColor* result, miState* state, miVector* origin, miVector* direction) {
    return enter("mi_trace_eye").traceEye(result, state, origin, direction);
}
miBoolean mi_trace_reflection(miColor* result, miState* state, miVector* direction) {
    return enter("mi_trace_reflection").traceReflection(result, state, direction);
}
miBoolean mi_trace_refraction(miColor* result, miState* state, miVector* direction) {
    return enter("mi_trace_refraction").traceRefraction(result, state, direction);
}
miBoolean mi_trace_environment(miColor* result, miState* state, miVector* direction) {
    return enter("mi_trace_environment").traceEnvironment(result, state, direction);
}
miBoolean mi_trace_transparent(miColor* result, miState* state) {
    return enter("mi_trace_transparent").traceTransparent(result, state);
}
miBoolean mi_trace_continue(miColor* result, miState* state) {
    return enter("mi_trace_continue").traceContinue(result, state);
}
miBoolean mi_trace_probe(miState*, miVector*, miVector*) {
    return miFALSE;
}
miBoolean mi_trace_shadow(miColor* result, miState* state) {
    return enter("mi_trace_shadow").traceShadow(result, state);
}
miBoolean mi_trace_shadow_seg(miColor* result, miState* state) {
    return enter("mi_trace_shadow_seg").traceShadowSegment(result, state);
}

miBoolean mi_compute_avg_radiance(miColor* result, miState* state, miUint1 face, miIrrad_options* options) {
    return enter("mi_compute_avg_radiance").averageRadiance(result, state, face, options);
}
miBoolean mi_ambient_occlusion(miScalar* result, miState* state, miAo_options* options) {
    return enter("mi_ambient_occlusion").ambientOcclusion(result, state, options);
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
    return enter("mi_lookup_color_texture").lookupColor(result, state, texture, coord);
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
    return std::generate_canonical<miScalar, 24>(enter("mi_random").random);
}
void mi_srandom(long seed) {
    enter("mi_srandom").random.seed(static_cast<unsigned>(seed));
}

} // extern "C"
