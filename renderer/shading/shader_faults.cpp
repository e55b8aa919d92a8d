// SPDX-License-Identifier: Apache-2.0
#include "shading/shader_faults.h"

#include "base/describe_exception.h"

#include <cstdint>
#include <exception>
#include <mutex>
#include <string>

namespace orca::shading {

void countException(BoundShader& shader, CallContext& context) {
    const std::exception_ptr current = std::current_exception();
    if (context.thrown == current) return;
    context.thrown = current; // kept alive, so that no later exception can have the same address
    shader.code->threw.raise();
    const std::lock_guard lock(shader.code->firstThrownMutex);
    if (shader.code->firstThrown.empty()) shader.code->firstThrown = describeException();
}

void reportFaults(ShaderTable& table, Log& log) {
    const auto times = [](std::uint64_t count) {
        return count == 1 ? "once" : std::to_string(count) + " times";
    };
    for (const auto& [name, code] : table.codes) {
        if (const auto count = code->threw.take()) {
            const std::string first =
                code->firstThrown.empty() ? "" : "; the first time: " + code->firstThrown;
            log.warning("SHDR", "shader \"{}\" threw an exception {}{}", name, times(count), first);
        }
        if (const auto count = code->notANumber.take())
            log.warning("SHDR", "shader \"{}\" gave a value that is not a number {}; it was replaced by 0",
                        name, times(count));
        if (const auto count = code->returnedFalse.take())
            log.warning("SHDR", "shader \"{}\" returned false {}", name, times(count));
        code->firstThrown.clear();
    }
}

} // namespace orca::shading
