// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/declarations/parameter.h"
#include "scene/declarations/value.h"

#include <cstdint>
#include <vector>

namespace orca::scene {

/// A parameter block ready to be handed to shaders.
struct LaidOutBlock {
    std::vector<std::uint32_t> words;    ///< the block, array tails included
    std::vector<std::uint32_t> ghosts;   ///< as long as `words` when anything is connected, else empty
    std::vector<Connection> connections; ///< ghost word g denotes connections[g - 1]
};

/// Places values (one per parameter; Kind::Zero takes the declared default) one after the other by the
/// interface's rules. Elements of an array with more than one follow the fixed part, in declaration
/// order, each array at the first offset whose distance from the array's own room is a multiple of the
/// element size; arrays inside elements follow once the elements have their place. Interface values are laid
/// out as zero.
[[nodiscard]] LaidOutBlock layOutBlock(const std::vector<Parameter>& parameters,
                                       const std::vector<Value>& values);

} // namespace orca::scene
