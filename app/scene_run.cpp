// SPDX-License-Identifier: Apache-2.0
#include "scene_run.h"

#include "advice.h"
#include "crash_handler.h"
#include "deep_request.h"
#include "denoise_guides.h"
#include "exit_codes.h"
#include "frames.h"
#include "installation.h"
#include "layered_format_words.h"
#include "mesh_import.h"
#include "named_passes.h"
#include "overrides.h"
#include "pass_block.h"
#include "picture_identity.h"
#include "picture_shape.h"
#include "progress.h"
#include "run_reports.h"
#include "verification.h"

#include "base/utc_time.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include <unistd.h>

namespace orca::app {

namespace {

/// The user's paths, then the environment's, then those of the installation.
std::vector<std::string> searchPaths(std::vector<std::string> given, const char* variable,
                                     const std::vector<std::string>& own) {
    const std::vector<std::string> environment = pathsFromEnvironment(variable);
    given.insert(given.end(), environment.begin(), environment.end());
    given.insert(given.end(), own.begin(), own.end());
    return given;
}

/// From the camera's frame and the seconds at which it is; nothing where they do not say.
std::optional<image::Rational> framesPerSecond(const miCamera& camera) {
    if (camera.frame <= 0 || camera.frame_time <= 0.0f) return {};
    const double rate = camera.frame / static_cast<double>(camera.frame_time);
    // Film and video rates are whole, or whole numbers of 1000/1001.
    if (const double whole = std::round(rate); std::abs(rate - whole) < 1e-4 * rate)
        return image::Rational{static_cast<int>(whole), 1};
    return image::Rational{static_cast<int>(std::lround(rate * 1001.0)), 1001};
}

/// Now, as OpenEXR has its standard attribute of this name, in UTC.
std::string capturedNow() {
    std::string text = utcTime();
    text[4] = text[7] = ':';
    text[10] = ' ';
    text.pop_back();
    return text;
}

std::string hostName() {
    char name[256] = {};
    return ::gethostname(name, sizeof name - 1) == 0 ? name : "";
}

/// A bar on a terminal; a log gets lines when its verbosity asks for them.
Progress::Style progressStyle(const CommandLine& command) {
    if (command.progress == "off") return Progress::Style::Quiet;
    if (command.progress == "json") return Progress::Style::Json;
    const bool terminal = ::isatty(STDERR_FILENO) != 0;
    if (!command.verbosity) return terminal ? Progress::Style::Bar : Progress::Style::Quiet;
    if (*command.verbosity < LogLevel::Progress) return Progress::Style::Quiet;
    return terminal ? Progress::Style::Bar : Progress::Style::Lines;
}

} // namespace

scene::ParserOptions parserOptions(const CommandLine& command) {
    scene::ParserOptions options;
    options.includePaths =
        searchPaths(command.includePaths, "MI_RAY_INCPATH", installation().declarationPaths);
    options.registry = command.registry;
    options.variables = command.variables;
    options.verbosityFixed = command.verbosity.has_value();
    options.renderAnyway = command.renderAnyway;
    options.strict = command.strict;
    return options;
}

SceneRun::SceneRun(const CommandLine& command, Log& log, StopSignal& stop, LimitWatcher& limits,
                   OutputFiles& files, std::optional<int> frame, int skipped)
    : command_(command),
      log_(log),
      stop_(stop),
      limits_(limits),
      policy_(command),
      colors_(command, log),
      frame_(frame),
      scene_(log),
      runtime_(scene_.database(), log),
      textures_(log, searchPaths(command.texturePaths, "MI_TEXTURE_PATH", {}), command.textureMegabytes),
      session_(scene_.database(), log, runtime_, textures_),
      libraryPaths_(searchPaths(command.libraryPaths, "MI_LIBRARY_PATH", installation().libraryPaths)),
      masks_(scene_.database(), log),
      defaultLight_(command.defaultLight, scene_),
      files_(files),
      checkpoints_(command, log, stop),
      inputs_(scene_, textures_, runtime_, policy_, log),
      skipped_(skipped) {
}

int SceneRun::run() {
    const scene::ParserOptions& options = parserOptions_ = parserOptions(command_);
    parserOptions_.stop = &stop_.flag();
    parserOptions_.colorSpaces = [this] { return colors_.configuration(); };
    if (!colors_.choose()) return exitUsage;
    if (policy_.restrictsReading())
        parserOptions_.mayRead = [this](const std::string& path) { return policy_.mayRead(path); };
    scene::ParserCallbacks& callbacks = parserCallbacks_;
    callbacks.link = [this](const std::string& file, const SourceLocation& location) {
        return link(file, location);
    };
    callbacks.importMesh = [this](const std::string& path, bool tagged) {
        return importMesh(path, tagged, command_.limits.megabytes, stop_.flag());
    };
    callbacks.render = [this](const scene::RenderRequest& request) { return render(request); };
    if (!command_.passes.empty())
        preset_ = std::make_unique<PassPreset>(command_.passes, scene_, options, callbacks);

    for (const std::string& library : command_.libraries)
        if (!link(library, {"--link", 0, 0})) fail(exitSceneError);
    for (const std::string& file : command_.scenes) {
        if (exitCode_ != exitRendered) break;
        if (const std::string reason = whyNoScene(file); !reason.empty()) {
            log_.error("MAIN", "{}", reason);
            fail(exitSceneError);
            break;
        }
        isLastFile_ = &file == &command_.scenes.back();
        scene_.parseFile(frame_ ? withFrame(file, *frame_) : file, options, callbacks);
        if (scene_.errors() > 0) fail(exitSceneError);
    }
    inputs_.collect();
    if (command_.checksOnly && !check()) fail(exitSceneError);
    if (command_.listsInputs && !inputs_.reportMissing()) fail(exitSceneError);
    const bool isPart = command_.checksOnly || command_.listsInputs; // declarations, materials
    if (exitCode_ == exitRendered && !command_.dumpsPasses && !(isPart && scene_.database().endTag() > 1))
        reportMissingFrames();
    log_.reportRepeats();
    reportLeaks(scene_.database(), log_);
    return exitCode_;
}

void SceneRun::reportMissingFrames() {
    if (scene_.renderStatements() == 0) {
        log_.error("MAIN", "the scene has no render statement, so nothing was rendered");
        fail(exitSceneError);
        return;
    }
    if (frame_ || !command_.frames) return;
    std::vector<int> missing;
    std::copy_if(command_.frames->begin(), command_.frames->end(), std::back_inserter(missing),
                 [&](int frame) { return !frames_.contains(frame); });
    if (missing.empty()) return;
    const std::string available = rangesOf({frames_.begin(), frames_.end()});
    if (missing.size() == command_.frames->size()) {
        log_.error("MAIN", "nothing was rendered: --frames asks for {}, but the scene has {}",
                   rangesOf(missing), available);
        fail(exitUsage);
    } else {
        log_.warning("MAIN", "--frames also asks for {}, but the scene has {}", rangesOf(missing), available);
    }
}

/// The exit code is that of the first failure.
void SceneRun::fail(int exitCode) {
    if (exitCode_ == exitRendered) exitCode_ = exitCode;
}

bool SceneRun::link(const std::string& file, const SourceLocation& location) {
    const bool isOfCommandLine = location.line == 0;
    if (isOfCommandLine || policy_.mayLinkAll()) return runtime_.loadLibrary(file, libraryPaths_, location);
    const std::vector<std::string> paths = policy_.linkable(file, libraryPaths_);
    if (!paths.empty()) return runtime_.loadLibrary(file, paths, location);
    log_.errorAt(location, "MAIN", "the shader library \"{}\" is refused: {}", file, policy_.linkingRule());
    return false;
}

int SceneRun::frameNumber(const scene::CameraElement& camera, const scene::RenderRequest& request) const {
    if (frame_) return *frame_;
    return camera.hasFrame ? camera.camera.frame : request.number;
}

bool SceneRun::isChosen(int frame) const {
    return frame_ || !command_.frames ||
           std::find(command_.frames->begin(), command_.frames->end(), frame) != command_.frames->end();
}

bool SceneRun::preparePasses(const render::PictureElements& elements) {
    scene::CameraElement& camera = *elements.camera;
    if (!completeNamedPasses(scene_, parserOptions_, parserCallbacks_, camera)) return false;
    if (!checkPassBlock(scene_.database(), camera, log_)) return false;
    if (preset_ && !preset_->apply(camera, *elements.options, elements.group)) return false;
    if (!masks_.resolveLinks(camera, preset_ ? preset_->maskPlaces() : nullptr)) return false;
    masks_.check(camera);
    return true;
}

bool SceneRun::check() {
    if (!inputs_.mayRead()) return false;
    runtime_.bind();
    inputs_.openTextures();
    return log_.count(LogLevel::Error) == 0;
}

bool SceneRun::render(const scene::RenderRequest& request) {
    const auto elements = render::pictureElements(scene_.database(), request, log_);
    if (!elements) {
        fail(exitSceneError);
        return false;
    }
    const int frame = frameNumber(*elements->camera, request);
    frames_.insert(frame);
    if (!isChosen(frame)) return true;
    textures_.setFrame(frame);
    if (skipped_ > 0) {
        --skipped_;
        return true;
    }
    if (!preparePasses(*elements)) {
        fail(exitSceneError);
        return false;
    }
    if (command_.dumpsPasses) {
        fmt::print("{}", preset_->text());
        return false;
    }
    const bool renders = !command_.listsOutputs && !command_.checksOnly && !command_.listsInputs;
    if (renders && !defaultLight_.apply(*elements, parserOptions_, parserCallbacks_)) {
        fail(exitSceneError);
        return false;
    }
    render::Picture picture(scene_.database(), *elements, log_);
    applyOverrides(command_.overrides, picture.options);
    if (!applyShape(command_, picture, log_) || !checkOutputShaders(command_, picture, log_) ||
        !checkDeep(command_, picture, log_)) {
        fail(exitUsage);
        return false;
    }
    std::optional<image::SampleRange> samples;
    if (command_.samples && !(samples = rangeOf(*command_.samples, picture.options.options, log_))) {
        fail(exitUsage);
        return false;
    }
    const PictureFiles files = filesOf(picture, frame);
    if (command_.listsOutputs) {
        files_.list(files, picture.framebuffers());
        return true;
    }
    warnOfOblongPixels(picture, log_);
    inputs_.collect();
    if (!inputs_.mayRead()) {
        fail(exitSceneError);
        return false;
    }
    if (command_.checksOnly || command_.listsInputs) return true;
    if (command_.strict && !inputs_.reportMissing()) {
        fail(exitSceneError);
        return false;
    }
    send(PictureBegins{files, isLastFile_ && request.endsFile});
    const bool goesOn = renderInto(files, std::move(picture), samples);
    send(PictureEnds{exitCode_});
    return goesOn;
}

PictureFiles SceneRun::filesOf(const render::Picture& picture, int frame) {
    const scene::LightMaps lightMaps = picture.options.lightMaps;
    PictureFiles files;
    files.frame = frame;
    if (lightMaps != scene::LightMaps::Only) files = files_.next(picture.framebuffers(), frame);
    if (lightMaps != scene::LightMaps::Off) files.lightMaps = files_.lightMaps(scene_.database(), frame);
    return files;
}

bool SceneRun::renderInto(const PictureFiles& files, render::Picture picture,
                          const std::optional<image::SampleRange>& samples) {
    const CostMeter cost(log_);
    const int frame = files.frame;
    std::vector<InputFile> inputs = inputs_.now();
    std::erase_if(inputs, [&](const InputFile& file) { return file.isMade && !files.lightMaps.empty(); });
    render::CheckpointHeader identity = pictureIdentity(command_, picture, samples, frame, inputs);
    addColors(identity, colors_);
    if (checkpoints_.isFinished(files, identity, frame)) return true;
    if (!files_.check(files, picture, inputs)) {
        fail(exitNotWritten);
        return false;
    }
    Progress progress(progressStyle(command_), log_, frame);
    const std::unique_ptr<render::FrameResult> result =
        renderPicture(std::move(picture), samples, files, identity, progress);
    stop_.setParting({});
    if (!result) {
        progress.ends(exitRenderError);
        stop_.setEnd(StopSignal::End::Soon);
        fail(exitRenderError);
        return false;
    }
    progress.writes();
    PictureReport report(frame, files.layered, *result);
    reportPicture(report, log_);
    report.exitCode = finish(*result, files, identity, cost);
    report.bytesWritten = OutputFiles::bytesOf(files);
    fail(report.exitCode);
    if (!command_.statisticsFile.empty() && !appendStatistics(command_.statisticsFile, report, cost, log_))
        fail(exitNotWritten);
    progress.ends(report.exitCode);
    stop_.setEnd(StopSignal::End::Soon);
    // A faulty frame does not stop a sequence.
    return report.exitCode == exitRendered || report.exitCode == exitRenderError;
}

int SceneRun::finish(render::FrameResult& result, const PictureFiles& files,
                     const render::CheckpointHeader& identity, const CostMeter& cost) {
    if (result.isResumable) {
        log_.warning("MAIN", "{}", checkpoints_.stopText(files));
        return exitStopped;
    }
    if (result.interrupted) {
        log_.warning("MAIN", "interrupted: frame {} is not complete and was not written", files.frame);
        return stop_.exitCode();
    }
    const bool faulty = cost.errors() > 0 || (command_.strict && !result.unwritten.empty());
    if (!writesLightMaps_) return stop_.exitCode() != 0 ? stop_.exitCode() : exitNotWritten;
    if (result.picture().options.lightMaps == scene::LightMaps::Only)
        return faulty ? exitRenderError : exitRendered;
    describe(result, files.frame, identity);
    if (command_.pixel) OutputFiles::printPixel(result);
    const bool holds = !command_.verifiesPasses || verifyPasses(result, log_);
    if (!files_.write(files, result)) return stop_.exitCode() != 0 ? stop_.exitCode() : exitNotWritten;
    checkpoints_.discard(files);
    return faulty || !holds ? exitRenderError : exitRendered;
}

std::unique_ptr<render::FrameResult> SceneRun::renderPicture(render::Picture picture,
                                                             const std::optional<image::SampleRange>& samples,
                                                             const PictureFiles& files,
                                                             const render::CheckpointHeader& identity,
                                                             Progress& progress) {
    render::RenderSettings settings;
    settings.threads = command_.threads;
    settings.stop = &stop_.flag();
    settings.rays = limits_.rayMeter();
    settings.checkpoint = checkpoints_.settings(files, picture, samples, identity, files.frame);
    settings.sampleRange = samples;
    settings.deep = !files.deep.empty();
    if (command_.denoises)
        settings.denoise = {denoiseGuides(scene_.database(), picture), command_.keepsNoisy};
    writesLightMaps_ = true;
    settings.lightMapDone = [&, this](const scene::TextureElement& texture) {
        writesLightMaps_ = files_.writeLightMap(texture, files.frame, stop_.flag()) && writesLightMaps_;
    };
    if (command_.portable) settings.instructions = geometry::Instructions::OfEveryProcessor;
    // Until the first sample there is nothing that a checkpoint could keep, and little that hears a stop.
    const bool keeps = settings.checkpoint.has_value();
    settings.progress = [&progress, keeps, this](const render::RenderProgress& now) {
        if (keeps && now.phase > render::RenderPhase::LightMaps) stop_.setEnd(StopSignal::End::WhenReady);
        progress.update(now);
    };
    if (keeps && settings.checkpoint->resumes) stop_.setParting({checkpoints_.stopText(files), exitStopped});
    watchExit();
    return session_.render(std::move(picture), settings);
}

void SceneRun::describe(render::FrameResult& result, int frame,
                        const render::CheckpointHeader& identity) const {
    const scene::CameraElement& camera = *result.picture().elements().camera;
    const miOptions& options = result.picture().options.options;
    image::PictureFrame& picture = result.frame();
    image::Metadata& metadata = picture.metadata;
    metadata["software"] = "orca-render " ORCA_VERSION;
    metadata["scene"] = fmt::format("{}", fmt::join(command_.scenes, " "));
    metadata["frame"] = frame;
    if (const auto rate = framesPerSecond(camera.camera)) metadata["framesPerSecond"] = *rate;
    metadata["pictureHash"] = hashOf(identity);
    metadata["sceneHash"] = sceneHashOf(identity);
    metadata["camera"] = camera.name;
    if (const auto overscan = identity.find("overscan"); overscan != identity.end())
        metadata[image::overscanKey] = overscan->second;
    metadata["samples"] = fmt::format("{} {}", options.min_samples, options.max_samples);
    if (const std::string format = textOf(command_.format); !format.empty()) metadata[formatKey] = format;
    if (command_.portable) metadata["arithmetic"] = identity.at("arithmetic");
    if (!command_.reproducible) {
        metadata[image::renderSecondsKey] = static_cast<float>(result.statistics.renderSeconds);
        metadata[image::capturedKey] = capturedNow();
        metadata[image::utcOffsetKey] = 0.0f;
        metadata[image::hostKey] = hostName();
    }
    picture.display = colors_.display();
    if (colors_.used()) {
        picture.isRec709 = false;
        metadata["colorSpace"] = colors_.used()->renderingSpace();
    }
    picture.pixelAspect = pixelAspect(camera.camera, picture.width, picture.height);
    picture.threads = std::max(1, result.statistics.threads);
    picture.stop = &stop_.flag();
    if (const FrameBufferData* block = passBlock(scene_.database(), camera))
        picture.layerMetadata = passMetadata(scene_.database(), *block);
    for (auto& [layer, ofPass] : masks_.admitted(camera)) picture.layerMetadata[layer].merge(ofPass);
    if (picture.layerMetadata.empty()) return;
    metadata.merge(masks_.everyone());
    describeSums(scene_.database(), result.picture().options, picture);
    for (const image::Buffer& buffer : result.picture().framebuffers().buffers())
        if (const auto own = picture.layerMetadata.find(buffer.name);
            own != picture.layerMetadata.end() && !buffer.filtering)
            own->second["passFiltering"] = "off";
}

} // namespace orca::app
