// SPDX-License-Identifier: Apache-2.0
#include "image/framebuffers.h"
#include "image/image_types.h"

#include <algorithm>

/// Attributes of buffers by name, as shaders see and set them.
namespace orca::image {

namespace {

template <class Value>
struct Attribute {
    std::string_view name;
    Value Buffer::*field;
    bool settable;
};

constexpr Attribute<bool> flags[] = {{"user", &Buffer::user, true},
                                     {"filtering", &Buffer::filtering, true},
                                     {"primary", &Buffer::primary, false},
                                     {"premultiplied", &Buffer::premultiplied, true},
                                     {"useopacity", &Buffer::useOpacity, true}};
constexpr Attribute<int> numbers[] = {{"quality", &Buffer::quality, true}};
constexpr Attribute<std::string> texts[] = {{"filename", &Buffer::filename, true},
                                            {"filetype", &Buffer::filetype, true},
                                            {"compression", &Buffer::compression, true}};

template <class Value, std::size_t n>
const Attribute<Value>* findAttribute(const Attribute<Value> (&attributes)[n], const char* name) {
    if (!name) return nullptr;
    const auto found = std::find_if(std::begin(attributes), std::end(attributes),
                                    [&](const auto& attribute) { return attribute.name == name; });
    return found == std::end(attributes) ? nullptr : found;
}

template <class Value, std::size_t n>
bool setAttribute(Buffer* buffer, const Attribute<Value> (&attributes)[n], const char* name, Value value) {
    const Attribute<Value>* attribute = findAttribute(attributes, name);
    if (!buffer || !attribute || !attribute->settable) return false;
    buffer->*(attribute->field) = std::move(value);
    return true;
}

} // namespace

bool FramebufferSet::get(const char* name, const char* attributeName, bool& value) const {
    const Buffer* buffer = name ? find(name) : nullptr;
    const auto* attribute = findAttribute(flags, attributeName);
    if (!buffer || !attribute) return false;
    value = buffer->*(attribute->field);
    return true;
}

bool FramebufferSet::get(const char* name, const char* attributeName, int& value) const {
    const Buffer* buffer = name ? find(name) : nullptr;
    const auto* attribute = findAttribute(numbers, attributeName);
    if (!buffer || !attribute) return false;
    value = buffer->*(attribute->field);
    return true;
}

bool FramebufferSet::get(const char*, const char*, float&) const {
    return false; // no attribute of a buffer is a real number
}

bool FramebufferSet::get(const char* name, const char* attributeName, const char*& value) const {
    const Buffer* buffer = name ? find(name) : nullptr;
    if (!buffer || !attributeName) return false;
    if (std::string_view(attributeName) == "datatype") {
        value = imageTypeWord(buffer->type).data(); // words are literals, so they end in a zero
        return true;
    }
    const auto* attribute = findAttribute(texts, attributeName);
    if (!attribute) return false;
    value = (buffer->*(attribute->field)).c_str();
    return true;
}

bool FramebufferSet::set(const char* name, const char* attribute, bool value) {
    return editable_ && setAttribute(findForChange(name), flags, attribute, value);
}

bool FramebufferSet::set(const char* name, const char* attribute, int value) {
    return editable_ && setAttribute(findForChange(name), numbers, attribute, value);
}

bool FramebufferSet::set(const char*, const char*, float) {
    return false;
}

bool FramebufferSet::set(const char* name, const char* attribute, const char* value) {
    if (!editable_ || !name || *name == '\0' || !attribute || !value) return false;
    if (std::string_view(attribute) != "datatype")
        return setAttribute(findForChange(name), texts, attribute, std::string(value));
    const miImg_type type = imageType(value);
    if (type == miIMG_TYPE_INVALID) return false;
    Buffer* buffer = findForChange(name);
    if (!buffer) buffer = &add(name, type);
    buffer->type = type;
    buffer->components = componentCount(type);
    buffer->filtering = isFiltered(type);
    placeInSample();
    return true;
}

} // namespace orca::image
