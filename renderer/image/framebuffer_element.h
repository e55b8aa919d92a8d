// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/framebuffers.h"
#include "scene/database.h"
#include "scene/elements/element.h"

#include <shader.h>

#include <memory>

namespace orca::image {

/// A collection of frame buffers in the database, where shaders find it by its tag: a picture's, or one that
/// a shader has made.
struct FramebufferElement final : scene::Element {
    static constexpr miScene_type elementType = miSCENE_FRAMEBUFFERS;

    /// A picture's, which owns the collection and outlives this element.
    explicit FramebufferElement(FramebufferSet& ofPicture) : Element(elementType), framebuffers_(ofPicture) {}
    /// An empty one of its own, which shaders may fill.
    explicit FramebufferElement(Log& log)
        : Element(elementType), own_(std::make_unique<FramebufferSet>(log)), framebuffers_(*own_) {}

    void* record() override { return static_cast<mi::shader_v3::Framebuffer*>(&framebuffers_); }
    [[nodiscard]] FramebufferSet& framebuffers() const { return framebuffers_; }

private:
    std::unique_ptr<FramebufferSet> own_; ///< null: a picture's
    FramebufferSet& framebuffers_;
};

/// The collection of a tag; null for a tag that is none.
[[nodiscard]] inline FramebufferSet* framebuffersOf(const scene::Database& database, miTag tag) {
    auto* const element = database.find<FramebufferElement>(tag);
    return element ? &element->framebuffers() : nullptr;
}

} // namespace orca::image
