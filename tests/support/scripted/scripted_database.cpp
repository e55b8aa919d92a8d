// SPDX-License-Identifier: Apache-2.0
#include "scripted_database.h"

#include <cstring>

miTag ScriptedDatabase::addBytes(miScene_type type, const void* bytes, std::size_t size) {
    constexpr std::size_t unit = sizeof(std::max_align_t);
    Entry entry{type, std::vector<std::max_align_t>((size + unit - 1) / unit), 0};
    std::memcpy(entry.memory.data(), bytes, size);
    elements_.emplace(next_, std::move(entry));
    return next_++;
}

miTag ScriptedDatabase::addString(std::string_view text) {
    std::vector<char> bytes(text.begin(), text.end());
    bytes.push_back('\0');
    return addBytes(miSCENE_STRING, bytes.data(), bytes.size());
}

miTag ScriptedDatabase::addUserData(const std::vector<miUint>& words, miTag next) {
    miUserdata head{};
    head.next_data = next;
    head.one = 1;
    head.parameter_size = static_cast<int>(words.size() * sizeof(miUint));
    std::vector<char> bytes(sizeof head + words.size() * sizeof(miUint));
    std::memcpy(bytes.data(), &head, sizeof head);
    if (!words.empty()) std::memcpy(bytes.data() + sizeof head, words.data(), words.size() * sizeof(miUint));
    return addBytes(miSCENE_USERDATA, bytes.data(), bytes.size());
}

miTag ScriptedDatabase::addObject(miTag userData) {
    miObject object{};
    object.userdata = userData;
    return add(miSCENE_OBJECT, object);
}

miTag ScriptedDatabase::addInstance(miTag item, miTag userData) {
    miInstance instance{};
    mi_matrix_ident(instance.tf.global_to_local);
    mi_matrix_ident(instance.tf.local_to_global);
    instance.item = item;
    instance.userdata = userData;
    return add(miSCENE_INSTANCE, instance);
}

miTag ScriptedDatabase::addMaskedInstance(std::string_view mask) {
    return addInstance(miNULLTAG, addUserData({addString(mask)}));
}

int ScriptedDatabase::type(miTag tag) const {
    const auto found = elements_.find(tag);
    return found == elements_.end() ? miSCENE_NONE : found->second.type;
}

void* ScriptedDatabase::find(miTag tag) {
    const auto found = elements_.find(tag);
    return found == elements_.end() ? nullptr : found->second.memory.data();
}

void* ScriptedDatabase::access(miTag tag) {
    void* const element = find(tag);
    if (element) ++elements_[tag].pins;
    return element;
}

void ScriptedDatabase::unpin(miTag tag) {
    if (find(tag)) --elements_[tag].pins;
    else ++strayUnpins_;
}

int ScriptedDatabase::pinsHeld() const {
    int pins = -strayUnpins_;
    for (const auto& [tag, entry] : elements_) pins += entry.pins;
    return pins;
}
