// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/database.h"
#include "scene/elements/phenomenon.h"

#include <initializer_list>

namespace orca::scene {

/// What the phenomena in use attach to a picture of `rendered` (root group, camera's instance, options). A
/// use counts when anything in the picture refers to its result; one without a result as long as its name
/// refers to it.
[[nodiscard]] PhenomenonAttachments attachmentsTo(const Database& database,
                                                  std::initializer_list<miTag> rendered);

} // namespace orca::scene
