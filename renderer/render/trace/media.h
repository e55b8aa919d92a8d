// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Which volumes a ray is in: the camera's, and those of the bodies that it has entered through their
/// surfaces. A surface whose material has no volume bounds none: the ray stays in the one that it is in.

#include "render/context/render_context.h"

namespace orca::render {

/// The volume beyond the surface that a state's ray has met: that of the body which it enters there, or of
/// what is around the body which it leaves. A body that the ray began in, without having entered it, is left
/// for the volume of the camera, unless that is the body's own: then for none.
[[nodiscard]] miTag volumeBeyond(const RenderContext& context, const miState& state);

/// While it exists, the current ray has crossed the surface that the state's ray has met.
class CrossedSurface {
public:
    CrossedSurface(RenderContext& context, const miState& state);
    ~CrossedSurface();
    CrossedSurface(const CrossedSurface&) = delete;
    CrossedSurface& operator=(const CrossedSurface&) = delete;

private:
    enum class Change { None, Entered, Left };

    std::vector<miTag>& media_;
    Change change_ = Change::None;
    miTag volume_ = miNULLTAG;
    std::ptrdiff_t place_ = 0; ///< in the list, of what was left
};

} // namespace orca::render
