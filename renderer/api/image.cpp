// SPDX-License-Identifier: Apache-2.0
#include "api/guarded.h"
#include "base/active_log.h"
#include "base/describe_exception.h"
#include "image/image_reader.h"
#include "image/image_types.h"
#include "image/shader_image.h"
#include "render/context/render_context.h"
#include "render/output_shaders.h"

#include <shader.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

using orca::api::guarded;
using orca::image::ImageReader;

namespace {

/// What an open file is read with, and what is wanted of it.
struct OpenFile {
    explicit OpenFile(const char* path, miImg_type wanted)
        : reader(orca::image::openImage(path)), type(wanted) {}
    std::unique_ptr<ImageReader> reader;
    miImg_type type;
};

/// Runs what throws; false with the reason in the file's record.
template <class Body>
miBoolean reported(miImg_file* file, const Body& body) {
    try {
        body();
        file->error[0] = '\0';
        return miTRUE;
    } catch (...) {
        const std::string reason = orca::describeException();
        const std::size_t length = std::min(reason.size(), sizeof file->error - 1);
        std::copy_n(reason.data(), length, file->error);
        file->error[length] = '\0';
        return miFALSE;
    }
}

/// The declared name of the running shader.
std::string shaderOf(miState* state) {
    char* name = nullptr;
    return mi_query(miQ_DECL_NAME, state, miNULLTAG, &name) ? name : "";
}

orca::render::OutputImages* imagesOf(miState* state) {
    return orca::render::renderContextOf(state).outputImages;
}

template <class Value>
miBoolean get(const miImg_image* image, Value* value, int x, int y) {
    return image && orca::image::read(*image, x, y, *value);
}

template <class Value>
miBoolean put(const miImg_image* image, const Value& value, int x, int y) {
    return image && orca::image::write(*image, x, y, value);
}

} // namespace

extern "C" {

DLLEXPORT void* mi_output_image_open(miState* state, int type) {
    return guarded(__func__, nullptr, [&]() -> miImg_image* {
        if (auto* const images = imagesOf(state)) return images->open(type, shaderOf(state));
        orca::activeLog().error("RNDR", "mi_output_image_open: \"{}\" is no output shader", shaderOf(state));
        return nullptr;
    });
}

DLLEXPORT void mi_output_image_close(miState* state, int type) {
    guarded(__func__, [&] {
        auto* const images = imagesOf(state);
        if (!images || !images->close(type))
            orca::activeLog().warning("RNDR", "mi_output_image_close: \"{}\" has no open image of type {}",
                                      shaderOf(state), type);
    });
}

DLLEXPORT int mi_img_get_width(const miImg_image* image) {
    return image ? image->width : 0;
}

DLLEXPORT int mi_img_get_height(const miImg_image* image) {
    return image ? image->height : 0;
}

DLLEXPORT miBoolean mi_img_get_color(const miImg_image* image, miColor* color, int x, int y) {
    return get(image, color, x, y);
}

DLLEXPORT miBoolean mi_img_get_scalar(const miImg_image* image, miScalar* scalar, int x, int y) {
    return get(image, scalar, x, y);
}

DLLEXPORT miBoolean mi_img_get_depth(const miImg_image* image, miScalar* depth, int x, int y) {
    return get(image, depth, x, y);
}

DLLEXPORT miBoolean mi_img_get_vector(const miImg_image* image, miVector* vector, int x, int y) {
    return get(image, vector, x, y);
}

DLLEXPORT miBoolean mi_img_get_normal(const miImg_image* image, miVector* normal, int x, int y) {
    return get(image, normal, x, y);
}

DLLEXPORT miBoolean mi_img_get_label(const miImg_image* image, miUint* label, int x, int y) {
    return get(image, label, x, y);
}

DLLEXPORT miBoolean mi_img_put_color(miImg_image* image, const miColor* color, int x, int y) {
    return put(image, *color, x, y);
}

DLLEXPORT miBoolean mi_img_put_scalar(miImg_image* image, miScalar scalar, int x, int y) {
    return put(image, scalar, x, y);
}

DLLEXPORT miBoolean mi_img_put_depth(miImg_image* image, miScalar depth, int x, int y) {
    return put(image, depth, x, y);
}

DLLEXPORT miBoolean mi_img_put_vector(miImg_image* image, const miVector* vector, int x, int y) {
    return put(image, *vector, x, y);
}

DLLEXPORT miBoolean mi_img_put_normal(miImg_image* image, const miVector* normal, int x, int y) {
    return put(image, *normal, x, y);
}

DLLEXPORT miBoolean mi_img_put_label(miImg_image* image, miUint label, int x, int y) {
    return put(image, label, x, y);
}

DLLEXPORT miBoolean mi_img_open(miImg_file* file, const char* path, int type) {
    *file = {};
    return reported(file, [&] {
        auto opened = std::make_unique<OpenFile>(path, static_cast<miImg_type>(type));
        if (orca::image::componentCount(opened->type) == 0 || opened->type == miIMG_TYPE_TAG)
            throw std::runtime_error("images are read as colours, vectors or numbers");
        file->type = opened->reader->type();
        file->width = opened->reader->width();
        file->height = opened->reader->height();
        file->ext = opened.release();
    });
}

DLLEXPORT miImg_image* mi_img_image_alloc(const miImg_file* file) {
    return guarded(__func__, nullptr, [&]() -> miImg_image* {
        const auto* const opened = static_cast<const OpenFile*>(file->ext);
        if (!opened) return nullptr;
        auto image =
            std::make_unique<miImg_image>(orca::image::blankImage(opened->type, file->width, file->height));
        return image.release();
    });
}

DLLEXPORT miBoolean mi_img_image_read(miImg_file* file, miImg_image* image) {
    return reported(file, [&] {
        auto* const opened = static_cast<OpenFile*>(file->ext);
        if (!opened || !image) throw std::runtime_error("the file is not open, or there is no image");
        opened->reader->read(*image);
    });
}

DLLEXPORT void mi_img_close(miImg_file* file) {
    delete static_cast<OpenFile*>(file->ext);
    file->ext = nullptr;
}

DLLEXPORT void mi_img_image_release(miImg_image* image) {
    if (image && !image->own.empty()) delete image; // a frame buffer's is closed instead
}

} // extern "C"
