// SPDX-License-Identifier: Apache-2.0
#include "shading/bound_shader.h"

#include "base/locks.h"

#include <utility>

namespace orca::shading {

ShaderCode::ShaderCode(std::string shaderName) : name(std::move(shaderName)), lock(createLock()) {
    const std::size_t prefix = name.rfind("::");
    symbol = prefix == std::string::npos ? name : name.substr(prefix + 2);
}

ShaderCode::~ShaderCode() {
    deleteLock(lock);
}

BoundShader::BoundShader() : lock(createLock()) {
}

BoundShader::~BoundShader() {
    deleteLock(lock);
    delete threadPointers.load();
}

} // namespace orca::shading
