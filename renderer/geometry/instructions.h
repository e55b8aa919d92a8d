// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orca::geometry {

/// Which instructions the ray-tracing kernel uses. Hits differ in their last bits between sets.
enum class Instructions {
    OfThisProcessor, ///< the widest vectors
    OfEveryProcessor ///< those that every processor of the architecture has
};

} // namespace orca::geometry
