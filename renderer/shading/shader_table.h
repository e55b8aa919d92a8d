// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shading/bound_shader.h"
#include "shading/shader_libraries.h"

#include <shader.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orca::shading {

/// Libraries, the code of every shader found in them, and the shader instances bound to it.
struct ShaderTable {
    ShaderLibraries libraries;
    std::map<std::string, std::unique_ptr<ShaderCode>> codes; // by shader name
    std::vector<std::unique_ptr<BoundShader>> shaders; // by tag; null for tags that are no shader instance
    /// One lock for all inits: an init may evaluate parameters and so start the inits of other shaders.
    std::recursive_mutex initMutex;

    /// Null for a tag that is no bound shader instance.
    [[nodiscard]] BoundShader* find(miTag tag) const {
        return tag < shaders.size() ? shaders[tag].get() : nullptr;
    }
};

} // namespace orca::shading
