// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <orcaFrameBufferRecords.h>

#include <string>
#include <vector>

namespace orca::app {

/// A material pass as a record of the data block.
struct TypedRecord {
    PassTypeID type;
    std::string frameBuffer;
    FrameBufferDataRecord settings; ///< its frameBufferName is not used
};

/// Scene text of an orcaFrameBufferData block: the records in the order of their types, those of one type as
/// they come, and the 35 counts.
[[nodiscard]] std::string passBlockText(const std::string& blockName, std::vector<TypedRecord> records,
                                        const std::vector<std::string>& nonMaterialFrameBuffers);

} // namespace orca::app
