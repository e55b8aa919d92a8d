// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.h"

/// A picture in memory: of a frame buffer, for output shaders, or read from a file. (0, 0) is lower left.
typedef struct miImg_image miImg_image;

/// Frame buffer of a camera by its index (`Framebuffer::get_index`), and "fb<n>", as types of
/// `mi_output_image_open`.
#define miIMG_TYPE_BUFFER(index) (0x10000 + (int)(index))
#define miIMG_TYPE_USER(n) (0x20000 + (int)(n))

/// A file that is read. `error` is the reason when something failed, else empty.
typedef struct miImg_file {
    int type; ///< the file's own, an miImg_type
    int width, height;
    char error[200];
    void* ext; ///< the renderer's own
} miImg_file;

miBEGIN_INTERFACE

/// Output shaders: a frame buffer of the finished picture, to read and to change. Each open needs one close.
/// @param type an miImg_type: of the buffers in the shader's output statement, then of the camera's, the
/// first
///     that holds the same kind of value (colour, alpha, intensity, depth, normals, motion, labels,
///     coverage); user buffers only where the statement names them. Or miIMG_TYPE_BUFFER or miIMG_TYPE_USER.
/// Null, with a message, where there is no such buffer, and null outside of output shaders.
void* mi_output_image_open(miState* state, int type);
void mi_output_image_close(miState* state, int type);

int mi_img_get_width(const miImg_image* image);
int mi_img_get_height(const miImg_image* image);

/// Values as they were rendered, linear and without limits. What the image does not hold is derived: colours
/// from scalars are grey with alpha 1, scalars from colours their mean, vectors red, green and blue. Labels
/// only from images of labels, and those give and take nothing else. False, the result untouched, outside of
/// the image, outside of the rendered window, and for values that it cannot hold.
miBoolean mi_img_get_color(const miImg_image* image, miColor* color, int x, int y);
miBoolean mi_img_get_scalar(const miImg_image* image, miScalar* scalar, int x, int y);
miBoolean mi_img_get_depth(const miImg_image* image, miScalar* depth, int x, int y);
miBoolean mi_img_get_vector(const miImg_image* image, miVector* vector, int x, int y);
miBoolean mi_img_get_normal(const miImg_image* image, miVector* normal, int x, int y);
miBoolean mi_img_get_label(const miImg_image* image, miUint* label, int x, int y);
miBoolean mi_img_put_color(miImg_image* image, const miColor* color, int x, int y);
miBoolean mi_img_put_scalar(miImg_image* image, miScalar scalar, int x, int y);
miBoolean mi_img_put_depth(miImg_image* image, miScalar depth, int x, int y);
miBoolean mi_img_put_vector(miImg_image* image, const miVector* vector, int x, int y);
miBoolean mi_img_put_normal(miImg_image* image, const miVector* normal, int x, int y);
miBoolean mi_img_put_label(miImg_image* image, miUint label, int x, int y);

/// Opens an image file of any format that textures may have; values come as the file has them, 0 to 1 for
/// whole numbers. `type` is what is wanted of it: colours or one number a pixel. False, with the reason in
/// `file->error`, when it cannot be read; nothing needs closing then.
miBoolean mi_img_open(miImg_file* file, const char* path, int type);
/// Memory for the file's pixels, black; needs one release.
miImg_image* mi_img_image_alloc(const miImg_file* file);
/// Reads the pixels of an open file. False, with the reason in `file->error`, when it is damaged.
miBoolean mi_img_image_read(miImg_file* file, miImg_image* image);
void mi_img_close(miImg_file* file);
void mi_img_image_release(miImg_image* image);

miEND_INTERFACE
