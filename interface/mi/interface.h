// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "framebuffer.h"

#ifdef __cplusplus

namespace mi {
namespace shader_v3 {

/// Options with names of their own: `"name" value` in an options statement.
class Options {
public:
    /// False, and the value untouched, for an unknown name and a value of another type; whole numbers are
    /// read as `float` too. Three numbers are a vector, or a colour with alpha 1, four a colour. Texts belong
    /// to the renderer.
    virtual bool get(const char* name, bool& value) const = 0;
    virtual bool get(const char* name, int& value) const = 0;
    virtual bool get(const char* name, float& value) const = 0;
    virtual bool get(const char* name, const char*& value) const = 0;
    virtual bool get(const char* name, miVector& value) const = 0;
    virtual bool get(const char* name, miColor& value) const = 0;

protected:
    ~Options() = default;
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
    /// Of `miOptions::string_options`; null for another tag. Needs one `releaseOptions`.
    virtual const Options* getOptions(miTag options) = 0;
    virtual void releaseOptions(const Options* options) = 0;

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

/// What a tag of the interface's names, for the object's lifetime; empty for a tag of something else.
template <class Opened, Opened* (Interface::*open)(miTag), void (Interface::*release)(const Opened*)>
class Interface_access {
public:
    explicit Interface_access(miTag tag)
        : interface_(mi_get_shader_interface()), opened_(interface_ ? (interface_->*open)(tag) : nullptr) {}
    ~Interface_access() {
        if (opened_) (interface_->*release)(opened_);
        if (interface_) interface_->release();
    }
    Interface_access(const Interface_access&) = delete;
    Interface_access& operator=(const Interface_access&) = delete;

    Opened* operator->() const { return opened_; }
    explicit operator bool() const { return opened_ != nullptr; }

private:
    Interface* interface_;
    Opened* opened_;
};

/// Read access.
using Access_fb =
    Interface_access<const Framebuffer, &Interface::getFramebuffers, &Interface::releaseFramebuffers>;
/// Access to change it.
using Edit_fb = Interface_access<Framebuffer, &Interface::editFramebuffers, &Interface::releaseFramebuffers>;
using Access_options = Interface_access<const Options, &Interface::getOptions, &Interface::releaseOptions>;

} // namespace shader_v3
} // namespace mi

#endif
