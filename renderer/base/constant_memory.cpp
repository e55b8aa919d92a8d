// SPDX-License-Identifier: Apache-2.0
#include "base/constant_memory.h"

#include <cstddef>
#include <cstdint>
#include <link.h>

namespace orca {

bool isInConstantSegment(const void* address) {
    auto searched = reinterpret_cast<std::uintptr_t>(address);
    const auto holds = [](dl_phdr_info* library, std::size_t, void* data) {
        const std::uintptr_t place = *static_cast<std::uintptr_t*>(data);
        for (int i = 0; i < library->dlpi_phnum; ++i) {
            const auto& segment = library->dlpi_phdr[i];
            if (segment.p_type != PT_LOAD || (segment.p_flags & PF_W)) continue;
            const std::uintptr_t begin = library->dlpi_addr + segment.p_vaddr;
            if (place >= begin && place - begin < segment.p_memsz) return 1; // ends the walk
        }
        return 0;
    };
    return dl_iterate_phdr(holds, &searched) != 0;
}

} // namespace orca
