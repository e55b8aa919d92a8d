// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "pass_catalogue.h"

#include <orcaFrameBufferRecords.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orca::app {

/// A layer that --passes asks for.
struct PassRequest {
    const PassDescription* pass = nullptr;                       ///< never null
    std::string layer;                                           ///< name of its frame buffer
    FrameBufferDataRecord settings{};                            ///< of a material pass; no name
    std::vector<std::pair<std::string, std::string>> parameters; ///< of a utility pass's shader
    std::vector<std::string> lights, objects; ///< patterns of instances that alone feed it; empty: all
    std::string datatype;                     ///< of the frame buffer
    std::string less;                         ///< layer that is subtracted from it; empty: none
    float background = 0.0f;                  ///< of a depth, its value where nothing is hit

    friend bool operator==(const PassRequest& a, const PassRequest& b);
};

/// What --passes asks for.
struct PassRequests {
    std::vector<PassRequest> layers; ///< each of a name of its own
    bool eachLight = false;          ///< a layer for each light, and the rest
    bool eachObject = false;         ///< a mask for each object
    bool volumesOfScene = false;     ///< the layers of volumes, where there are any

    [[nodiscard]] bool empty() const { return layers.empty() && !eachLight && !eachObject; }
};

/// Reads lists of passes, presets and patterns with * and ?, separated by commas, each perhaps with options
/// in brackets: "denoise,*Shadow,diffuse[light=key|fill,shadowed=off]". Throws std::invalid_argument, with
/// the nearest name, for what is none, and for two different layers of one name.
[[nodiscard]] PassRequests parsePassRequests(const std::vector<std::string>& lists);

/// A pass as its name alone asks for it.
[[nodiscard]] PassRequest requestOf(const PassDescription& pass, std::string layer);

/// True when the name fits one of the patterns, whose * stands for any text and ? for one character.
[[nodiscard]] bool fitsPattern(const std::string& name, const std::vector<std::string>& patterns);

/// A name with underscores for what compositors do not take in layers' names.
[[nodiscard]] std::string layerName(std::string_view name);

} // namespace orca::app
