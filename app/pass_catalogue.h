// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace orca::app {

/// A layer that `--passes` can ask for.
struct PassDescription {
    std::string_view name;     ///< of the layer
    int type;                  ///< PassTypeID; -1: the renderer itself fills it
    std::string_view datatype; ///< of its frame buffer
    unsigned flags;            ///< FrameBufferFlags of its record
    std::string_view meaning;  ///< one line for people
};

/// The 35 passes that materials write, by type.
[[nodiscard]] std::span<const PassDescription> materialPasses();
/// Layers of geometry: depth, normals and the like.
[[nodiscard]] std::span<const PassDescription> geometryPasses();
/// Null for an unknown name.
[[nodiscard]] const PassDescription* findPass(std::string_view name);
/// The name that was most likely meant; empty when none is close.
[[nodiscard]] std::string nearestPassName(std::string_view name);
/// The table that `--list-passes` prints.
[[nodiscard]] std::string passTable();

} // namespace orca::app
