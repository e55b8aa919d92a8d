// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/approximation.h"
#include "scene/elements/element.h"
#include "scene/elements/named_options.h"

#include <optional>
#include <string>
#include <vector>

namespace orca::scene {

/// `frame buffer n` of the options, known to shaders as "fb<n>".
struct NumberedFramebuffer {
    int number = 0;
    std::string datatype = "rgba";
    std::optional<bool> interpolate;
    SourceLocation location;
};

/// Settings of gathered light besides the fields of the options' record.
struct GatherOptions {
    std::optional<int> reflectionDepth, refractionDepth,
        traceDepth; ///< of gather rays; else the picture's own
    bool radiiInPixels = false;
    float falloffStart = 0.0f, falloffStop = 0.0f; ///< scene units; stop 0: rays reach any distance
    miColor scale{1, 1, 1, 1};                     ///< of what is seen gathered
    miColor secondaryScale{1, 1, 1, 1};            ///< of what gather rays find gathered
    float presampleDensity = 1.0f;                 ///< 0: no prepass, every sample gathers for itself
};

/// Most segments of equal length that the shutter is divided into for motion: the ray-tracing kernel's limit.
inline constexpr int motionStepsAtMost = 128;

/// Limits of sampling levels: level n takes 4^n samples a pixel.
inline constexpr int coarsestSamplingLevel = -6; ///< one sample every 64 pixels, each way
inline constexpr int finestSamplingLevel = 8;    ///< 65536 samples a pixel

/// Most visibility samples of the rasterizer in x and in y.
inline constexpr int mostVisibilitySamples = 16;

/// Most lights that may be chosen at a point.
inline constexpr int mostLightSamples = 256;

/// Width and height of a pixel filter (miFILTER_* code) for which none is given, pixels.
[[nodiscard]] float defaultFilterWidth(char filter);

/// What keeps colours inside 0..1 in files of whole numbers (image/color_encoding.h).
enum class ColorClip {
    Raw,  ///< colour and alpha each by itself
    Rgb,  ///< the colour first; alpha is not below it
    Alpha ///< alpha first; the colour is not above it
};

/// Whether light map shaders run before a picture.
enum class LightMaps {
    Off,
    On,
    Only ///< they do, and no picture is rendered
};

/// Pixels that are rendered beyond each side of the display.
struct Overscan {
    int across = 0, up = 0; ///< left and right; below and above
};
inline constexpr int overscanAtMost = 8192; ///< pixels

/// Options that are not of the record have their defaults from their statements (option_statements.h) too.
struct OptionsElement final : Element {
    OptionsElement();
    void* record() override { return &options; }
    [[nodiscard]] int recordSize() const override { return sizeof(options); }
    void visitReferences(const std::function<void(miTag)>& visit) const override;

    miOptions options{};
    NamedOptions named;
    std::vector<NumberedFramebuffer> framebuffers;
    std::optional<Approximation> approximation; ///< of displaced polygons, instead of the objects' own
    std::vector<ApproximateStatement> surfaceApproximations; ///< of what is curved, likewise
    float maxDisplacement = 0.0f; ///< the same, object space units; 0: the objects' own
    bool samplesLocked = true;    ///< the same sample pattern on every frame
    ColorClip colorClip = ColorClip::Raw;
    bool premultiply = true, dither = false, desaturate = false; ///< conversion to whole numbers
    float shadowMapBias = 0.0f;  ///< of lights without one of their own; scene units, 0: none
    int visibilitySamples = 4;   ///< of the rasterizer for each sample, in x and in y
    float shadingSamples = 1.0f; ///< of the rasterizer for each sample and surface
    int lightSamples = 0;        ///< lights that are chosen at each point; 0: all
    GatherOptions gather;
    LightMaps lightMaps = LightMaps::On;
    Overscan overscan;
};

} // namespace orca::scene
