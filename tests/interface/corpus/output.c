/* SPDX-License-Identifier: Apache-2.0 */
/* Output shaders: one turns the picture into its negative, one reads the files that are written before and
 * after. */
#include "geoshader.h"

#include "checks.h"

DLLEXPORT int corpus_negative_version(void) {
    return 1;
}

DLLEXPORT miBoolean corpus_negative(void* result, miState* state, void* parameters) {
    miImg_image* picture = (miImg_image*)mi_output_image_open(state, miIMG_TYPE_RGBA_FP);
    miImg_image* depth = (miImg_image*)mi_output_image_open(state, miIMG_TYPE_Z);
    miImg_image* sum = (miImg_image*)mi_output_image_open(state, miIMG_TYPE_USER(0));
    miColor color;
    miScalar far_away, before = -1;
    miVector vector;
    miUint label;
    int x = 0, y, stage = 0;
    (void)result;
    (void)parameters;
    CHECK(mi_query(miQ_RENDER_STAGE, state, miNULLTAG, &stage) && stage == miSTAGE_OUTPUT);
    CHECK(state->type == miRAY_OUTPUT && mi_img_get_width(picture) == state->camera->x_resolution);
    for (y = 0; y < mi_img_get_height(picture); ++y)
        for (x = 0; x < mi_img_get_width(picture); ++x) {
            CHECK(mi_img_get_color(picture, &color, x, y) && mi_img_get_depth(depth, &far_away, x, y));
            CHECK(mi_img_get_scalar(sum, &before, x, y) && before == 0);
            CHECK(mi_img_put_scalar(sum, color.r + far_away, x, y));
            color.r = 1 - color.r;
            color.g = 1 - color.g;
            color.b = 1 - color.b;
            CHECK(mi_img_put_color(picture, &color, x, y));
        }
    CHECK(!mi_img_get_color(picture, &color, x, 0) && !mi_img_put_color(picture, &color, 0, -1));
    CHECK(!mi_img_get_label(picture, &label, 0, 0) && !mi_img_get_vector(depth, &vector, 0, 0));
    mi_output_image_close(state, miIMG_TYPE_USER(0));
    mi_output_image_close(state, miIMG_TYPE_Z);
    mi_output_image_close(state, miIMG_TYPE_RGBA_FP);
    return miTRUE;
}

static miImg_image* image_of(const char* path, int type) {
    miImg_file file;
    miImg_image* image;
    if (!mi_img_open(&file, path, type)) {
        mi_error("%s: %s", path, file.error);
        return NULL;
    }
    CHECK(file.type == miIMG_TYPE_RGBA_FP || type != miIMG_TYPE_RGBA_FP);
    image = mi_img_image_alloc(&file);
    CHECK(mi_img_image_read(&file, image));
    mi_img_close(&file);
    return image;
}

DLLEXPORT int corpus_compare_version(void) {
    return 1;
}

/* In the folder that the first picture's files are in. */
DLLEXPORT miBoolean corpus_compare(void* result, miState* state, void* parameters) {
    miImg_image* before = image_of("corpus_before.exr", miIMG_TYPE_RGBA_FP);
    miImg_image* after = image_of("corpus_after.exr", miIMG_TYPE_RGBA_FP);
    miImg_image* sum = image_of("corpus_sum.exr", miIMG_TYPE_S_FP);
    miImg_image* picture = (miImg_image*)mi_output_image_open(state, miIMG_TYPE_RGBA_FP);
    miImg_image* depth = (miImg_image*)mi_output_image_open(state, miIMG_TYPE_Z);
    miImg_image* copy = (miImg_image*)mi_output_image_open(state, miIMG_TYPE_USER(0));
    miImg_file missing;
    miColor a, b, c;
    miScalar s, z;
    int x, y;
    (void)result;
    (void)parameters;
    CHECK(mi_img_get_height(after) == mi_img_get_height(picture) && mi_img_get_height(picture) > 0);
    for (y = 0; y < mi_img_get_height(picture); ++y)
        for (x = 0; x < mi_img_get_width(picture); ++x) {
            mi_img_get_color(before, &a, x, y);
            mi_img_get_color(after, &b, x, y);
            mi_img_get_color(picture, &c, x, y);
            mi_img_get_scalar(sum, &s, x, y);
            mi_img_get_depth(depth, &z, x, y);
            mi_img_put_scalar(copy, s, x, y);
            CHECK(NEAR(a.r, c.r, 1e-6) && NEAR(a.g + b.g, 1, 1e-6) && NEAR(s, c.r + z, 1e-4));
        }
    mi_img_image_release(before);
    mi_img_image_release(after);
    mi_img_image_release(sum);
    mi_output_image_close(state, miIMG_TYPE_USER(0));
    mi_output_image_close(state, miIMG_TYPE_Z);
    mi_output_image_close(state, miIMG_TYPE_RGBA_FP);
    CHECK(!mi_img_open(&missing, "corpus_nothing.exr", miIMG_TYPE_RGBA) && missing.error[0] != '\0');
    return miTRUE;
}
