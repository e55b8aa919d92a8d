// SPDX-License-Identifier: Apache-2.0
#include "image/framebuffers.h"

#include "image/cryptomatte.h"
#include "image/id_table.h"
#include "image/image_types.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

namespace orca::image {

namespace {

constexpr const char* module = "IMG";

/// Colours and scalars belong to shaders unless the scene says otherwise; depth, normals, motion, labels and
/// coverage to the renderer.
bool isUserByDefault(miImg_type type) {
    const BuiltinSource source = builtinSourceOf(type);
    return source == BuiltinSource::Color || source == BuiltinSource::Alpha ||
           source == BuiltinSource::Intensity;
}

/// A number from 1 to 100; words of other renderers ("high") have no meaning here and give 0.
int qualityOf(const std::string& text) {
    int quality = 0;
    std::from_chars(text.data(), text.data() + text.size(), quality);
    return std::clamp(quality, 0, 100);
}

constexpr const char* typeHelp =
    "use one of rgb, rgba, a, s (with _16, _h or _fp where wanted), rgbe, z, n, m, tag, coverage, contour, "
    "variance, samples, crypto_object, crypto_material, crypto_asset (with _2, _4 to _16 for more or fewer "
    "than 6 "
    "ids)";

constexpr std::string_view contourType = "contour";

constexpr std::size_t idsOfLayer = 2; // pairs of an id and its weight in a colour

/// Data types of buffers that the renderer fills when the samples are done, besides those of image_types.h.
constexpr struct LateType {
    std::string_view word;
    miImg_type type;
    BuiltinSource source;
} lateTypes[] = {{contourType, miIMG_TYPE_RGBA_FP, BuiltinSource::Contour},
                 {"variance", miIMG_TYPE_RGBA_FP, BuiltinSource::Variance},
                 {"samples", miIMG_TYPE_S_FP, BuiltinSource::Samples}};

/// Null for other types.
const LateType* lateType(std::string_view word) {
    const auto* const found = std::find_if(std::begin(lateTypes), std::end(lateTypes),
                                           [&](const LateType& late) { return late.word == word; });
    return found == std::end(lateTypes) ? nullptr : found;
}

} // namespace

BuiltinSource builtinSourceOf(miImg_type type) {
    if (isColor(type)) return BuiltinSource::Color;
    switch (type) {
    case miIMG_TYPE_A:
    case miIMG_TYPE_A_16:
    case miIMG_TYPE_A_H:
    case miIMG_TYPE_A_FP: return BuiltinSource::Alpha;
    case miIMG_TYPE_S:
    case miIMG_TYPE_S_16:
    case miIMG_TYPE_S_FP: return BuiltinSource::Intensity;
    case miIMG_TYPE_Z: return BuiltinSource::Depth;
    case miIMG_TYPE_N: return BuiltinSource::Normal;
    case miIMG_TYPE_M: return BuiltinSource::Motion;
    case miIMG_TYPE_TAG: return BuiltinSource::Label;
    case miIMG_TYPE_COVERAGE: return BuiltinSource::Coverage;
    default: return BuiltinSource::None;
    }
}

FramebufferSet::FramebufferSet(Log& log) : editable_(true), log_(log) {
    reset();
}

FramebufferSet::FramebufferSet(const scene::CameraElement& camera, const scene::OptionsElement& options,
                               Log& log, std::span<const scene::OutputStatement> furtherOutputs)
    : log_(log) {
    reset();
    std::vector<std::string> mayBePrimary;
    for (const scene::FramebufferDefinition& statement : camera.framebuffers) {
        addStatement(statement);
        if (!statement.user.value_or(false) && !lateType(statement.datatype))
            mayBePrimary.push_back(statement.name);
    }
    for (const scene::NumberedFramebuffer& statement : options.framebuffers) addNumbered(statement);
    choosePrimary(mayBePrimary);
    for (const scene::OutputStatement& statement : camera.outputs) addOutput(statement);
    for (const scene::OutputStatement& statement : furtherOutputs) addOutput(statement);
    placeInSample();
}

FramebufferSet::FramebufferSet(std::vector<Buffer> buffers, Log& log)
    : buffers_(std::move(buffers)), log_(log) {
    if (buffers_.size() < 2 || !buffers_.front().hidden)
        throw std::invalid_argument("the frame buffers do not begin with the scratch buffer");
    for (std::size_t i = 1; i < buffers_.size(); ++i) {
        Buffer& buffer = buffers_[i];
        buffer.components = componentCount(buffer.type);
        if (buffer.components < 1) throw std::invalid_argument("a frame buffer has an unknown type");
        checkIdTable(i);
        indexOf_[buffer.name] = i;
        if (buffer.primary && isColor(buffer.type)) primary_ = static_cast<int>(i);
    }
    if (primary_ == 0) throw std::invalid_argument("no frame buffer is the picture");
    placeInSample();
}

Buffer& FramebufferSet::add(std::string name, miImg_type type) {
    Buffer buffer;
    buffer.name = std::move(name);
    buffer.type = type;
    buffer.components = componentCount(type);
    buffer.filtering = isFiltered(type);
    indexOf_[buffer.name] = buffers_.size();
    buffers_.push_back(std::move(buffer));
    return buffers_.back();
}

/// Of described buffers: the table of ids that begins with one is in buffers that there are.
void FramebufferSet::checkIdTable(std::size_t first) const {
    if (isCryptomatte(buffers_[first]) && buffers_[first].type != miIMG_TYPE_RGBA_FP)
        throw std::invalid_argument("a frame buffer holds ids in a type that cannot");
    const auto slots = static_cast<std::size_t>(buffers_[first].idSlots);
    if (slots == 0) return;
    bool isWhole =
        slots <= mostIdSlots && slots % idsOfLayer == 0 && first + slots / idsOfLayer <= buffers_.size();
    for (std::size_t i = first; isWhole && i < first + slots / idsOfLayer; ++i)
        isWhole = isCryptomatte(buffers_[i]) && (i == first || buffers_[i].idSlots == 0);
    if (!isWhole) throw std::invalid_argument("a frame buffer begins a table of ids that does not end");
}

/// The layers of one statement: as many as hold its ids.
void FramebufferSet::addCryptomatte(const scene::FramebufferDefinition& statement) {
    const CryptomatteType type = *cryptomatteType(statement.datatype);
    if (statement.primary)
        log_.errorAt(
            statement.location, module,
            "frame buffer \"{}\" is marked primary but holds ids: the primary buffer must be a colour",
            statement.name);
    if (statement.filtering.has_value() || statement.user.value_or(false))
        log_.warningAt(statement.location, module,
                       "frame buffer \"{}\" holds ids, which the renderer weights by the pixel filter: "
                       "\"filtering\" and \"user\" have no effect",
                       statement.name);
    const int layers = type.ranks / static_cast<int>(idsOfLayer);
    for (int level = 0; level < layers; ++level) {
        const std::string name = fmt::format("{}{:02}", statement.name, level);
        if (!find(name)) continue;
        log_.errorAt(statement.location, module,
                     "frame buffer \"{}\" holds ids in a layer \"{}\", which is another frame buffer already",
                     statement.name, name);
        return;
    }
    for (int level = 0; level < layers; ++level) {
        Buffer& buffer = add(fmt::format("{}{:02}", statement.name, level), miIMG_TYPE_RGBA_FP);
        buffer.source = type.source;
        buffer.idSlots = level == 0 ? type.ranks : 0;
        buffer.filtering = false;
        buffer.premultiplied = true;
        buffer.filename = statement.filename;
        buffer.filetype = statement.filetype;
        buffer.compression = statement.compression;
        buffer.dpi = std::max(0, statement.dpi);
    }
}

void FramebufferSet::addStatement(const scene::FramebufferDefinition& statement) {
    if (cryptomatteType(statement.datatype)) {
        addCryptomatte(statement);
        return;
    }
    const LateType* const late = lateType(statement.datatype);
    const bool isContour = late && late->source == BuiltinSource::Contour;
    const miImg_type type = late ? late->type : imageType(statement.datatype);
    if (type == miIMG_TYPE_INVALID) {
        log_.errorAt(statement.location, module,
                     "frame buffer \"{}\" has the unsupported data type \"{}\": {}", statement.name,
                     statement.datatype, typeHelp);
        return;
    }
    Buffer& buffer = add(statement.name, type);
    buffer.primary = statement.primary;
    if (buffer.primary && (late || !isColor(type))) {
        log_.errorAt(
            statement.location, module,
            "frame buffer \"{}\" is marked primary but holds \"{}\": the primary buffer must be a colour",
            statement.name, statement.datatype);
        buffer.primary = false;
    }
    if (buffer.primary && primary_ != 0) {
        log_.warningAt(
            statement.location, module,
            "frame buffer \"{}\" is marked primary like \"{}\" before it, which stays the primary one",
            statement.name, buffers_[static_cast<std::size_t>(primary_)].name);
        buffer.primary = false;
    }
    if (buffer.primary) primary_ = static_cast<int>(buffers_.size()) - 1;
    buffer.user = !buffer.primary && !late && statement.user.value_or(isUserByDefault(type));
    buffer.source = buffer.user ? BuiltinSource::None : late ? late->source : builtinSourceOf(type);
    if (statement.filtering) buffer.filtering = *statement.filtering;
    if (late && !isContour) buffer.filtering = false; // numbers of the samples, not means of them
    if (buffer.filtering && type == miIMG_TYPE_TAG) {
        log_.warningAt(statement.location, module,
                       "labels in frame buffer \"{}\" are not filtered: "
                       "the mean of two labels is a third one",
                       statement.name);
        buffer.filtering = false;
    }
    buffer.useOpacity = statement.useopacity;
    buffer.premultiplied = statement.premultiplied.value_or(buffer.primary || isContour);
    buffer.filename = statement.filename;
    buffer.filetype = statement.filetype;
    buffer.compression = statement.compression;
    buffer.quality = qualityOf(statement.quality);
    buffer.dpi = std::max(0, statement.dpi);
}

void FramebufferSet::addNumbered(const scene::NumberedFramebuffer& statement) {
    std::string name = "fb" + std::to_string(statement.number);
    if (find(name)) {
        log_.warningAt(
            statement.location, module,
            "frame buffer {} of the options is the camera's frame buffer \"{}\", which stays as it is",
            statement.number, name);
        return;
    }
    const miImg_type type = imageType(statement.datatype);
    if (type == miIMG_TYPE_INVALID) {
        log_.errorAt(statement.location, module, "frame buffer {} has the unsupported data type \"{}\": {}",
                     statement.number, statement.datatype, typeHelp);
        return;
    }
    Buffer& buffer = add(std::move(name), type);
    buffer.user = true;
    buffer.filtering = statement.interpolate.value_or(buffer.filtering) && type != miIMG_TYPE_TAG;
}

void FramebufferSet::choosePrimary(const std::vector<std::string>& mayBePrimary) {
    if (primary_ == 0) {
        for (std::size_t i = 1; i < buffers_.size() && primary_ == 0; ++i) {
            const bool offered =
                std::find(mayBePrimary.begin(), mayBePrimary.end(), buffers_[i].name) != mayBePrimary.end();
            if (offered && isColor(buffers_[i].type)) primary_ = static_cast<int>(i);
        }
    }
    if (primary_ == 0) {
        std::string name = "rgba";
        while (find(name)) name += '_';
        add(name, miIMG_TYPE_RGBA_FP).hidden = true;
        primary_ = static_cast<int>(buffers_.size()) - 1;
    }
    Buffer& primary = buffers_[static_cast<std::size_t>(primary_)];
    primary.primary = true;
    primary.user = false;
    primary.premultiplied = true;
    primary.source = BuiltinSource::Color;
}

/// That of the camera, or a new one.
Buffer& FramebufferSet::contourBuffer() {
    for (Buffer& buffer : buffers_)
        if (buffer.source == BuiltinSource::Contour) return buffer;
    std::string name(contourType);
    while (find(name)) name += '_';
    Buffer& buffer = add(name, miIMG_TYPE_RGBA_FP);
    buffer.source = BuiltinSource::Contour;
    return buffer;
}

void FramebufferSet::addOutput(const scene::OutputStatement& statement) {
    const int shadersBefore = static_cast<int>(outputShaders_.size());
    if (!statement.shaders.empty()) outputShaders_.push_back({statement.shaders, {}, false});
    for (const scene::OutputStatement::Buffer& wanted : statement.buffers) {
        miImg_type type = imageType(wanted.name);
        Buffer* buffer = findForChange(wanted.name.c_str());
        if (wanted.name == contourType) {
            if (!statement.shaders.empty()) {
                outputShaders_.back().wantsContours = true;
                continue;
            }
            type = miIMG_TYPE_RGBA_FP;
            buffer = &contourBuffer();
        } else if (buffer) {
            type = buffer->type;
        } else if (isColor(type)) {
            buffer = &buffers_[static_cast<std::size_t>(primary_)];
        } else if (type == miIMG_TYPE_INVALID && wanted.name == statement.filetype) {
            type = miIMG_TYPE_RGBA; // the statement names a format and no buffer
            buffer = &buffers_[static_cast<std::size_t>(primary_)];
        } else if (type != miIMG_TYPE_INVALID) {
            const auto main = std::find_if(buffers_.begin() + 1, buffers_.end(), [&](const Buffer& other) {
                return other.source == builtinSourceOf(type);
            });
            buffer = main != buffers_.end() ? &*main : &add(wanted.name, type);
            buffer->source = builtinSourceOf(type);
        } else {
            log_.errorAt(
                statement.location, module,
                "output statement asks for \"{}\", which is neither a frame buffer of the camera nor a "
                "supported data type: {}",
                wanted.name, typeHelp);
            continue;
        }
        if (wanted.interpolate && buffer->type != miIMG_TYPE_TAG) buffer->filtering = *wanted.interpolate;
        if (!statement.shaders.empty())
            outputShaders_.back().buffers.push_back(static_cast<std::size_t>(buffer - buffers_.data()));
        else if (!statement.filename.empty())
            buffer->outputs.push_back({statement.filename, statement.filetype, type,
                                       std::clamp(statement.quality, 0, 100), shadersBefore});
    }
}

void FramebufferSet::placeInSample() {
    words_ = 0;
    for (Buffer& buffer : buffers_) {
        buffer.sampleOffset = words_;
        words_ += buffer.components;
    }
}

const Buffer* FramebufferSet::find(std::string_view name) const {
    const auto found = indexOf_.find(name);
    return found == indexOf_.end() ? nullptr : &buffers_[found->second];
}

Buffer* FramebufferSet::findForChange(const char* name) {
    return name ? const_cast<Buffer*>(find(name)) : nullptr;
}

bool FramebufferSet::get_index(const char* name, size_t& index) const {
    if (!name) return false;
    const auto found = indexOf_.find(std::string_view(name));
    if (found == indexOf_.end()) return false;
    index = found->second;
    return true;
}

bool FramebufferSet::get_buffercount(size_t& count) const {
    count = buffers_.size() - 1;
    return true;
}

bool FramebufferSet::get_buffername(size_t n, const char*& name) const {
    if (n + 1 >= buffers_.size()) return false;
    name = buffers_[n + 1].name.c_str();
    return true;
}

bool FramebufferSet::get_datatype(size_t n, miImg_type& type) const {
    if (n + 1 >= buffers_.size()) return false;
    type = buffers_[n + 1].type;
    return true;
}

bool FramebufferSet::remove(const char* name) {
    if (!editable_ || !findForChange(name)) return false;
    const std::size_t index = indexOf_.find(std::string_view(name))->second;
    buffers_.erase(buffers_.begin() + static_cast<std::ptrdiff_t>(index));
    indexOf_.clear();
    for (std::size_t i = 1; i < buffers_.size(); ++i) indexOf_[buffers_[i].name] = i;
    placeInSample();
    return true;
}

void FramebufferSet::reset() {
    if (!buffers_.empty() && !editable_) return;
    buffers_.clear();
    indexOf_.clear();
    Buffer& scratch = buffers_.emplace_back();
    scratch.hidden = true;
    placeInSample();
}

void FramebufferSet::echo() const {
    for (std::size_t i = 1; i < buffers_.size(); ++i) {
        const Buffer& buffer = buffers_[i];
        log_.info(module, "frame buffer {} \"{}\": {}, {}{}{}", i, buffer.name, imageTypeWord(buffer.type),
                  buffer.filtering ? "filtered" : "one sample", buffer.primary ? ", primary" : "",
                  buffer.user ? ", user" : "");
    }
}

} // namespace orca::image
