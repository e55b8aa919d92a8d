// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

/// The camera's named frame buffers for one pixel. Index 0 is the picture itself.
class ScriptedFrameBuffers final : public mi::shader::Framebuffer {
public:
    /// The first buffer is at index 1.
    void add(std::string name, int channels = 4) { buffers_.push_back({std::move(name), channels}); }
    /// What the pixel holds.
    [[nodiscard]] miColor& value(int index) { return buffers_.at(static_cast<std::size_t>(index)).value; }
    [[nodiscard]] int putCount() const { return puts_; }

    miBoolean put(int index, const void* value) {
        ++puts_;
        return copy(index, [&](Buffer& b) { std::memcpy(&b.value, value, b.bytes()); });
    }
    miBoolean fetch(int index, void* value) {
        return copy(index, [&](Buffer& b) { std::memcpy(value, &b.value, b.bytes()); });
    }

    bool get_index(const char* name, size_t& index) const override {
        for (std::size_t i = 1; i < buffers_.size(); ++i)
            if (buffers_[i].name == name) {
                index = i;
                return true;
            }
        return false;
    }
    bool get_buffercount(size_t&) const override { return false; }
    bool get_buffername(size_t, const char*&) const override { return false; }
    bool get_datatype(size_t, miImg_type&) const override { return false; }
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
        int channels;
        miColor value{};

        [[nodiscard]] std::size_t bytes() const { return static_cast<std::size_t>(channels) * sizeof(float); }
    };
    template <class Copy>
    miBoolean copy(int index, Copy copyChannels) {
        if (index < 0 || index >= static_cast<int>(buffers_.size())) return miFALSE;
        copyChannels(buffers_[static_cast<std::size_t>(index)]);
        return miTRUE;
    }

    std::vector<Buffer> buffers_{{"", 4}};
    int puts_ = 0;
};
