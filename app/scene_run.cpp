// SPDX-License-Identifier: Apache-2.0
#include "scene_run.h"

#include "advice.h"
#include "crash_handler.h"
#include "exit_codes.h"
#include "frames.h"
#include "installation.h"
#include "named_passes.h"
#include "overrides.h"
#include "pass_block.h"
#include "picture_identity.h"
#include "progress.h"
#include "run_reports.h"

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

/// A bar on a terminal; a log gets lines when its verbosity asks for them.
Progress::Style progressStyle(const CommandLine& command) {
    if (command.progress == "off") return Progress::Style::Quiet;
    if (command.progress == "json") return Progress::Style::Json;
    const bool terminal = ::isatty(STDERR_FILENO) != 0;
    if (!command.verbosity) return terminal ? Progress::Style::Bar : Progress::Style::Quiet;
    if (*command.verbosity < LogLevel::Progress) return Progress::Style::Quiet;
    return terminal ? Progress::Style::Bar : Progress::Style::Lines;
}

/// The pixels of a part; parts of a picture with fewer pixels than columns or rows may be empty, and get the
/// nearest pixel.
render::PixelWindow windowOf(const GridPart& part, const miCamera& camera) {
    const int column = (part.number - 1) % part.columns, row = (part.number - 1) / part.columns;
    const auto cut = [](int size, int index, int count) {
        return static_cast<int>(static_cast<long>(size) * index / count);
    };
    const int xl = cut(camera.x_resolution, column, part.columns);
    const int yl = cut(camera.y_resolution, row, part.rows);
    return {xl, yl, std::max(xl, cut(camera.x_resolution, column + 1, part.columns) - 1),
            std::max(yl, cut(camera.y_resolution, row + 1, part.rows) - 1)};
}

/// Width / height of a pixel. Scenes round the aspect of the image plane ("1.333"): nearly 1 is 1.
float pixelAspect(const miCamera& camera, int width, int height) {
    const float aspect = camera.aspect * static_cast<float>(height) / static_cast<float>(width);
    return std::abs(aspect - 1.0f) < 0.005f ? 1.0f : aspect;
}

} // namespace

SceneRun::SceneRun(const CommandLine& command, Log& log, StopSignal& stop, LimitWatcher& limits,
                   OutputFiles& files, std::optional<int> frame, int skipped)
    : command_(command),
      log_(log),
      stop_(stop),
      limits_(limits),
      policy_(command),
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
      skipped_(skipped) {
}

