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

/// Root object of the C++ half of the interface; `release` it after use.
class Interface {
public:
    virtual void release() = 0;
    /// Null for a tag that is no frame-buffer collection; needs one `releaseFramebuffers`.
    virtual const Framebuffer* getFramebuffers(miTag collection) = 0;
    virtual Framebuffer* editFramebuffers(miTag collection) = 0;
    virtual void releaseFramebuffers(const Framebuffer* framebuffers) = 0;
    /// A new, empty collection.
    virtual miTag createFramebuffer() = 0;

protected:
    ~Interface() = default;
};

} // namespace shader_v3

namespace shader = shader_v3;
} // namespace mi

extern "C" {
/// The interface object; null for a version that this renderer does not implement.
mi::shader_v3::Interface* mi_get_shader_interface(int version = 3);
}

namespace mi {
namespace shader_v3 {

/// A collection, for the object's lifetime; empty for a tag that is none.
template <class Collection, Collection* (Interface::*open)(miTag)>
class Framebuffer_access {
public:
    explicit Framebuffer_access(miTag collection)
        : interface_(mi_get_shader_interface()),
          framebuffers_(interface_ ? (interface_->*open)(collection) : nullptr) {}
    ~Framebuffer_access() {
        if (framebuffers_) interface_->releaseFramebuffers(framebuffers_);
        if (interface_) interface_->release();
    }
    Framebuffer_access(const Framebuffer_access&) = delete;
    Framebuffer_access& operator=(const Framebuffer_access&) = delete;

    Collection* operator->() const { return framebuffers_; }
    explicit operator bool() const { return framebuffers_ != nullptr; }

private:
    Interface* interface_;
    Collection* framebuffers_;
};

/// Read access.
using Access_fb = Framebuffer_access<const Framebuffer, &Interface::getFramebuffers>;
/// Access to change it.
using Edit_fb = Framebuffer_access<Framebuffer, &Interface::editFramebuffers>;

} // namespace shader_v3
} // namespace mi

#endif
