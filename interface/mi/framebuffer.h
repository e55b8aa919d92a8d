// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.h"

miBEGIN_INTERFACE

/// Value of frame buffer `buffer` for the current eye sample; the buffer's type says how many bytes are read
/// or written: colours 16, vectors 12, scalars, depth and labels 4. False for an index out of range.
miBoolean mi_fb_put(miState* state, int buffer, const void* value);
/// Zero when nothing was put yet.
miBoolean mi_fb_get(miState* state, int buffer, void* value);

/// Opacity of the sample being shaded, for the rasterizer's compositing.
void mi_opacity_set(miState* state, const miColor* opacity);
/// False when none is set or none can be held.
miBoolean mi_opacity_get(miState* state, miColor* opacity);

miEND_INTERFACE

#ifdef __cplusplus

namespace mi {
namespace shader_v3 {

/// The named frame buffers of a camera. Index 0 is never a named buffer.
class Framebuffer {
public:
    virtual bool get_index(const char* name, size_t& index) const = 0;
    virtual bool get_buffercount(size_t& count) const = 0;
    /// `n` counts from 0 over the named buffers in index order.
    virtual bool get_buffername(size_t n, const char*& name) const = 0;
    virtual bool get_datatype(size_t n, miImg_type& type) const = 0;

    /// Attributes of a buffer by name: "datatype", "filename", "filetype" (text); "user", "filtering",
    /// "primary" (bool). False for an unknown buffer or attribute, or a value of another type.
    virtual bool get(const char* buffer, const char* attribute, bool& value) const = 0;
    virtual bool get(const char* buffer, const char* attribute, int& value) const = 0;
    virtual bool get(const char* buffer, const char* attribute, float& value) const = 0;
    virtual bool get(const char* buffer, const char* attribute, const char*& value) const = 0;
    virtual bool set(const char* buffer, const char* attribute, bool value) = 0;
    virtual bool set(const char* buffer, const char* attribute, int value) = 0;
    virtual bool set(const char* buffer, const char* attribute, float value) = 0;
    virtual bool set(const char* buffer, const char* attribute, const char* value) = 0;
    virtual bool remove(const char* buffer) = 0;
    virtual void reset() = 0;
    virtual void echo() const = 0;

protected:
    ~Framebuffer() = default;
};

} // namespace shader_v3

namespace shader = shader_v3;
} // namespace mi

#endif
