// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/named_options.h"

#include <cstddef>
#include <string_view>

namespace orca::scene {

template <class T>
const T* NamedOptions::find(const char* name) const {
    const auto found = name ? values.find(std::string_view(name)) : values.end();
    return found == values.end() ? nullptr : std::get_if<T>(&found->second);
}

bool NamedOptions::get(const char* name, bool& value) const {
    const bool* const found = find<bool>(name);
    if (found) value = *found;
    return found != nullptr;
}

bool NamedOptions::get(const char* name, int& value) const {
    const int* const found = find<int>(name);
    if (found) value = *found;
    return found != nullptr;
}

bool NamedOptions::get(const char* name, float& value) const {
    const float* const number = find<float>(name);
    const int* const whole = find<int>(name);
    if (number) value = *number;
    else if (whole) value = static_cast<float>(*whole);
    return number || whole;
}

bool NamedOptions::get(const char* name, const char*& value) const {
    const std::string* const found = find<std::string>(name);
    if (found) value = found->c_str();
    return found != nullptr;
}

bool NamedOptions::get(const char* name, miVector& value) const {
    const auto* const found = find<std::vector<float>>(name);
    if (!found || found->size() != 3) return false;
    value = {(*found)[0], (*found)[1], (*found)[2]};
    return true;
}

bool NamedOptions::get(const char* name, miColor& value) const {
    const auto* const found = find<std::vector<float>>(name);
    if (!found || found->size() < 3) return false;
    value = {(*found)[0], (*found)[1], (*found)[2], found->size() > 3 ? (*found)[3] : 1.0f};
    return true;
}

} // namespace orca::scene
