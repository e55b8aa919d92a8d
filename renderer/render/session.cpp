// SPDX-License-Identifier: Apache-2.0
#include "render/session.h"

#include "base/active_log.h"
#include "base/active_stop.h"
#include "base/locks.h"
#include "base/vectors.h"
#include "geometry/scene_geometry.h"
#include "image/framebuffer_element.h"
#include "render/attached_phenomena.h"
#include "render/checkpoint/checkpoint_writer.h"
#include "render/checkpoint/render_state.h"
#include "render/context/frame.h"
#include "render/context/scene_ids.h"
#include "render/contours.h"
#include "render/denoise/denoiser.h"
#include "render/displacement_calls.h"
#include "render/film/overscan.h"
#include "render/film/sample_steps.h"
#include "render/gather_prepass.h"
#include "render/geometry_shaders.h"
#include "render/light/light_chooser.h"
#include "render/light/light_profiles.h"
#include "render/light/mesh_emitters.h"
#include "render/light/shadow_map.h"
#include "render/light_maps.h"
#include "render/light_probe.h"
#include "render/output_shaders.h"
#include "render/sampling/adaptive_sampler.h"
#include "render/tile_renderer.h"
#include "scene/active_database.h"
#include "scene/elements/elements.h"

#include <fmt/format.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <new>
#include <span>
#include <thread>

#include <unistd.h>

