// SPDX-License-Identifier: Apache-2.0
#include "fuzz_input.h"
#include "fuzzed_scene.h"

#include "scene/elements/elements.h"

#include <span>

using namespace orca;

namespace {

using Words = std::span<const std::uint32_t>;

/// Reads a block as shaders do, who take its counts and indices for granted.
/// @param start bytes into the block
void visitValues(Words block, const std::vector<scene::Parameter>& parameters, std::int64_t start) {
    for (const scene::Parameter& parameter : parameters) {
        std::int64_t at = start + parameter.offset, count = 1;
        fuzz::require(at % 4 == 0 && at + parameter.size() <= static_cast<std::int64_t>(block.size_bytes()));
        if (parameter.isArray) {
            const std::uint32_t* const head = block.data() + at / 4;
            count = static_cast<std::int32_t>(head[1]);
            at += 8 + std::int64_t{static_cast<std::int32_t>(head[0])} * parameter.elementSize;
        }
        fuzz::require(count >= 0 && (count == 0 || at >= 0));
        fuzz::require(at + count * parameter.elementSize <= static_cast<std::int64_t>(block.size_bytes()) ||
                      count == 0);
        for (std::int64_t i = 0; i < count && !parameter.members.empty(); ++i)
            visitValues(block, parameter.members, at + i * parameter.elementSize);
    }
}

Words blockOf(const char* parameters, int bytes) {
    return {reinterpret_cast<const std::uint32_t*>(parameters), static_cast<std::size_t>(bytes) / 4};
}

} // namespace

/// Declarations and the blocks that shader and data statements make by them: every array lies in its block.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzedScene scene({reinterpret_cast<const char*>(data), size});
    scene::Database& database = scene.database();
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        if (const auto* shader = database.find<scene::FunctionElement>(tag)) {
            const miFunction* const function = shader->function();
            visitValues(blockOf(function->parameters, function->parameter_size),
                        shader->declaration->parameters, 0);
        } else if (const auto* element = database.find<scene::UserdataElement>(tag);
                   element && element->declaration) {
            const miUserdata* const userdata = element->userdata();
            visitValues(blockOf(userdata->parameters, userdata->parameter_size),
                        element->declaration->parameters, 0);
        }
    }
    return 0;
}
