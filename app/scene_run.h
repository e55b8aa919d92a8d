// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "checkpoints.h"
#include "color_management.h"
#include "command_line.h"
#include "default_light.h"
#include "file_policy.h"
#include "limit_watcher.h"
#include "output_files.h"
#include "pass_masks.h"
#include "pass_preset.h"
#include "progress.h"
#include "report.h"
#include "scene_inputs.h"
#include "stop_signal.h"

#include "image/textures.h"
#include "render/session.h"
#include "scene/language/scene_file.h"
#include "shading/shader_runtime.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace orca::app {

/// How scenes are read that the command names.
[[nodiscard]] scene::ParserOptions parserOptions(const CommandLine& command);

/// Reads one scene and renders its pictures.
class SceneRun {
public:
    /// @param frame replaces #### in the scenes' names
    /// @param files of all pictures of the command
    /// @param skipped pictures to be left out: another process has begun them
    SceneRun(const CommandLine& command, Log& log, StopSignal& stop, LimitWatcher& limits, OutputFiles& files,
             std::optional<int> frame, int skipped);

    /// Reads the scene and renders each picture at its render statement. Returns an exit code.
    int run();

    /// Every file that the scene needs for the pictures that were asked for, by path.
    [[nodiscard]] const std::map<std::string, InputFile>& inputs() const { return inputs_.all(); }

private:
    /// Makes ready what cameras and options say about passes. False with a message.
    bool preparePasses(const render::PictureElements& elements);
    /// Finds shaders and opens textures, as rendering would. False when something is wrong, which has been
    /// reported.
    bool check();
    bool link(const std::string& file, const SourceLocation& location);
    bool render(const scene::RenderRequest& request);
    [[nodiscard]] PictureFiles filesOf(const render::Picture& picture, int frame);
    /// Renders a picture into its files. False: nothing more of the scene is to be rendered.
    bool renderInto(const PictureFiles& files, render::Picture picture,
                    const std::optional<image::SampleRange>& samples);
    /// Writes a picture, or tells why there is none to write. Returns an exit code.
    int finish(render::FrameResult& result, const PictureFiles& files,
               const render::CheckpointHeader& identity, const CostMeter& cost);
    /// Null, with a message, when it could not be rendered.
    std::unique_ptr<render::FrameResult>
    renderPicture(render::Picture picture, const std::optional<image::SampleRange>& samples,
                  const PictureFiles& files, const render::CheckpointHeader& identity, Progress& progress);
    /// Fills in the metadata of the picture's files.
    void describe(render::FrameResult& result, int frame, const render::CheckpointHeader& identity) const;
    [[nodiscard]] bool isChosen(int frame) const;
    [[nodiscard]] int frameNumber(const scene::CameraElement& camera,
                                  const scene::RenderRequest& request) const;
    /// Frames that the command asks for and the scene does not have; all of them, or a scene without any, is
    /// an error.
    void reportMissingFrames();
    void fail(int exitCode);

    const CommandLine& command_;
    Log& log_;
    StopSignal& stop_;
    LimitWatcher& limits_;
    FilePolicy policy_;
    ColorManagement colors_; ///< which textures of the scene refer to
    std::optional<int> frame_;
    scene::Scene scene_;
    shading::ShaderRuntime runtime_;
    image::Textures textures_;
    render::Session session_;
    std::vector<std::string> libraryPaths_;
    scene::ParserOptions parserOptions_;
    scene::ParserCallbacks parserCallbacks_;
    std::unique_ptr<PassPreset> preset_;
    PassMasks masks_;
    DefaultLight defaultLight_;
    OutputFiles& files_;
    Checkpoints checkpoints_;
    SceneInputs inputs_;
    std::set<int> frames_;        ///< of the scene's render statements so far
    bool writesLightMaps_ = true; ///< those of the picture could all be written
    int skipped_;                 ///< pictures that are still to be left out
    bool isLastFile_ = false;     ///< of those that make the scene
    int exitCode_ = 0;
};

} // namespace orca::app