namespace orca::render {

namespace {

class Stopwatch {
public:
    [[nodiscard]] double seconds() const {
        return std::chrono::duration<double>(Clock::now() - start_).count();
    }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start_ = Clock::now();
};

int threadsOf(const RenderSettings& settings) {
    if (settings.threads > 0) return settings.threads;
    return static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
}

/// An element that is in the database for the scope's lifetime.
class TemporaryElement {
public:
    TemporaryElement(scene::Database& database, std::unique_ptr<scene::Element> element)
        : database_(database), tag_(database.add(std::move(element))) {}
    ~TemporaryElement() { database_.remove(tag_); }
    TemporaryElement(const TemporaryElement&) = delete;
    TemporaryElement& operator=(const TemporaryElement&) = delete;
    [[nodiscard]] miTag tag() const { return tag_; }

private:
    scene::Database& database_;
    miTag tag_;
};

std::vector<SampledArea> areasOf(const Picture& picture) {
    const miOptions& options = picture.options.options;
    return sampledAreas(picture.display(), picture.bounds(), picture.window(), options.min_samples,
                        options.max_samples);
}

/// Null, with a message, when there is too little memory. Checked before the first page is touched: a system
/// that overcommits memory would kill the process later.
std::unique_ptr<Film> filmOf(const image::FramebufferSet& buffers, const PixelWindow& window,
                             const PixelWindow& sampled, std::size_t blocks, Log& log) {
    const std::size_t needed = Film::bytesNeeded(buffers, sampled, blocks);
    const auto machine =
        static_cast<std::size_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    try {
        if (needed < machine) return std::make_unique<Film>(buffers, window, sampled, blocks);
    } catch (const std::bad_alloc&) { // a limit of the process
    }
    log.error("RNDR",
              "{} x {} pixels of {} frame buffers need {:.1f} GB, more memory than there is; render the "
              "picture in parts (--window), smaller (--size) or with fewer passes at once",
              window.width(), window.height(), buffers.buffers().size() - 1,
              static_cast<double>(needed) * 1e-9);
    return nullptr;
}

/// A pass that stays black would otherwise be noticed in compositing, days later. A picture of one pixel is
/// rendered for its values, so nothing is reported there.
void reportUnwritten(FrameResult& result, const std::vector<std::uint8_t>& written, Log& log) {
    const auto& buffers = result.picture().framebuffers().buffers();
    const PixelWindow& window = result.film().window();
    if (written.size() < buffers.size()) return; // not one sample was rendered
    const bool isPicture = window.width() > 1 || window.height() > 1;
    for (std::size_t i = 1; isPicture && i < buffers.size(); ++i) {
        if (buffers[i].primary || buffers[i].source != image::BuiltinSource::None || written[i]) continue;
        result.unwritten.push_back(buffers[i].name);
        log.warning("RNDR", "frame buffer \"{}\" was written by no shader and stays black", buffers[i].name);
    }
    // Shaders look buffers up by name and get index 0 for a name that there is not.
    if (written[0])
        log.warning("RNDR",
                    "a shader writes a frame buffer that the camera does not have: a name in its data block "
                    "matches no framebuffer statement");
}

/// Samples are spread over the shutter as well as over the pixel, so where things move the stricter limit
/// applies.
miColor contrastOf(const Frame& frame) {
    const miColor &space = frame.options.contrast, &time = frame.options.time_contrast;
    if (!frame.options.motion || !frame.moves()) return space;
    return {std::min(space.r, time.r), std::min(space.g, time.g), std::min(space.b, time.b),
            std::min(space.a, time.a)};
}

/// Calls the displacement shaders, in a frame of their own: there is nothing to trace yet.
void displace(geometry::SceneGeometry& geometry, const FrameParts& parts,
              const scene::OptionsElement& options, int threads) {
    const Frame frame(parts);
    DisplacementCalls calls(frame, threads);
    geometry.finish(geometry::viewOf(frame.camera, frame.placement.start().fromWorld), std::ref(calls),
                    &options);
}

enum class IdUse { None, Labels, Seen };
IdUse useOfIds(const image::FramebufferSet& set) {
    IdUse use = IdUse::None;
    for (const image::Buffer& buffer : set.buffers()) {
        if (image::isCryptomatte(buffer)) return IdUse::Seen;
        if (buffer.source == image::BuiltinSource::Label) use = IdUse::Labels;
    }
    return use;
}

/// What files say of layers with ids: with the layers themselves, and with the picture, where some programs
/// look for it.
void describeIds(const SceneIds& ids, const image::FramebufferSet& set, image::PictureFrame& frame) {
    for (const image::Buffer& buffer : set.buffers()) {
        if (buffer.idSlots == 0) continue;
        frame.idMetadata.merge(
            image::cryptomatteMetadata(image::cryptomatteName(buffer), ids.manifest(buffer.source)));
    }
}

/// A picture that can only be black is rarely intended.
void warnOfNothing(const FrameParts& parts, Log& log) {
    const miCamera& camera = parts.camera;
    if (parts.geometry.meshInstances().empty() && parts.lights.visible().empty() && !camera.lens &&
        !camera.volume && !camera.environment)
        log.warning("RNDR", "there is nothing to see: no object, visible light, environment, lens or volume "
                            "shader is in the picture");
}

/// All samples are shaded but those of the rasterizer.
VisibilitySamples visibilityOf(const scene::OptionsElement& options) {
    if (options.options.scanline != miSCANLINE_RASTERIZER) return {};
    const auto across = static_cast<unsigned>(options.visibilitySamples);
    const auto count = across * across;
    const float shadings = std::clamp(std::round(options.shadingSamples), 1.0f, static_cast<float>(count));
    return {count, static_cast<unsigned>(shadings)};
}

/// Null where all lights are sampled at every point.
std::unique_ptr<LightChooser> chooserOf(const FrameParts& parts, int wanted) {
    if (wanted < 1 || parts.lights.all().size() <= static_cast<std::size_t>(wanted)) return nullptr;
    const Stopwatch measuring;
    const miVector extent = parts.geometry.boundsMax() - parts.geometry.boundsMin();
    const float farthest = isNull(extent) ? 1.0f : std::sqrt(dot(extent, extent));
    auto chooser = std::make_unique<LightChooser>(parts.geometry, parts.lights,
                                                  measureLights(Frame(parts), farthest), farthest, wanted);
    parts.log.info("RNDR", "{} lights measured, to choose {} of them at each point, in {:.1f} s",
                   parts.lights.all().size(), wanted, measuring.seconds());
    return chooser;
}

/// False when the render was stopped.
bool renderPasses(TileRenderer& tiles, AdaptiveSampler& sampler, const Film& film, RenderState& state,
                  int threads) {
    tiles.begin(RenderPhase::Render);
    if (state.resumesPass()) sampler.resumeAt(state.level());
    else state.beginPass(sampler.first(), sampler.level());
    while (tiles.renderPass()) {
        AdaptiveSampler::Pass pass = tbb::task_arena(threads).execute([&] { return sampler.next(film); });
        if (pass.empty()) return true;
        state.beginPass(std::move(pass), sampler.level());
    }
    return false;
}

/// False, with an error, when the checkpoint cannot be used.
bool resume(RenderState& state, const CheckpointSettings& settings, Log& log) {
    try {
        CheckpointInput input(settings.file);
        const std::vector<std::string> unlike = differences(readHeader(input), settings.header);
        if (!unlike.empty())
            throw CheckpointFault(fmt::format("it is of another render ({})", fmt::join(unlike, "; ")));
        state.read(input);
        input.finish();
        return true;
    } catch (const CheckpointFault& fault) {
        log.error("RNDR", "cannot go on from checkpoint \"{}\": {}", settings.file, fault.what());
        return false;
    }
}

void exitShaders(const Frame& frame) {
    RenderContext context(frame, 0);
    frame.runtime.exitAll(&context.base);
    frame.runtime.reportFaults();
}

image::Matrix matrixOf(const Transform& transform) {
    image::Matrix matrix;
    std::transform(transform.m.begin(), transform.m.end(), matrix.begin(),
                   [](double number) { return static_cast<float>(number); });
    return matrix;
}

/// At the opening of the shutter.
void describeCamera(const Frame& frame, image::Metadata& metadata) {
    const CameraSpace& camera = frame.placement.start();
    metadata["cameraToWorld"] = matrixOf(Transform::from(camera.toWorld));
    metadata["worldToCamera"] = matrixOf(Transform::from(camera.fromWorld));
    metadata["worldToNDC"] = matrixOf(Transform::from(camera.fromWorld) * frame.cameraToNdc());
}

RenderStatistics statisticsOf(const geometry::SceneGeometry& geometry, const RayCounts& rays,
                              const Film& film, int threads) {
    RenderStatistics statistics;
    statistics.rays = rays;
    statistics.triangles = geometry.triangleCount();
    statistics.hairSegments = geometry.hairSegmentCount();
    statistics.meshInstances = geometry.meshInstances().size();
    statistics.lights = geometry.lights().size();
    statistics.filmBytes = film.bytes();
    statistics.threads = threads;
    return statistics;
}

} // namespace

Session::Session(scene::Database& database, Log& log, shading::ShaderRuntime& runtime,
                 image::Textures& textures)
    : database_(database), log_(log), runtime_(runtime), textures_(textures), globalLock_(createLock()) {
    scene::setActiveDatabase(&database);
    setActiveLog(&log);
}

Session::~Session() {
    setActiveLog(nullptr);
    scene::setActiveDatabase(nullptr);
    deleteLock(globalLock_);
}

std::unique_ptr<FrameResult> Session::render(Picture asked, const RenderSettings& settings) {
    const ActiveStopScope stop(settings.stop);
    if (settings.progress) settings.progress({});
    const Stopwatch building;
    const std::vector<SampledArea> areas = areasOf(asked);
    const std::size_t blocks =
        settings.sampleRange
            ? image::blocksOf(*settings.sampleRange, samplesAt(asked.options.options.max_samples)).size()
            : 1;
    auto allocated = filmOf(asked.framebuffers(), asked.window(), sampledBy(areas), blocks, log_);
    if (!allocated) return nullptr;
    auto result = std::make_unique<FrameResult>(std::move(asked), std::move(allocated));
    Picture& picture = result->picture();
    Film& film = result->film();
    const miOptions& options = picture.options.options;
    const int threads = threadsOf(settings);
    RenderState state(film, options.task_size > 0 ? options.task_size : TileRenderer::automaticTileSize,
                      settings.checkpoint.has_value());
    if (settings.checkpoint && settings.checkpoint->resumes && !resume(state, *settings.checkpoint, log_))
        return nullptr;

    AttachedPhenomena attached(database_, picture.attachments());
    const TemporaryElement collection(database_,
                                      std::make_unique<image::FramebufferElement>(picture.framebuffers()));
    miCamera camera = picture.camera();
    attached.extend(camera);
    camera.buffertag = collection.tag();
    runtime_.bind();

    const miTag root = attached.extendedGroup(picture.elements().group);
    const LightProfiles lightProfiles(database_, log_);
    const auto partsOver = [&](const geometry::SceneGeometry& geometry, const LightInstances& lights) {
        return FrameParts{
            .database = database_,
            .log = log_,
            .runtime = runtime_,
            .textures = textures_,
            .framebuffers = picture.framebuffers(),
            .options = options,
            .camera = camera,
            .cameraInstance = picture.elements().cameraInstance,
            .geometry = geometry,
            .lights = lights,
            .lightProfiles = lightProfiles,
            .gather = GatherSettings(picture.options.gather, options),
            .seed = picture.options.samplesLocked ? 0 : static_cast<std::uint32_t>(camera.frame),
            .globalLock = globalLock_,
            .stop = settings.stop,
            .visibility = visibilityOf(picture.options),
        };
    };
    GeometryShaders geometryShaders(database_, log_, root);
    if (geometryShaders.areThere() && !options.no_geometry) {
        const TemporaryElement nothing(database_, std::make_unique<scene::GroupElement>());
        const geometry::SceneGeometry empty(database_, log_, nothing.tag(), options, threads,
                                            geometry::SceneGeometry::Displacement::StillToCome);
        geometryShaders.run(Frame(partsOver(empty, LightInstances(database_, empty.lights()))));
    }

    geometry::SceneGeometry geometry(
        database_, log_, root, options, threads, geometry::SceneGeometry::Displacement::StillToCome,
        {&camera, picture.elements().cameraInstance, &picture.options}, settings.instructions);
    const LightInstances lights(database_, geometry.lights());
    FrameParts parts = partsOver(geometry, lights);
    displace(geometry, parts, picture.options, threads);
    const MeshEmitters meshEmitters(geometry, lights, log_);
    parts.meshEmitters = &meshEmitters;
    warnOfNothing(parts, log_);
    const double buildSeconds = building.seconds();

    const Stopwatch rendering;
    const ShadowMaps shadowMaps(geometry, lights, picture.options, threads, settings.stop, log_);
    GatherCaches gatherCaches(geometry.boundsMin(), geometry.boundsMax());
    parts.shadowMaps = &shadowMaps;
    const std::unique_ptr<LightChooser> lightChooser = chooserOf(parts, picture.options.lightSamples);
    parts.lightChooser = lightChooser.get();
    LightMapOutcome lightMaps;
    if (picture.options.lightMaps != scene::LightMaps::Off)
        lightMaps = makeLightMaps(parts, film, state, settings, threads);
    if (parts.gather.spacing > 0) parts.gatherCaches = &gatherCaches;
    std::optional<SceneIds> ids;
    if (const IdUse use = useOfIds(picture.framebuffers()); use != IdUse::None) {
        parts.ids = &ids.emplace(database_, geometry, lights);
        parts.recordsSeen = use == IdUse::Seen;
        describeIds(*ids, result->picture().framebuffers(), result->frame());
    }
    if (settings.deep) {
        result->deep = std::make_unique<DeepFilm>(film.sampledWindow());
        parts.recordsSeen = true;
    }
    const Frame frame(parts);
    const auto conclude = [&](RayCounts rays, bool complete) {
        exitShaders(frame);
        rays.add(lightMaps.counts);
        result->interrupted = !complete;
        result->statistics = statisticsOf(geometry, rays, film, threads);
        result->statistics.buildSeconds = buildSeconds;
        result->statistics.renderSeconds = rendering.seconds();
    };
    if (!lightMaps.complete || picture.options.lightMaps == scene::LightMaps::Only) {
        conclude({}, lightMaps.complete);
        return result;
    }
    AdaptiveSampler sampler(areas, contrastOf(frame));
    state.setCaches(gatherCaches);
    TileRenderer tiles(frame, film, state, settings, threads, sampler.passesAtMost(), result->deep.get());
    std::optional<CheckpointWriter> checkpoints;
    if (settings.checkpoint) checkpoints.emplace(state, *settings.checkpoint, log_);
    bool complete = gatherPrepass(tiles, frame, gatherCaches, state) &&
                    renderPasses(tiles, sampler, film, state, threads);
    std::vector<RegionContours> contours;
    if (complete && hasContours(frame)) {
        if (settings.sampleRange)
            log_.warning("RNDR", "contours are left out: they are drawn on finished pictures");
        else
            complete = traceContours(tiles, frame, overscanRegions(picture.display(), picture.bounds()),
                                     film.window(), contours);
    }
    tiles.close();

    result->isResumable = !complete && checkpoints && checkpoints->finish();
    checkpoints.reset();
    RenderTally tally = state.isKept() ? state.tally() : tiles.tally();
    if (complete) sampler.fillGaps(film);
    std::optional<Denoiser> denoiser;
    if (complete && settings.denoise && !settings.sampleRange) denoiser.emplace(*settings.denoise, film);
    if (!settings.sampleRange) film.resolve();
    if (denoiser) {
        tiles.begin(RenderPhase::Denoise);
        complete =
            denoiser->run(film, result->picture().framebuffers(), result->noisy, threads, settings.stop);
    }
    if (complete && !contours.empty()) drawContours(frame, *result, contours, threads);
    if (complete && !settings.sampleRange && !options.no_output)
        complete = runOutputShaders(
            frame, *result, contours.empty() ? std::span<const ContourSegment>() : contours.front().lines,
            tally.written);
    conclude(tally.counts, complete);
    if (complete) reportUnwritten(*result, tally.written, log_);
    result->sampleRange = settings.sampleRange;
    describeCamera(frame, result->frame().metadata);
    return result;
}

} // namespace orca::render
