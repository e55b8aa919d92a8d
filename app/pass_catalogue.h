// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>

namespace orca::app {

/// A layer that `--passes` can request.
struct PassDescription {
    std::string_view name;       ///< of the layer
    int type;                    ///< PassTypeID; -1: no material pass
    std::string_view datatype;   ///< of its frame buffer
    unsigned flags;              ///< FrameBufferFlags of its record
    std::string_view meaning;    ///< one line for people
    std::string_view shader{};   ///< utility shader that fills it; without one and a type the renderer does
    std::string_view settings{}; ///< the shader's parameters beyond its indices, in the scene language
    bool ofState = false;        ///< a state shader, which has no contributionIndex; else one of materials
    float background = 0.0f;     ///< of a depth, its value where nothing is hit
};

/// The passes that materials write, by type.
[[nodiscard]] std::span<const PassDescription> materialPasses();
/// Passes of geometry: depth, normals, motion and the like.
[[nodiscard]] std::span<const PassDescription> utilityPasses();
/// Passes of ids, each with several layers.
[[nodiscard]] std::span<const PassDescription> mattePasses();
/// All of these, in this order.
[[nodiscard]] std::array<std::span<const PassDescription>, 3> allPasses();
/// A name of `--passes` that stands for several layers.
struct PassListDescription {
    enum class Content { Materials, Utilities, Listed, Components, Lights, Objects };
    std::string_view name;
    Content content;
    std::string_view list; ///< as `--passes` takes it, when it is Listed or Components
    std::string_view meaning;
};
[[nodiscard]] std::span<const PassListDescription> passLists();
/// Null for an unknown name.
[[nodiscard]] const PassDescription* findPass(std::string_view name);
[[nodiscard]] const PassListDescription* findPassList(std::string_view name);
/// The name that was most likely meant; empty when none is close.
[[nodiscard]] std::string nearestPassName(std::string_view name);
/// The table that `--list-passes` prints.
[[nodiscard]] std::string passTable();

} // namespace orca::app
