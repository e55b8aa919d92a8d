// SPDX-License-Identifier: Apache-2.0
#include "render/context/render_context.h"

#include "render/context/seen_surfaces.h"

#include <algorithm>
#include <iterator>

namespace orca::render {

namespace {

constexpr std::uint64_t RayCounts::*allCounts[] = {
    &RayCounts::eye,     &RayCounts::transparent,   &RayCounts::reflection, &RayCounts::refraction,
    &RayCounts::shadow,  &RayCounts::gather,        &RayCounts::occlusion,  &RayCounts::environment,
    &RayCounts::samples, &RayCounts::materialCalls, &RayCounts::lightCalls};
static_assert(sizeof(RayCounts) == std::size(allCounts) * sizeof(std::uint64_t));

} // namespace

void RayCounts::add(const RayCounts& other) {
    for (const auto count : allCounts) this->*count += other.*count;
}

RayCounts RayCounts::since(const RayCounts& earlier) const {
    RayCounts later = *this;
    for (const auto count : allCounts) later.*count -= earlier.*count;
    return later;
}

RenderContext::RenderContext(const Frame& renderFrame, int threadNumber)
    : CallContext(renderFrame.runtime),
      frame(renderFrame),
      base{},
      camera(renderFrame.placement.start()),
      sampleWords(static_cast<std::size_t>(renderFrame.framebuffers.wordsPerSample())),
      bufferCount(static_cast<unsigned>(renderFrame.framebuffers.buffers().size())),
      written(bufferCount) {
    for (const image::Buffer& buffer : renderFrame.framebuffers.buffers())
        bufferPlaces.push_back({buffer.sampleOffset, buffer.components});
    if (renderFrame.recordsSeen) seen = std::make_unique<SeenSurfaces>();
    base.version = miSHADER_INTERFACE_VERSION;
    base.camera_inst = renderFrame.cameraInstance;
    // Not const in the interface, but read-only to shaders.
    base.camera = const_cast<miCamera*>(&renderFrame.camera);
    base.options = const_cast<miOptions*>(&renderFrame.options);
    base.global_lock = renderFrame.globalLock;
    base.thread = static_cast<short>(threadNumber);
    base.type = miRAY_EYE;
    base.time = renderFrame.options.shutter_delay;
    base.volume = renderFrame.camera.volume;
    base.environment = renderFrame.camera.environment;
    base.ior = base.ior_in = 1.0f;
    base.importance = 1.0f;
    base.hit_instance = base.hit_triangle = geometry::nothing;
    base.tex_list = slot(0).textureCoordinates.data();
    base.ext = static_cast<CallContext*>(this);
}

RenderContext::~RenderContext() = default;

void RenderContext::resetBase() {
    miState& state = base;
    state.type = miRAY_EYE;
    state.parent = state.child = nullptr;
    state.reflection_level = state.refraction_level = 0;
    state.instance = state.light_instance = state.material = miNULLTAG;
    state.hit_instance = state.hit_triangle = geometry::nothing;
    state.volume = frame.camera.volume;
    state.environment = frame.camera.environment;
    state.refraction_volume = miNULLTAG;
    state.dist = 0.0;
    state.scanline = state.rast_compose = miFALSE;
    state.user = nullptr;
    state.user_size = 0;
    state.shader = nullptr;
    state.ior = state.ior_in = 1.0f;
    state.ray_offset = state.falloff_start = state.falloff_stop = 0.0;
}

DerivedState& RenderContext::slot(int level) {
    while (static_cast<int>(slots_.size()) <= level) {
        slots_.push_back(std::make_unique<DerivedState>());
        slots_.back()->textureCoordinates.resize(
            static_cast<std::size_t>(std::max(1, frame.geometry.maxTextureSpaces())));
    }
    return *slots_[static_cast<std::size_t>(level)];
}

bool reportsNesting(const RenderContext& context) {
    context.frame.log.once(
        "render: nesting",
        {LogLevel::Warning, "RNDR", 0, "rays nest too deep; the deepest are left out", {}});
    return true;
}

ChildState::ChildState(RenderContext& context, miState* parent, miRay_type type)
    : context_(context), derived_(context.slot(++context.depth)) {
    derived_.state = *parent;
    derived_.state.parent = parent;
    derived_.state.child = nullptr;
    derived_.state.type = type;
    derived_.state.ray_offset = derived_.state.falloff_start = derived_.state.falloff_stop = 0.0;
    parent->child = &derived_.state;
}

} // namespace orca::render
