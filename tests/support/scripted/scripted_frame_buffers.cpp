// SPDX-License-Identifier: Apache-2.0
#include "scripted_frame_buffers.h"

#include <cstring>

int ScriptedFrameBuffers::add(std::string name, miImg_type type) {
    buffers_.push_back({std::move(name), type});
    return static_cast<int>(buffers_.size()) - 1;
}

miColor ScriptedFrameBuffers::value(int index) const {
    const auto found = values_.find(index);
    return found == values_.end() ? miColor{0, 0, 0, 0} : found->second;
}

std::size_t ScriptedFrameBuffers::bytes(int index) const {
    switch (buffers_[static_cast<std::size_t>(index)].type) {
    case miIMG_TYPE_S:
    case miIMG_TYPE_S_16:
    case miIMG_TYPE_S_FP:
    case miIMG_TYPE_Z:
    case miIMG_TYPE_TAG:
    case miIMG_TYPE_COVERAGE: return 4;
    case miIMG_TYPE_N:
    case miIMG_TYPE_M: return 12;
    default: return 16;
    }
}

miBoolean ScriptedFrameBuffers::put(int index, const void* value) {
    if (index < 0 || index >= static_cast<int>(buffers_.size())) return miFALSE;
    miColor color{0, 0, 0, 0};
    std::memcpy(&color, value, bytes(index));
    values_[index] = color;
    ++puts_;
    return miTRUE;
}

miBoolean ScriptedFrameBuffers::fetch(int index, void* value) const {
    if (index < 0 || index >= static_cast<int>(buffers_.size())) return miFALSE;
    const miColor color = this->value(index);
    std::memcpy(value, &color, bytes(index));
    return miTRUE;
}

bool ScriptedFrameBuffers::get_index(const char* name, size_t& index) const {
    for (std::size_t i = 1; i < buffers_.size(); ++i)
        if (buffers_[i].name == name) {
            index = i;
            return true;
        }
    return false;
}

bool ScriptedFrameBuffers::get_buffercount(size_t& count) const {
    count = buffers_.size() - 1;
    return true;
}

bool ScriptedFrameBuffers::get_buffername(size_t n, const char*& name) const {
    if (n + 1 >= buffers_.size()) return false;
    name = buffers_[n + 1].name.c_str();
    return true;
}

bool ScriptedFrameBuffers::get_datatype(size_t n, miImg_type& type) const {
    if (n + 1 >= buffers_.size()) return false;
    type = buffers_[n + 1].type;
    return true;
}
