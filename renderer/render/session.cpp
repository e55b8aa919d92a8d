// SPDX-License-Identifier: Apache-2.0
#include "render/session.h"

#include "base/locks.h"
#include "geometry/scene_geometry.h"
#include "render/attached_phenomena.h"
#include "render/context/frame.h"
#include "render/displacement_calls.h"
#include "render/gather_prepass.h"
#include "render/light/shadow_map.h"
#include "render/sampling/adaptive_sampler.h"
#include "render/tile_renderer.h"
#include "scene/elements/elements.h"
#include "shading/active_renderer.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <thread>

#include <unistd.h>

namespace orca::render {

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// The element behind the camera's buffer tag: lets shaders find the picture's buffers by name.
struct FramebufferCollection final : scene::Element {
    explicit FramebufferCollection(image::FramebufferSet& set)
        : Element(miSCENE_FRAMEBUFFERS), framebuffers(set) {}
    void* record() override { return static_cast<mi::shader_v3::Framebuffer*>(&framebuffers); }
    image::FramebufferSet& framebuffers;
};

/// Keeps the collection in the database for the time of one picture.
class CollectionScope {
public:
    CollectionScope(scene::Database& database, image::FramebufferSet& framebuffers)
        : database_(database), tag_(database.add(std::make_unique<FramebufferCollection>(framebuffers))) {}
    ~CollectionScope() { database_.remove(tag_); }
    CollectionScope(const CollectionScope&) = delete;
    CollectionScope& operator=(const CollectionScope&) = delete;
    [[nodiscard]] miTag tag() const { return tag_; }

private:
    scene::Database& database_;
    miTag tag_;
};

miCamera cameraOf(scene::CameraElement& element, const RenderSettings& settings) {
    miCamera camera = element.camera;
    if (settings.resolution) {
        camera.x_resolution = settings.resolution->first;
        camera.y_resolution = settings.resolution->second;
        camera.window = {0, 0, camera.x_resolution - 1, camera.y_resolution - 1};
    }
    if (settings.window)
        camera.window = {settings.window->xl, settings.window->yl, settings.window->xh, settings.window->yh};
    camera.window.xl = std::clamp(camera.window.xl, 0, camera.x_resolution - 1);
    camera.window.yl = std::clamp(camera.window.yl, 0, camera.y_resolution - 1);
    camera.window.xh = std::clamp(camera.window.xh, camera.window.xl, camera.x_resolution - 1);
    camera.window.yh = std::clamp(camera.window.yh, camera.window.yl, camera.y_resolution - 1);
    return camera;
}

miOptions optionsOf(const scene::OptionsElement& element, const RenderSettings& settings) {
    miOptions options = element.options;
    if (settings.samples) {
        options.min_samples = settings.samples->first;
        options.max_samples = settings.samples->second;
    }
    return options;
}

image::PictureFrame pictureFrame(const miCamera& camera) {
    image::PictureFrame frame;
    frame.width = camera.x_resolution;
    frame.height = camera.y_resolution;
    frame.window = {camera.window.xl, camera.window.yl, camera.window.xh, camera.window.yh};
    return frame;
}

/// Null, with a message, when there is not memory enough. Asked before the first page is touched, as systems
/// that promise more than they have would stop the whole process later.
std::unique_ptr<Film> filmOf(const image::FramebufferSet& buffers, const PixelWindow& window, Log& log) {
    const std::size_t needed = Film::bytesNeeded(buffers, window);
    const auto machine =
        static_cast<std::size_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    try {
        if (needed < machine) return std::make_unique<Film>(buffers, window);
    } catch (const std::bad_alloc&) { // a limit of the process
    }
    log.error("RNDR",
              "{} x {} pixels of {} frame buffers need {:.1f} GB, more memory than there is; render the "
              "picture in parts (--window), smaller (--size) or with fewer passes at once",
              window.width(), window.height(), buffers.buffers().size() - 1,
              static_cast<double>(needed) * 1e-9);
    return nullptr;
}

/// A pass that was asked for and stays black would be noticed in compositing, days later. One pixel is asked
/// for its values, not for what is missing.
void reportUnwritten(FrameResult& result, const TileRenderer& tiles, Log& log) {
    const auto& buffers = result.framebuffers().buffers();
    const PixelWindow& window = result.film->window();
    const bool isPicture = window.width() > 1 || window.height() > 1;
    for (std::size_t i = 1; isPicture && i < buffers.size(); ++i) {
        if (buffers[i].primary || buffers[i].source != image::BuiltinSource::None || tiles.written(i))
            continue;
        result.unwritten.push_back(buffers[i].name);
        log.warning("RNDR", "frame buffer \"{}\" was written by no shader and stays black", buffers[i].name);
    }
    // Shaders look buffers up by name and get index 0 for a name that there is not.
    if (tiles.written(0))
        log.warning("RNDR",
                    "a shader writes a frame buffer that the camera does not have: a name in its data block "
                    "matches no framebuffer statement");
}

/// Samples are spread over the shutter as well as over the pixel, so where things move the stricter limit
/// rules.
miColor contrastOf(const miOptions& options, const Frame& frame) {
    if (!options.motion || !frame.moves()) return options.contrast;
    const miColor &space = options.contrast, &time = options.time_contrast;
    return {std::min(space.r, time.r), std::min(space.g, time.g), std::min(space.b, time.b),
            std::min(space.a, time.a)};
}

} // namespace

