// SPDX-License-Identifier: Apache-2.0
// Shaders of another library for render tests: none of them knows about passes.
#include <shader.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>

extern "C" {

struct ColorParameters {
    miColor color;
};

/// Background: one colour above the horizon, its half below.
DLLEXPORT miBoolean testSky(miColor* result, miState* state, ColorParameters* parameters) {
    *result = *mi_eval_color(&parameters->color);
    if (state->dir.y < 0.0f) mi_color_scale(result, result, 0.5f);
    result->a = 1.0f;
    return miTRUE;
}

/// Absorbing medium: what arrives is dimmed by e^-distance per channel colour.
DLLEXPORT miBoolean testHaze(miColor* result, miState* state, ColorParameters* parameters) {
    const miColor density = *mi_eval_color(&parameters->color);
    const float distance = static_cast<float>(state->dist);
    result->r *= std::exp(-density.r * distance);
    result->g *= std::exp(-density.g * distance);
    result->b *= std::exp(-density.b * distance);
    return miTRUE;
}

/// A light without protocol: its colour, shadowed.
DLLEXPORT miBoolean testPlainLight(miColor* result, miState* state, ColorParameters* parameters) {
    *result = *mi_eval_color(&parameters->color);
    return mi_trace_shadow(result, state);
}

/// A mirror: its colour where the reflection limit is reached.
DLLEXPORT miBoolean testMirror(miColor* result, miState* state, ColorParameters* parameters) {
    miVector direction = state->normal;
    mi_vector_mul(&direction, -2.0f * state->dot_nd);
    mi_vector_add(&direction, &direction, &state->dir);
    if (!mi_trace_reflection(result, state, &direction) && !mi_trace_environment(result, state, &direction))
        *result = *mi_eval_color(&parameters->color);
    return miTRUE;
}

/// Shows its colour unlit.
DLLEXPORT miBoolean testFlat(miColor* result, miState* state, ColorParameters* parameters) {
    *result = *mi_eval_color(&parameters->color);
    return miTRUE;
}

/// A foil whose alpha says how much it covers; it tells the renderer no opacity.
DLLEXPORT miBoolean testFoil(miColor* result, miState* state, ColorParameters* parameters) {
    const miColor foil = *mi_eval_color(&parameters->color);
    miColor behind{};
    mi_trace_transparent(&behind, state);
    const float through = 1.0f - foil.a;
    *result = {foil.r * foil.a + through * behind.r, foil.g * foil.a + through * behind.g,
               foil.b * foil.a + through * behind.b, foil.a + through * behind.a};
    return miTRUE;
}

/// Output: the length of all contour lines as red of the picture's first pixel, their number as green.
DLLEXPORT miBoolean testLineLength(void*, miState* state, void*) {
    miColor sum = {0, 0, 0, 1};
    for (miContour_endpoint a, b; mi_get_contour_line(&a, &b); sum.g += 1)
        sum.r += std::hypot(b.point.x - a.point.x, b.point.y - a.point.y);
    auto* const image = static_cast<miImg_image*>(mi_output_image_open(state, miIMG_TYPE_RGBA_FP));
    const miBoolean stored = mi_img_put_color(image, &sum, 0, 0);
    mi_output_image_close(state, miIMG_TYPE_RGBA_FP);
    return stored;
}

/// Faults that a stranger's shader may have.
DLLEXPORT miBoolean testNotANumber(miColor* result, miState*, void*) {
    result->r = std::numeric_limits<float>::quiet_NaN();
    return miTRUE;
}
DLLEXPORT miBoolean testRefuses(miColor* result, miState*, void*) {
    *result = {1, 1, 1, 1};
    return miFALSE;
}
DLLEXPORT miBoolean testFails(miColor*, miState*, void*) {
    throw std::runtime_error("the test shader gives up");
}

/// Ambient occlusion as asked for.
struct OcclusionParameters {
    miInteger rays;
    miVector axis;
    miScalar spread, scale, nearDistance, maxDistance;
    miInteger mode;
};
DLLEXPORT miBoolean testOcclusion(miColor* result, miState* state, OcclusionParameters* p) {
    miAo_options request = {sizeof(miAo_options), p->rays,        p->axis, p->spread, p->scale,
                            p->nearDistance,      p->maxDistance, p->mode};
    miScalar occlusion = -1.0f;
    const miBoolean delivered = mi_ambient_occlusion(&occlusion, state, &request);
    *result = {occlusion, occlusion, occlusion, 1.0f};
    return delivered;
}

/// A lens that shows what it finds in its state behind the ray.
DLLEXPORT miBoolean testLensFindings(miColor* result, miState* state, void*) {
    const miBoolean delivered = mi_trace_eye(result, state, &state->org, &state->dir);
    *result = {state->motion.x, state->point.z, static_cast<float>(state->dist),
               static_cast<float>(state->label)};
    return delivered;
}

/// Average radiance of the side away from the viewer.
DLLEXPORT miBoolean testGatherBehind(miColor* result, miState* state, void*) {
    return mi_compute_avg_radiance(result, state, 'b', nullptr);
}

/// Shows where the surface is, in world space.
DLLEXPORT miBoolean testShowPoint(miColor* result, miState* state, void*) {
    miVector point;
    mi_point_to_world(state, &point, &state->point);
    *result = {point.x, point.y, point.z, 1.0f};
    return miTRUE;
}

/// Shows the first texture coordinate.
DLLEXPORT miBoolean testShowCoordinate(miColor* result, miState* state, void*) {
    *result = {state->tex_list[0].x, state->tex_list[0].y, state->tex_list[0].z, 1.0f};
    return miTRUE;
}

/// A scalar that grows evenly through world space.
struct SlopeParameters {
    miVector slope;
};
DLLEXPORT miBoolean testSlope(miScalar* result, miState* state, SlopeParameters* parameters) {
    const miVector slope = *mi_eval_vector(&parameters->slope);
    miVector point;
    mi_point_to_world(state, &point, &state->point);
    *result = mi_vector_dot(&point, &slope);
    return miTRUE;
}

/// Displacement: the sum of what the spaces say of a vertex, with weights of its own.
struct DisplaceParameters {
    miVector world, camera, object;
};
DLLEXPORT miBoolean testDisplace(miScalar* result, miState* state, DisplaceParameters* parameters) {
    if (state->type != miRAY_DISPLACE) return miFALSE;
    miVector world, camera, object;
    mi_point_to_world(state, &world, &state->point);
    mi_point_to_camera(state, &camera, &state->point);
    mi_point_to_object(state, &object, &state->point);
    const miVector worldWeight = *mi_eval_vector(&parameters->world);
    const miVector cameraWeight = *mi_eval_vector(&parameters->camera);
    const miVector objectWeight = *mi_eval_vector(&parameters->object);
    *result += mi_vector_dot(&world, &worldWeight) + mi_vector_dot(&camera, &cameraWeight) +
               mi_vector_dot(&object, &objectWeight);
    return miTRUE;
}

/// A record larger than a colour, as surface shaders of a library return one. Its colour is added to.
struct TestRecord {
    miScalar height;
    miColor color, more[4];
};
DLLEXPORT miBoolean testRecord(TestRecord* result, miState* state, ColorParameters* parameters) {
    const miColor color = *mi_eval_color(&parameters->color);
    result->height = 0.25f;
    mi_color_add(&result->color, &result->color, &color);
    for (miColor& each : result->more) each = {9, 9, 9, 9};
    return miTRUE;
}

/// Calls a shader for a colour on its stack and shows it, with the share of the words behind it that the call
/// has changed as alpha. Asked to, it says first that it knows how large the result is.
struct CallParameters {
    miTag called;
    miBoolean asks;
};
DLLEXPORT miBoolean testCall(miColor* result, miState* state, CallParameters* parameters) {
    const miTag called = *mi_eval_tag(&parameters->called);
    int size = 0;
    if (*mi_eval_boolean(&parameters->asks)) mi_query(miQ_DECL_RESULT_SIZE, state, called, &size);
    struct {
        miColor color;
        float behind[32];
    } room = {};
    const miBoolean delivered = mi_call_shader(&room.color, miSHADER_MATERIAL, state, called);
    int changed = 0;
    for (const float word : room.behind) changed += word != 0.0f;
    *result = room.color;
    result->a = static_cast<float>(changed);
    return delivered;
}

/// Fills the stack: the level that would end it is out of reach.
static int recurse(volatile int* level) {
    volatile int inner[1024];
    inner[0] = *level + 1;
    return inner[0] < 0 ? 0 : recurse(inner) + inner[0];
}

/// Ends the process while the second frame is rendered, in the manner asked for.
struct EndParameters {
    miTag how;
};
DLLEXPORT int testEnds_version(void) {
    return 1;
}
DLLEXPORT miBoolean testEnds(miColor*, miState* state, EndParameters* parameters) {
    if (state->camera->frame != 2) return miTRUE;
    const miTag tag = *mi_eval_tag(&parameters->how);
    const std::string how = static_cast<const char*>(mi_db_access(tag));
    mi_db_unpin(tag);
    if (how == "exit") std::exit(0);
    if (how == "_exit") std::_Exit(0);
    if (how == "fatal") mi_fatal("out of paint");
    if (how == "stack") {
        volatile int level = 0;
        return recurse(&level) == 0;
    };
    std::raise(how == "abort" ? SIGABRT : how == "kill" ? SIGKILL : SIGSEGV);
    return miTRUE;
}

/// Traces the ray again that has hit it, without end.
DLLEXPORT int testEyeAgain_version(void) {
    return 1;
}
DLLEXPORT miBoolean testEyeAgain(miColor* result, miState* state, void*) {
    return mi_trace_eye(result, state, &state->org, &state->dir);
}

/// Says something else for every sample, with a format of its own each time.
DLLEXPORT int testChatters_version(void) {
    return 1;
}
DLLEXPORT miBoolean testChatters(miColor*, miState* state, void*) {
    char format[64];
    std::snprintf(format, sizeof format, "at %g, %g", static_cast<double>(state->raster_x),
                  static_cast<double>(state->raster_y));
    mi_warning(format);
    return miTRUE;
}

/// A light map of vertices: names each.
DLLEXPORT miBoolean testVertices(miColor*, miState* state, void*) {
    mi_warning("vertex at %g, %g, weights %g %g %g", static_cast<double>(state->point.x),
               static_cast<double>(state->point.y), static_cast<double>(state->bary[0]),
               static_cast<double>(state->bary[1]), static_cast<double>(state->bary[2]));
    return miTRUE;
}

struct CardsParameters {
    miTag material;
    miInteger fault; ///< one that the shader makes on purpose; 0: none
};

/// Geometry: cards of half size a half at (-1, 0, 0) and (1, 0.5, 0), instances of one object, and a card
/// with a hole at the origin.
DLLEXPORT miBoolean testCards(miTag* result, miState* state, CardsParameters* parameters) {
    const miInteger fault = *mi_eval_integer(&parameters->fault);
    if (fault == 1) return miTRUE;
    const auto makeCard = [&](bool hasHole) {
        miObject* const object = mi_api_object_begin(nullptr);
        object->visible = object->shadow = object->trace = miTRUE;
        mi_api_object_group_begin(0.0);
        for (const float half : {0.5f, 0.25f})
            for (const float y : {-half, half})
                for (const float x : {-half, half}) {
                    miVector corner{x, y, 0.0f};
                    mi_api_vector_xyz_add(&corner);
                }
        miGeoVector normal{0.0, 0.0, 1.0};
        mi_api_geovector_xyz_add(&normal);
        for (int i = 0; i < 8; ++i) {
            mi_api_vertex_add(i);
            mi_api_vertex_normal_add(fault == 2 ? 9 : 8);
            mi_api_vertex_tex_add(i, -1, -1);
        }
        mi_api_poly_begin_tag(hasHole ? 0 : 1, *mi_eval_tag(&parameters->material));
        for (const int corner : {0, 1, 3, 2}) mi_api_poly_index_add(fault == 3 ? corner + 7 : corner);
        if (hasHole) {
            mi_api_poly_hole_add();
            for (const int corner : {4, 6, 7, 5}) mi_api_poly_index_add(corner);
        }
        if (fault != 4) mi_api_poly_end();
        mi_api_object_group_end();
        return fault == 5 ? miNULLTAG : mi_api_object_end();
    };
    const miTag card = makeCard(false);
    if (fault == 5) return mi_geoshader_add_result(result, *mi_eval_tag(&parameters->material));
    mi_api_instgroup_begin(nullptr);
    for (const float x : {-1.0f, 1.0f}) {
        miInstance* const instance = mi_api_instance_begin(nullptr);
        if (x < 0.0f) instance->tf.global_to_local[12] = 1.0f;
        const miTag tag = mi_api_instance_end(nullptr, card, miNULLTAG);
        if (x > 0.0f && tag != miNULLTAG) {
            auto* const later = static_cast<miInstance*>(mi_scene_edit(tag));
            later->tf.global_to_local[12] = -1.0f;
            later->tf.global_to_local[13] = -0.5f;
            mi_scene_edit_end(tag);
        }
        mi_api_instgroup_additem_tag(tag);
    }
    mi_geoshader_add_result(result, mi_api_instgroup_end());
    mi_geoshader_add_result(result, makeCard(true));
    return state->instance != miNULLTAG;
}

/// Geometry: a hair of two segments.
DLLEXPORT miBoolean testHairs(miTag* result, miState* state, miTag* material) {
    miObject* const object = mi_api_object_begin(nullptr);
    object->visible = object->shadow = object->trace = miTRUE;
    miHair_list* const hairs = mi_api_hair_begin();
    hairs->material = *mi_eval_tag(material);
    hairs->radius = 0.05f;
    mi_api_hair_info(0, 't', 1);
    miScalar* const numbers = mi_api_hair_scalars_begin(12);
    const miScalar hair[] = {5, 0.1f, -1, 0, 0.1f, 0.5f, 0, 0.4f, 1, 0};
    std::copy(std::begin(hair), std::end(hair), numbers);
    mi_api_hair_scalars_end(10);
    mi_api_hair_hairs_begin(2)[1] = 10;
    mi_api_hair_hairs_end();
    mi_api_hair_end();
    return mi_geoshader_add_result(result, mi_api_object_end());
}

/// A material's components under names that other libraries use.
DLLEXPORT miBoolean testComponents(void* result, miState*, void*) {
    const struct {
        miVector unknown{9, 9, 9};
        miColor diffuse{0.1f, 0.1f, 0.1f, 0}, all{1, 1, 1, 1}, highlights{0.2f, 0.2f, 0.2f, 0};
        miScalar reflection = 0.4f;
    } components;
    std::memcpy(result, &components, sizeof components);
    return miTRUE;
}

} // extern "C"
