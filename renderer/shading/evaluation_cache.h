// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstddef>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace orca::shading {

/// Results of connected shaders by state and source. A test mode: it shows whether a shader that evaluates a
/// parameter twice on a changed state flushes in between.
class EvaluationCache {
public:
    /// Null when the source was not evaluated on this state since the last flush.
    [[nodiscard]] void* find(const miState* state, miTag source) const {
        const auto found = results_.find({state, source});
        return found == results_.end() ? nullptr : found->second.get();
    }
    /// Zeroed, 16-byte aligned room for a result, kept until `endCall`.
    void* add(const miState* state, miTag source, std::size_t size) {
        std::unique_ptr<std::byte[]>& result = results_[{state, source}];
        if (result) flushed_.push_back(std::move(result));
        result = std::make_unique<std::byte[]>(size);
        return result.get();
    }
    /// Forgets a state's results. Their memory stays: shaders may still hold addresses.
    void flush(const miState* state) {
        for (auto i = results_.lower_bound({state, 0}); i != results_.end() && i->first.first == state;) {
            flushed_.push_back(std::move(i->second));
            i = results_.erase(i);
        }
    }
    /// Forgets everything and gives the memory back; no shader is running.
    void endCall() {
        results_.clear();
        flushed_.clear();
    }

private:
    std::map<std::pair<const miState*, miTag>, std::unique_ptr<std::byte[]>> results_;
    std::vector<std::unique_ptr<std::byte[]>> flushed_;
};

} // namespace orca::shading