int SceneRun::run() {
    const scene::ParserOptions& options = parserOptions_ = parserOptions(command_);
    parserOptions_.stop = &stop_.flag();
    if (policy_.restrictsReading())
        parserOptions_.mayRead = [this](const std::string& path) { return policy_.mayRead(path); };
    scene::ParserCallbacks& callbacks = parserCallbacks_;
    callbacks.link = [this](const std::string& file, const SourceLocation& location) {
        return link(file, location);
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
    collectInputs();
    if (command_.checksOnly && !check()) fail(exitSceneError);
    if (command_.listsInputs && !reportMissingInputs()) fail(exitSceneError);
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

/// False, with an error, when nothing of what the command asks for lies in the picture.
bool SceneRun::checkWindow(const render::Picture& picture) const {
    if (!command_.overrides.window) return true;
    const auto& [xl, yl, xh, yh] = *command_.overrides.window;
    const int width = picture.camera().x_resolution, height = picture.camera().y_resolution;
    const std::string size = fmt::format("the picture has {}x{} pixels, which count from 0", width, height);
    if (xl >= width || yl >= height || xh < 0 || yh < 0) {
        log_.error("MAIN", "{} is outside the picture: {}",
                   command_.pixel ? fmt::format("--pixel {},{}", xl, yl)
                                  : fmt::format("--window {} {} {} {}", xl, yl, xh, yh),
                   size);
        return false;
    }
    if (xl < 0 || yl < 0 || xh >= width || yh >= height)
        log_.warning("MAIN", "--window {} {} {} {} reaches beyond the picture and is cut: {}", xl, yl, xh, yh,
                     size);
    return true;
}

void SceneRun::collectInputs() {
    for (InputFile& file : inputFiles(scene_, textures_, runtime_, policy_)) {
        const std::string path = file.path;
        inputs_.emplace(path, std::move(file));
    }
}

bool SceneRun::mayReadInputs() {
    if (!policy_.restrictsReading() || refusesInput_) return !refusesInput_;
    for (const auto& [path, file] : inputs_) {
        if (file.opened || file.missing) continue;
        std::string reason;
        if (!policy_.mayRead(path)) reason = policy_.readingRule();
        else if (image::isFilm(path)) reason = "a film may name other files, and not all may be read";
        if (reason.empty()) continue;
        log_.errorAt(file.place, "MAIN", "{}: \"{}\" is refused: {}", file.what, path, reason);
        refusesInput_ = true;
    }
    return !refusesInput_;
}

bool SceneRun::reportMissingInputs() const {
    bool complete = true;
    for (const auto& [path, file] : inputs_) {
        if (!file.missing) continue;
        log_.errorAt(file.place, "MAIN", "{}: there is no file \"{}\"", file.what, path);
        complete = false;
    }
    return complete;
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

void SceneRun::applySettings(render::Picture& picture) const {
    const Overrides& overrides = command_.overrides;
    if (overrides.size) picture.setResolution(overrides.size->first, overrides.size->second);
    if (overrides.part) picture.setWindow(windowOf(*overrides.part, picture.camera()));
    if (overrides.window) {
        const auto& [xl, yl, xh, yh] = *overrides.window;
        picture.setWindow({xl, yl, xh, yh});
    }
    applyOverrides(overrides, picture.options);
}

bool SceneRun::preparePasses(scene::CameraElement& camera, scene::OptionsElement& options) {
    if (!completeNamedPasses(scene_, parserOptions_, parserCallbacks_, camera)) return false;
    if (!checkPassBlock(scene_.database(), camera, log_)) return false;
    if (preset_ && !preset_->apply(camera, options)) return false;
    if (!masks_.resolveLinks(camera)) return false;
    masks_.check(camera);
    return true;
}

bool SceneRun::check() {
    if (!mayReadInputs()) return false;
    runtime_.bind();
    for (miTag tag = 1; tag < scene_.database().endTag(); ++tag) {
        const auto* texture = scene_.database().find<scene::TextureElement>(tag);
        miColor color;
        if (texture && !texture->file.empty()) textures_.lookup(*texture, 0.5f, 0.5f, {}, color);
    }
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
    if (skipped_ > 0) {
        --skipped_;
        return true;
    }
    if (!preparePasses(*elements->camera, *elements->options)) {
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
    applySettings(picture);
    if (!checkWindow(picture)) {
        fail(exitUsage);
        return false;
    }
    std::optional<image::SampleRange> samples;
    if (command_.samples && !(samples = rangeOf(*command_.samples, picture.options.options, log_))) {
        fail(exitUsage);
        return false;
    }
    const PictureFiles files = files_.next(picture.framebuffers(), frame);
    if (command_.listsOutputs) {
        OutputFiles::list(files, picture.framebuffers());
        return true;
    }
    warnOfOblongPixels(picture);
    collectInputs();
    if (!mayReadInputs()) {
        fail(exitSceneError);
        return false;
    }
    if (command_.checksOnly || command_.listsInputs) return true;
    if (command_.strict && !reportMissingInputs()) {
        fail(exitSceneError);
        return false;
    }
    send(PictureBegins{files, isLastFile_ && request.endsFile});
    const bool goesOn = renderInto(files, std::move(picture), samples);
    send(PictureEnds{exitCode_});
    return goesOn;
}

bool SceneRun::renderInto(const PictureFiles& files, render::Picture picture,
                          const std::optional<image::SampleRange>& samples) {
    const CostMeter cost(log_);
    const int frame = files.frame;
    const std::vector<InputFile> inputs = inputFiles(scene_, textures_, runtime_, policy_);
    const render::CheckpointHeader identity = pictureIdentity(command_, picture, samples, frame, inputs);
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
    describe(result, files.frame, identity);
    if (command_.pixel) OutputFiles::printPixel(result);
    if (!files_.write(files, result)) return stop_.exitCode() != 0 ? stop_.exitCode() : exitNotWritten;
    checkpoints_.discard(files);
    return faulty ? exitRenderError : exitRendered;
}

/// A resolution whose aspect differs from the camera's stretches the picture, which is rarely intended.
void SceneRun::warnOfOblongPixels(const render::Picture& picture) {
    const scene::CameraElement& element = *picture.elements().camera;
    const miCamera &scene = element.camera, &camera = picture.camera();
    const int width = camera.x_resolution, height = camera.y_resolution;
    const float before = pixelAspect(scene, scene.x_resolution, scene.y_resolution);
    const float now = pixelAspect(camera, width, height);
    const float widthThatFits = camera.aspect * static_cast<float>(height) / before;
    const float tolerance = std::max(1.5f, 0.006f * widthThatFits); // whole pixels, rounded aspects
    if (std::abs(static_cast<float>(width) - widthThatFits) < tolerance) return;
    log_.once("shape of " + element.name,
              {LogLevel::Warning,
               "MAIN",
               0,
               fmt::format("--size {}x{} has another shape than the view of camera \"{}\": a pixel is {:.3g} "
                           "times as wide as high; {:.0f}x{} fits",
                           width, height, element.name, now, widthThatFits, height),
               {}});
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
    if (command_.portable) settings.instructions = geometry::Instructions::OfEveryProcessor;
    // Until the first sample there is nothing that a checkpoint could keep, and little that hears a stop.
    const bool keeps = settings.checkpoint.has_value();
    settings.progress = [&progress, keeps, this](const render::RenderProgress& now) {
        if (keeps && now.phase != render::RenderPhase::Prepare) stop_.setEnd(StopSignal::End::WhenReady);
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
    picture.text["software"] = "orca-render " ORCA_VERSION;
    picture.text["scene"] = fmt::format("{}", fmt::join(command_.scenes, " "));
    picture.text["frame"] = std::to_string(frame);
    picture.text["pictureHash"] = hashOf(identity);
    picture.text["camera"] = camera.name;
    picture.text["samples"] = fmt::format("{} {}", options.min_samples, options.max_samples);
    if (command_.portable) picture.text["arithmetic"] = identity.at("arithmetic");
    if (!command_.reproducible)
        picture.text["renderSeconds"] = fmt::format("{:.2f}", result.statistics.renderSeconds);
    picture.pixelAspect = pixelAspect(camera.camera, picture.width, picture.height);
    picture.threads = std::max(1, result.statistics.threads);
    picture.stop = &stop_.flag();
    if (const FrameBufferData* block = passBlock(scene_.database(), camera))
        picture.layerText = passMetadata(scene_.database(), *block);
}

} // namespace orca::app
