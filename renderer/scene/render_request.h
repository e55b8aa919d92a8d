// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"

#include <shader.h>

namespace orca::scene {

/// A `render` statement.
struct RenderRequest {
    miTag group = miNULLTAG; ///< root group
    miTag cameraInstance = miNULLTAG;
    miTag options = miNULLTAG;
    int number = 0;        ///< of the statement, from 1, over all files
    bool endsFile = false; ///< nothing follows it in the file that was asked for
    SourceLocation location;
};

} // namespace orca::scene
