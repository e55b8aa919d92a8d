// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements.h"
#include "scene/messages.h"

#include <shader.h>

#include <string>
#include <vector>

namespace orca::image {

/// What the renderer itself puts into a buffer that no shader fills.
enum class MainSource { None, Color, Depth, Normal, Motion, Label, Coverage, Alpha, Intensity };

/// One frame buffer of a camera.
struct Buffer {
    std::string name;
    miImg_type type = miIMG_TYPE_RGBA_FP;
    int components = 4;        ///< 32-bit words that mi_fb_put and mi_fb_get exchange
    int sampleOffset = 0;      ///< first word in a sample's values
    bool filtering = true;     ///< false: a pixel takes one sample's value
    bool primary = false;
    bool user = false;
    MainSource source = MainSource::None;
    std::string filename, filetype, compression;
    int quality = 0;
};

/// The buffers of one picture in index order. Index 0 is a scratch buffer that is never shown, so that a write to
/// "not found" does no harm; named buffers follow from 1 in statement order.
class FramebufferSet final : public mi::shader_v3::Framebuffer {
public:
    /// From the camera's framebuffer statements, old-style buffers of the options and output statements; when none is
    /// primary, the first colour buffer that is no user buffer is, else a hidden one is added.
    FramebufferSet(const scene::CameraElement& camera, const scene::OptionsElement& options,
                   scene::Messages& messages);

    [[nodiscard]] const std::vector<Buffer>& buffers() const { return buffers_; }
    [[nodiscard]] int primaryIndex() const { return primary_; }
    /// 32-bit words of one sample, all buffers.
    [[nodiscard]] int wordsPerSample() const { return words_; }

    bool get_index(const char* name, size_t& index) const override;
    bool get_buffercount(size_t& count) const override;
    bool get_buffername(size_t n, const char*& name) const override;
    bool get_datatype(size_t n, miImg_type& type) const override;
    bool get(const char* buffer, const char* attribute, bool& value) const override;
    bool get(const char* buffer, const char* attribute, int& value) const override;
    bool get(const char* buffer, const char* attribute, float& value) const override;
    bool get(const char* buffer, const char* attribute, const char*& value) const override;
    bool set(const char* buffer, const char* attribute, bool value) override;
    bool set(const char* buffer, const char* attribute, int value) override;
    bool set(const char* buffer, const char* attribute, float value) override;
    bool set(const char* buffer, const char* attribute, const char* value) override;
    bool remove(const char* buffer) override;
    void reset() override;
    void echo() const override;

private:
    std::vector<Buffer> buffers_;
    int primary_ = 0;
    int words_ = 0;
    scene::Messages& messages_;
};

} // namespace orca::image
