// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/ray.h"
#include "render/context/frame.h"
#include "render/sampling/sampler.h"
#include "shading/call_context.h"
#include "shading/shader_exceptions.h"

#include <shader.h>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace orca::render {

class HitObserver;
class OutputImages;
class PendingGatherRecords;
class SeenSurfaces;
class ShadedLayers;
struct ContourSegment;

/// What `miQ_SAMPLE_PHASE` answers. Passes are written in the image phase alone.
enum SamplePhase : int {
    imagePhase = 1,
    gatherPhase = 2,  ///< in the gather prepass, and within gathers
    noImagePhase = 3, ///< outside of any sample of the picture
};

/// A derived state with the memory that it points to. Kept per nesting depth and reused: a caller can read
/// its most recent child, and no sample allocates.
struct DerivedState {
    miState state;
    std::vector<miVector> textureCoordinates; // never empty: lights write entry 0 for a while
    miVector bumpX, bumpY;
};

/// The segment between an illuminated point and a light, for occluders' shaders that continue it.
struct ShadowRay {
    miVector towardLight; ///< unit, from the illuminated point
    miVector lightOrigin; ///< of directional lights: beyond the scene's bounds
    float distance;       ///< from the illuminated point to lightOrigin
    bool directional;
    miTag lightInstance;
};

/// The point of an object's surface that a light sample begins at.
struct EmitterPoint {
    miVector normal; ///< geometric, as modelled; unit, internal space
    float area;      ///< of the whole emitter, square scene units
};

/// Internal space of a displacement call: the object's own.
struct DisplacementSpace {
    const miScalar* toWorld; ///< of the instance
    const miScalar* fromWorld;
    miMatrix toCamera, fromCamera;
};

struct RayCounts {
    std::uint64_t eye = 0, transparent = 0, reflection = 0, refraction = 0, shadow = 0, gather = 0,
                  occlusion = 0, environment = 0, samples = 0, materialCalls = 0, lightCalls = 0;

    /// All kinds of rays together.
    [[nodiscard]] std::uint64_t rays() const {
        return eye + transparent + reflection + refraction + shadow + gather + occlusion + environment;
    }
    void add(const RayCounts& other);
    /// What came after `earlier`.
    [[nodiscard]] RayCounts since(const RayCounts& earlier) const;
};

/// What the renderer itself knows of an eye sample's first hit; feeds the built-in frame buffers.
struct PrimaryHit {
    bool hit = false;
    float depth = 0.0f; ///< camera space, positive
    miVector normal{};  ///< internal space
    miVector motion{};
    miUint label = 0;
    miTag shader = miNULLTAG;
};

/// Where a frame buffer's value is in `RenderContext::sampleWords`.
struct BufferPlace {
    int first; ///< word
    int count; ///< of the words that mi_fb_put and mi_fb_get exchange
};

/// One rendering thread's working state.
struct RenderContext : shading::CallContext {
    RenderContext(const Frame& renderFrame, int threadNumber);
    ~RenderContext();
    RenderContext(const RenderContext&) = delete;
    RenderContext& operator=(const RenderContext&) = delete;

    const Frame& frame;
    miState base;       ///< the base state; every other state derives from it
    CameraSpace camera; ///< at the time of the current eye sample
    Sampler sampler;
    RayCounts counts;

    std::vector<float> sampleWords;        ///< frame-buffer values of the current eye sample
    std::vector<BufferPlace> bufferPlaces; ///< where each buffer's is, by index
    unsigned bufferCount;                  ///< of those
    std::vector<std::uint8_t> written;     ///< buffers that a shader has put something into, by index
    std::vector<float> wordsBeforeLayer;   ///< rasterizer: `sampleWords` as the layer found them
    std::vector<geometry::Hit> occluders;  ///< of sorted shadow rays that are being traced
    std::vector<miTag> media;              ///< volumes of the bodies that the current ray is in
    bool seesThroughOccluders = false;     ///< shadow rays are not traced
    bool inEyeSample = false;              ///< false: frame-buffer values are discarded

    HitObserver* hitObserver = nullptr; ///< null: nothing wants to know
    std::unique_ptr<SeenSurfaces> seen; ///< of the current eye sample; null: nothing wants to know
    PrimaryHit primary;
    ShadedLayers* shadedLayers = nullptr; ///< rasterizer: of the current pixel; null: every sample is shaded
    float eyeStart = 0.0f;                ///< rasterizer: distance of the layer last shaded
    std::uint32_t skipInstance = geometry::nothing, skipTriangle = geometry::nothing;

    bool holdsOpacity = false; ///< rasterizer: a layer is being shaded
    bool opacitySet = false;
    miColor opacity{};

    const ShadowRay* shadowRay = nullptr;
    const EmitterPoint* emitterPoint = nullptr;           ///< of the running light; null where it has no mesh
    const DisplacementSpace* displacementSpace = nullptr; ///< set in displacement calls
    OutputImages* outputImages = nullptr;                 ///< of the running output shader
    std::span<const ContourSegment> contours;             ///< that it asks for
    std::size_t nextContour = 0;
    miVector corners[3];                                    ///< that `mi_tri_vectors` has last given
    int gatherDepth = 0;                                    ///< nesting of gathers
    int gatherReflectionBase = 0, gatherRefractionBase = 0; ///< levels at which the innermost one began
    PendingGatherRecords* pendingGatherRecords =
        nullptr;   ///< in the gather prepass: where new records are added
    int depth = 0; ///< nesting of derived states

    /// Puts the base state back to before an eye sample: at the camera, nothing hit. Raster position, time
    /// and ray are the sample's to set.
    void resetBase();

    /// The reusable state for one more level of nesting.
    DerivedState& slot(int level);

private:
    std::vector<std::unique_ptr<DerivedState>> slots_;
};

/// Deepest nesting of derived states; deeper rays are refused, so that endless recursion cannot exhaust the
/// stack.
inline constexpr int maxNesting = 600;

/// Says once that the deepest rays are left out. True.
bool reportsNesting(const RenderContext& context);

/// True where no more rays are cast: nested too deep, with a message, or of a picture that was stopped.
[[nodiscard]] inline bool refusesRays(const RenderContext& context) {
    return context.frame.stopped() || (context.depth >= maxNesting && reportsNesting(context));
}

[[nodiscard]] inline RenderContext& renderContextOf(const miState* state) {
    return *static_cast<RenderContext*>(static_cast<shading::CallContext*>(state->ext));
}

/// A child of `parent`, one level deeper for the scope's lifetime. All fields are the parent's until changed.
/// The state itself stays readable through `parent->child` until the next child at that depth.
class ChildState {
public:
    ChildState(RenderContext& context, miState* parent, miRay_type type);
    ~ChildState() { --context_.depth; }
    ChildState(const ChildState&) = delete;
    ChildState& operator=(const ChildState&) = delete;

    miState* operator->() { return &derived_.state; }
    [[nodiscard]] miState* get() { return &derived_.state; }
    [[nodiscard]] DerivedState& derived() { return derived_; }

private:
    RenderContext& context_;
    DerivedState& derived_;
};

} // namespace orca::render
