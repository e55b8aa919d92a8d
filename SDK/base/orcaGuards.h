// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Scope guards: each releases or restores what it holds, on every exit from its scope.

#include <shader.h>

/// A database element, pinned for the guard's lifetime. Empty for a null tag or an unknown element.
template <class Element>
class Pinned {
public:
    explicit Pinned(miTag tag)
        : tag_(tag), element_(tag == miNULLTAG ? nullptr : static_cast<Element*>(mi_db_access(tag))) {}
    ~Pinned() {
        if (element_) mi_db_unpin(tag_);
    }
    Pinned(const Pinned&) = delete;
    Pinned& operator=(const Pinned&) = delete;

    [[nodiscard]] Element* get() const noexcept { return element_; }
    [[nodiscard]] Element* operator->() const noexcept { return element_; }
    explicit operator bool() const noexcept { return element_ != nullptr; }
    /// Passes ownership of the pin to the caller.
    Element* release() noexcept {
        Element* const element = element_;
        element_ = nullptr;
        return element;
    }

private:
    miTag tag_;
    Element* element_;
};

/// Releases a pin that was taken elsewhere.
class Unpin {
public:
    explicit Unpin(miTag tag) : tag_(tag) {}
    ~Unpin() {
        if (tag_ != miNULLTAG) mi_db_unpin(tag_);
    }
    Unpin(const Unpin&) = delete;
    Unpin& operator=(const Unpin&) = delete;

private:
    miTag tag_;
};

/// Restores a value.
template <class T>
class Restored {
public:
    explicit Restored(T& value) : value_(value), before_(value) {}
    ~Restored() { value_ = before_; }
    Restored(const Restored&) = delete;
    Restored& operator=(const Restored&) = delete;

    [[nodiscard]] const T& before() const noexcept { return before_; }

private:
    T& value_;
    T before_;
};

/// Zeroed array from the renderer's allocator; empty when there is no memory.
template <class T>
class RendererArray {
public:
    RendererArray(const char* file, int line, int count)
        : file_(file),
          line_(line),
          memory_(static_cast<T*>(mi_mem_int_allocate(file, line, count * static_cast<int>(sizeof(T))))) {}
    ~RendererArray() {
        if (memory_) mi_mem_int_release(file_, line_, memory_);
    }
    RendererArray(const RendererArray&) = delete;
    RendererArray& operator=(const RendererArray&) = delete;

    [[nodiscard]] T* get() const noexcept { return memory_; }
    [[nodiscard]] T& operator[](int i) const noexcept { return memory_[i]; }
    explicit operator bool() const noexcept { return memory_ != nullptr; }
    /// Passes ownership of the memory to the caller.
    T* release() noexcept {
        T* const memory = memory_;
        memory_ = nullptr;
        return memory;
    }

private:
    const char* file_;
    int line_;
    T* memory_;
};
