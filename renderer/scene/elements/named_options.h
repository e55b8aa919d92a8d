// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <map>
#include <string>
#include <variant>
#include <vector>

namespace orca::scene {

/// Value of a string option: bool, integer, number, text, or 3 or 4 numbers.
using OptionValue = std::variant<bool, int, float, std::string, std::vector<float>>;

/// Options with names of their own, as shaders read them.
class NamedOptions final : public mi::shader_v3::Options {
public:
    std::map<std::string, OptionValue, std::less<>> values;

    bool get(const char* name, bool& value) const override;
    bool get(const char* name, int& value) const override;
    bool get(const char* name, float& value) const override;
    bool get(const char* name, const char*& value) const override;
    bool get(const char* name, miVector& value) const override;
    bool get(const char* name, miColor& value) const override;

private:
    /// Null for an unknown name and another type.
    template <class T>
    [[nodiscard]] const T* find(const char* name) const;
};

} // namespace orca::scene
