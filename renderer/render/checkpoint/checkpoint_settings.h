// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <map>
#include <string>

namespace orca::render {

/// What a checkpoint says of the render that it is of, by name. A render goes on only from one that says the
/// same; names that begin with "about." are for people and are not compared.
using CheckpointHeader = std::map<std::string, std::string>;

/// Where and when a render writes its state, so that another process can go on with it.
struct CheckpointSettings {
    std::string file;
    double seconds = 0.0;                       ///< between checkpoints; 0: at a stop and on request only
    const std::atomic<int>* requests = nullptr; ///< a number that changes with each request; may be null
    CheckpointHeader header;
    bool resumes = false; ///< go on from the file, which has to be there and to be of this render
};

} // namespace orca::render
