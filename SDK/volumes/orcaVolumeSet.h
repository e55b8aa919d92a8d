// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The parts that a volume shader integrates, and how it gets them from the shaders that describe them.

#include "orcaVolumePrimitive.h"

#include <cstddef>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

/// Media and fogs of one call. They are made in place; nothing is allocated unless they are large.
class VolumeSet {
public:
    static constexpr int mostMedia = 32, mostFogs = 32;

    VolumeSet() = default;
    ~VolumeSet();
    VolumeSet(const VolumeSet&) = delete;
    VolumeSet& operator=(const VolumeSet&) = delete;

    /// Has the shaders of an array of parameters add what they describe. What is no such shader, and what is
    /// too much, is an error that is reported once.
    /// @param ray of which fogs are the part that they fill
    void collect(const VolumeRay& ray, std::span<const miTag> shaders);

    /// Adds a medium; null when there are too many.
    template <class Medium, class... Arguments>
    Medium* add(Arguments&&... arguments) {
        static_assert(std::is_base_of_v<VolumePrimitive, Medium>);
        void* const memory = mediaCount_ < mostMedia ? allocate(sizeof(Medium)) : nullptr;
        if (!memory) {
            overflowed_ = true;
            return nullptr;
        }
        auto* const medium = new (memory) Medium(std::forward<Arguments>(arguments)...);
        media_[mediaCount_++] = medium;
        return medium;
    }
    /// Memory that lives as long as the set; null when there is none.
    [[nodiscard]] void* allocate(std::size_t bytes);
    void add(const LightFog& fog);

    [[nodiscard]] std::span<const VolumePrimitive* const> media() const noexcept {
        return {media_, static_cast<std::size_t>(mediaCount_)};
    }
    [[nodiscard]] std::span<const LightFog> fogs() const noexcept {
        return {fogs_, static_cast<std::size_t>(fogCount_)};
    }

private:
    struct Block;

    const VolumePrimitive* media_[mostMedia];
    LightFog fogs_[mostFogs];
    int mediaCount_ = 0, fogCount_ = 0;
    bool overflowed_ = false;
    Block* blocks_ = nullptr;
    std::size_t used_ = 0;
    alignas(std::max_align_t) std::byte inPlace_[8192];
};

/// Fourth argument of a call of a shader that describes parts of a volume.
struct VolumeRequest {
    static constexpr miUint expectedMark = 0x566f6c31; // "Vol1"

    miUint mark = expectedMark;
    miBoolean answered = miFALSE; ///< set by the shader
    VolumeSet* set;
    const VolumeRay* ray;
};

/// The request that such a shader is called with; null, after a message, when it was called by anything else.
/// @param name of the shader in messages
[[nodiscard]] VolumeRequest* volumeRequest(void* argument, const char* name);
