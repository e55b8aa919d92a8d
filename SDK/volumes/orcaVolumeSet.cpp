// SPDX-License-Identifier: Apache-2.0
#include "orcaVolumeSet.h"

#include "orcaUtilities.h"

#include <atomic>
#include <string>

/// Memory beyond what is in place, newest first.
struct VolumeSet::Block {
    Block* older;
};

namespace {

constexpr const char* sourceName = "orcaVolumeSet";
constexpr int blockLine = 1;

/// Reports a fault of the scene at its first occurrence: volumes are asked for at every ray.
void reportOnce(std::atomic<bool>& reported, const char* message) {
    if (!reported.exchange(true, std::memory_order_relaxed)) orcaError(message);
}

} // namespace

VolumeSet::~VolumeSet() {
    for (int i = 0; i < mediaCount_; ++i) media_[i]->~VolumePrimitive();
    while (blocks_) {
        Block* const older = blocks_->older;
        mi_mem_int_release(sourceName, blockLine, blocks_);
        blocks_ = older;
    }
}

void* VolumeSet::allocate(std::size_t bytes) {
    constexpr std::size_t alignment = alignof(std::max_align_t);
    const std::size_t rounded = (bytes + alignment - 1) / alignment * alignment;
    if (sizeof inPlace_ - used_ >= rounded) {
        void* const memory = inPlace_ + used_;
        used_ += rounded;
        return memory;
    }
    static_assert(sizeof(Block) <= alignment);
    auto* const memory = static_cast<std::byte*>(
        mi_mem_int_allocate(sourceName, blockLine, static_cast<int>(alignment + rounded)));
    if (!memory) return nullptr;
    blocks_ = new (memory) Block{blocks_};
    return memory + alignment;
}

void VolumeSet::add(const LightFog& fog) {
    if (fogCount_ == mostFogs) overflowed_ = true;
    else fogs_[fogCount_++] = fog;
}

void VolumeSet::collect(const VolumeRay& ray, std::span<const miTag> shaders) {
    static std::atomic<bool> reportedKind, reportedCount;
    for (const miTag shader : shaders) {
        if (shader == miNULLTAG) continue;
        VolumeRequest request{.set = this, .ray = &ray};
        miColor unused{};
        mi_call_shader_x(&unused, miSHADER_TEXTURE, ray.state, shader, &request);
        if (!request.answered)
            reportOnce(reportedKind, "vela_volumeengine(): An entry of \"primitives\" describes no volume "
                                     "and is left out.");
    }
    if (overflowed_)
        reportOnce(reportedCount, "vela_volumeengine(): There are more \"primitives\" than the 32 media and "
                                  "32 fogs that one engine has room for; the last are left out.");
}

VolumeRequest* volumeRequest(void* argument, const char* name) {
    auto* const request = static_cast<VolumeRequest*>(argument);
    if (request && request->mark == VolumeRequest::expectedMark) {
        request->answered = miTRUE;
        return request;
    }
    orcaWarning(std::string(name) + "(): Only a volume engine can use this shader.");
    return nullptr;
}
