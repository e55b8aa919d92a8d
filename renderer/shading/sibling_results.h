// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <vector>

namespace orca::shading {

/// Struct results that the running shader has asked for. A shader often connects several parameters to
/// members of one result, a material's colour and transparency say; they share one call of that material as
/// long as the state is what it was. A parameter that is read again is always computed anew, since its shader
/// may read more than the state. The same holds after `mi_flush_cache`.
class SiblingResults {
public:
    struct Mark {
        std::size_t first, end;
    };
    /// A shader is called: it knows nothing of its caller's results.
    [[nodiscard]] Mark enter() {
        const Mark caller{first_, end_};
        first_ = end_;
        return caller;
    }
    void leave(Mark caller) {
        end_ = caller.end;
        first_ = caller.first;
    }
    /// Forgets the running shader's results.
    void flush() { end_ = first_; }

    /// The result of a sibling of this parameter; null when there is none that holds.
    [[nodiscard]] char* find(const miState& state, miTag source, const void* parameter) {
        for (std::size_t i = end_; i > first_; --i) {
            Held& held = held_[i - 1];
            if (held.source != source) continue;
            // Older results of the source are for older states.
            return held.serve(parameter) && held.state.isStill(state) ? held.result : nullptr;
        }
        return nullptr;
    }
    void add(const miState& state, miTag source, const void* parameter, char* result) {
        held_.erase(held_.begin() + static_cast<std::ptrdiff_t>(end_), held_.end());
        held_.push_back({source, result, {parameter}, 1, StateCopy(state)});
        end_ = held_.size();
    }

private:
    /// What a shader can see of a state, less what its own rays leave there.
    class StateCopy {
    public:
        explicit StateCopy(const miState& state) : address_(&state), firstCoordinate_(coordinateOf(state)) {
            std::memcpy(&copy_, &state, sizeof copy_);
        }
        [[nodiscard]] bool isStill(const miState& state) const {
            constexpr std::size_t before = offsetof(miState, child);
            constexpr std::size_t after = before + sizeof(state.child);
            const auto* const was = reinterpret_cast<const char*>(&copy_);
            const auto* const is = reinterpret_cast<const char*>(&state);
            const miVector coordinate = coordinateOf(state);
            return address_ == &state && std::memcmp(was, is, before) == 0 &&
                   std::memcmp(was + after, is + after, sizeof(miState) - after) == 0 &&
                   std::memcmp(&firstCoordinate_, &coordinate, sizeof coordinate) == 0;
        }

    private:
        static miVector coordinateOf(const miState& state) {
            return state.tex_list ? state.tex_list[0] : miVector{};
        }

        const miState* address_;
        miState copy_;
        miVector firstCoordinate_;
    };

    struct Held {
        /// False when the parameter has had its share already.
        [[nodiscard]] bool serve(const void* parameter) {
            for (std::size_t i = 0; i < servedCount; ++i)
                if (served[i] == parameter) return false;
            if (servedCount == served.size()) return false;
            served[servedCount++] = parameter;
            return true;
        }

        miTag source;
        char* result;
        std::array<const void*, 16> served;
        std::size_t servedCount;
        StateCopy state;
    };

    // Shaders nest, so the running one's results are the last, from first_ to end_. What lies behind is
    // forgotten; a call without results costs no more than these two numbers.
    std::vector<Held> held_;
    std::size_t first_ = 0, end_ = 0;
};

} // namespace orca::shading
