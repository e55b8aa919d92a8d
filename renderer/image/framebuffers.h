// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "scene/elements/elements.h"

#include <shader.h>

#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orca::image {

/// What the renderer itself puts into a buffer that no shader fills.
enum class BuiltinSource {
    None,
    Color,
    Depth,
    Normal,
    Motion,
    Label,
    Coverage,
    Alpha,
    Intensity,
    Contour,      ///< drawn on the finished picture
    Variance,     ///< of the picture's mean, per channel; see Film::varianceOfMean
    Samples,      ///< number of samples that the pixel took
    CryptoObject, ///< these three: ids of what is seen, see cryptomatte.h
    CryptoMaterial,
    CryptoAsset
};

/// A file that an `output` statement writes from a buffer.
struct OutputFile {
    std::string filename, filetype;
    miImg_type type = miIMG_TYPE_RGBA; ///< as the statement asks; may be less precise than the buffer
    int quality = 0;                   ///< 1 to 100, 0 for the buffer's
    int shadersBefore = 0;             ///< statements of output shaders before it, whose changes it shows
};

/// An `output` statement with shaders, which change the finished picture.
struct OutputShaders {
    std::vector<miTag> shaders;       ///< in order
    std::vector<std::size_t> buffers; ///< that the statement names, by index
    bool wantsContours = false;       ///< the statement names contour lines
};

/// What the renderer can fill a buffer of this type with.
[[nodiscard]] BuiltinSource builtinSourceOf(miImg_type type);

/// One frame buffer of a camera. What a sample needs of it comes first, to be in one cache line.
struct Buffer {
    int sampleOffset = 0; ///< first word in a sample's values
    int components = 4;   ///< 32-bit words that mi_fb_put and mi_fb_get exchange
    int idSlots = 0; ///< of the table of ids (see id_table.h) that begins with this buffer's words and goes
                     ///< on in those of the buffers after it; 0: no table begins here
    BuiltinSource source = BuiltinSource::None;
    miImg_type type = miIMG_TYPE_RGBA_FP;
    bool filtering = true; ///< false: a pixel takes one sample's value
    bool primary = false;
    bool user = false;       ///< only shaders fill it
    bool useOpacity = false; ///< user colours are weighted by opacity where transparent layers are merged
    bool premultiplied = true;
    bool hidden = false; ///< not asked for by the scene: the scratch buffer, a colour buffer made up
    std::string name;
    std::string filename, filetype, compression; ///< of the framebuffer statement; no name: not written
    int quality = 0;                             ///< 1 to 100, 0 for the format's own
    int dpi = 0;                                 ///< dots per inch that files state, 0 for none
    std::vector<OutputFile> outputs;
};

/// The buffers of one picture in index order. Index 0 is a scratch buffer that is never shown, so that a
/// write to "not found" does no harm; named buffers follow from 1 in statement order.
class FramebufferSet final : public mi::shader_v3::Framebuffer {
public:
    /// From the camera's framebuffer statements, old-style buffers of the options and output statements, the
    /// camera's and further ones. When none is primary, the first colour buffer that is no user buffer is,
    /// else a hidden one is added. Unsupported data types are errors that name the statement; such a buffer
    /// does not exist.
    FramebufferSet(const scene::CameraElement& camera, const scene::OptionsElement& options, Log& log,
                   std::span<const scene::OutputStatement> furtherOutputs = {});
    /// From the description of finished ones; the first buffer is the scratch buffer. Offsets in the sample
    /// are made anew. Types that are none, and a first one that is shown, throw std::invalid_argument.
    FramebufferSet(std::vector<Buffer> buffers, Log& log);
    /// An empty collection that shaders may fill: setting "datatype" of a new name adds a buffer.
    explicit FramebufferSet(Log& log);

    FramebufferSet(const FramebufferSet&) = delete;
    FramebufferSet& operator=(const FramebufferSet&) = delete;

    [[nodiscard]] const std::vector<Buffer>& buffers() const { return buffers_; }
    /// In the order of their statements.
    [[nodiscard]] const std::vector<OutputShaders>& outputShaders() const { return outputShaders_; }
    /// 0 in an empty collection.
    [[nodiscard]] int primaryIndex() const { return primary_; }
    /// 32-bit words of one sample, all buffers.
    [[nodiscard]] int wordsPerSample() const { return words_; }
    /// Null for a name that no buffer has.
    [[nodiscard]] const Buffer* find(std::string_view name) const;

    /// Constant time, safe from any thread while the names stay as they are, which they do while rendering.
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
    /// Names and number of a camera's buffers are fixed: false there.
    bool remove(const char* buffer) override;
    void reset() override;
    void echo() const override;

private:
    struct TextHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
    };

    Buffer* findForChange(const char* name);
    Buffer& add(std::string name, miImg_type type);
    void addStatement(const scene::FramebufferDefinition& statement);
    void checkIdTable(std::size_t first) const;
    void addCryptomatte(const scene::FramebufferDefinition& statement);
    void addNumbered(const scene::NumberedFramebuffer& statement);
    Buffer& contourBuffer();
    void addOutput(const scene::OutputStatement& statement);
    void choosePrimary(const std::vector<std::string>& mayBePrimary);
    void placeInSample();

    std::vector<Buffer> buffers_;
    std::vector<OutputShaders> outputShaders_;
    std::unordered_map<std::string, std::size_t, TextHash, std::equal_to<>> indexOf_;
    int primary_ = 0;
    int words_ = 0;
    bool editable_ = false; ///< a collection of a shader's own
    Log& log_;
};

} // namespace orca::image
