// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <map>
#include <string>
#include <vector>

/// The camera's named frame buffers for one pixel. Index 0 is the picture itself.
class ScriptedFrameBuffers final : public mi::shader::Framebuffer {
public:
    /// Index of the new buffer; the first is 1.
    int add(std::string name, miImg_type type = miIMG_TYPE_RGBA_FP);
    /// The value last put, as many channels as the buffer's type has; zero when nothing was put.
    [[nodiscard]] miColor value(int index) const;
    /// As if a shader had put it.
    void setValue(int index, const miColor& color) { values_[index] = color; }
    [[nodiscard]] int putCount() const { return puts_; }

    miBoolean put(int index, const void* value);
    miBoolean fetch(int index, void* value) const;

    bool get_index(const char* name, size_t& index) const override;
    bool get_buffercount(size_t& count) const override;
    bool get_buffername(size_t n, const char*& name) const override;
    bool get_datatype(size_t n, miImg_type& type) const override;
    bool get(const char*, const char*, bool&) const override { return false; }
    bool get(const char*, const char*, int&) const override { return false; }
    bool get(const char*, const char*, float&) const override { return false; }
    bool get(const char*, const char*, const char*&) const override { return false; }
    bool set(const char*, const char*, bool) override { return false; }
    bool set(const char*, const char*, int) override { return false; }
    bool set(const char*, const char*, float) override { return false; }
    bool set(const char*, const char*, const char*) override { return false; }
    bool remove(const char*) override { return false; }
    void reset() override {}
    void echo() const override {}

private:
    struct Buffer {
        std::string name;
        miImg_type type;
    };
    [[nodiscard]] std::size_t bytes(int index) const;

    std::vector<Buffer> buffers_{{"", miIMG_TYPE_RGBA_FP}};
    std::map<int, miColor> values_;
    int puts_ = 0;
};