FrameResult::FrameResult(std::unique_ptr<image::FramebufferSet> framebuffers, const miCamera& camera)
    : framebuffers_(std::move(framebuffers)), frame_(pictureFrame(camera)) {
}

Session::Session(scene::Database& database, Log& log, shading::ShaderRuntime& runtime,
                 image::Textures& textures)
    : database_(database), log_(log), runtime_(runtime), textures_(textures), globalLock_(createLock()) {
    shading::activate({&database, &log});
}

Session::~Session() {
    shading::activate({});
    deleteLock(globalLock_);
}

std::unique_ptr<FrameResult> Session::render(miTag group, miTag cameraInstanceTag, miTag optionsTag,
                                             const RenderSettings& settings) {
    auto* cameraInstance = database_.find<scene::InstanceElement>(cameraInstanceTag);
    auto* cameraElement =
        cameraInstance ? database_.find<scene::CameraElement>(cameraInstance->instance.item) : nullptr;
    auto* optionsElement = database_.find<scene::OptionsElement>(optionsTag);
    if (!database_.find<scene::GroupElement>(group) || !cameraElement || !optionsElement) {
        log_.error("RNDR", "a render needs an instance group, an instance of a camera and options");
        return nullptr;
    }

    const auto buildStart = Clock::now();
    const int processors = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    const int threads = settings.threads > 0 ? settings.threads : processors;
    const miOptions options = optionsOf(*optionsElement, settings);
    miCamera camera = cameraOf(*cameraElement, settings);

    const scene::PhenomenonAttachments attachments =
        scene::attachmentsTo(database_, {group, cameraInstanceTag, optionsTag});
    AttachedPhenomena attached(database_, attachments);
    attached.extend(camera);

    auto framebuffers =
        std::make_unique<image::FramebufferSet>(*cameraElement, *optionsElement, log_, attachments.outputs);
    image::FramebufferSet& buffers = *framebuffers;
    auto result = std::make_unique<FrameResult>(std::move(framebuffers), camera);
    const CollectionScope collection(database_, buffers);
    camera.buffertag = collection.tag();
    const PixelWindow window{camera.window.xl, camera.window.yl, camera.window.xh, camera.window.yh};
    result->film = filmOf(buffers, window, log_);
    if (!result->film) return nullptr;

    runtime_.bind();
    geometry::SceneGeometry geometry(database_, log_, attached.extendedGroup(group), options, threads,
                                     geometry::SceneGeometry::Displacement::StillToCome);
    Frame frame(database_, log_, runtime_, textures_, geometry, buffers, options, camera, cameraInstanceTag);
    frame.globalLock = globalLock_;
    frame.stop = settings.stop;
    frame.gather = GatherSettings(*optionsElement);
    if (!optionsElement->samplesLocked) frame.seed = static_cast<std::uint32_t>(camera.frame);
    {
        DisplacementCalls calls(frame, threads);
        geometry.finish(displacementView(frame), std::ref(calls), optionsElement);
    }
    result->frame().gamma = options.gamma;
    result->frame().cameraToWorld.assign(std::begin(frame.placement.start().toWorld),
                                         std::end(frame.placement.start().toWorld));
    result->statistics.buildSeconds = secondsSince(buildStart);

    const auto renderStart = Clock::now();
    AdaptiveSampler adaptiveSampler(window, options.min_samples, options.max_samples,
                                    contrastOf(options, frame));
    TileRenderer tiles(frame, *result->film, settings, threads, adaptiveSampler.passesAtMost());
    bool complete = true;
    ShadowMaps shadowMaps;
    if (options.use_shadow_maps)
        tiles.inArena([&] {
            for (const LightInstance& light : frame.lights())
                if (light.light->use_shadow_maps) shadowMaps.add(geometry, light);
        });
    if (!shadowMaps.empty()) frame.shadowMaps = &shadowMaps;
    GatherCaches gathered(geometry.boundsMin(), geometry.boundsMax());
    frame.gatherSpacing = frame.gather.rays > 0 ? gatherSpacing(frame.gather.presampleDensity) : 0;
    if (frame.gatherSpacing > 0) {
        frame.gatherCaches = &gathered;
        complete = gatherPrepass(tiles, frame, gathered);
        log_.info("RNDR", "gathered light ahead at {} points, and at {} between bounces, in {:.1f} s",
                  gathered.of(0).size(), gathered.of(1).size(), secondsSince(renderStart));
    }
    AdaptiveSampler::Pass pass = adaptiveSampler.first();
    while (complete) {
        complete = tiles.render(pass);
        if (!complete || !adaptiveSampler.next(*result->film, pass)) break;
    }
    tiles.close();

    RenderContext exitContext(frame, 0);
    runtime_.exitAll(&exitContext.base);
    runtime_.reportFaults();
    if (complete) {
        adaptiveSampler.fillGaps(*result->film);
        reportUnwritten(*result, tiles, log_);
    }
    result->film->resolve();
    result->interrupted = !complete;
    RenderStatistics& statistics = result->statistics;
    statistics.rays = tiles.counts();
    statistics.renderSeconds = secondsSince(renderStart);
    statistics.triangles = geometry.triangleCount();
    statistics.meshInstances = geometry.meshInstances().size();
    statistics.lights = geometry.lights().size();
    statistics.filmBytes = result->film->bytes();
    statistics.threads = threads;
    if (settings.progress) settings.progress(1.0);
    return result;
}

} // namespace orca::render
