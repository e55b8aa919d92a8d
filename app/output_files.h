// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"
#include "file_policy.h"
#include "input_files.h"

#include "base/log.h"
#include "render/session.h"
#include "scene/elements/elements.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace orca::app {

/// Paths of one picture's files.
struct PictureFiles {
    int frame = 0;
    std::string layered;                 ///< empty: not written
    std::vector<std::string> sceneFiles; ///< named by the scene's own statements
    std::string noisy;                   ///< the layers before noise was filtered out; empty: not written
    std::string deep;                    ///< deep samples; empty: not written
    std::string png;                     ///< for looking at; empty: not written
    std::string layerDirectory;          ///< for a PNG of each layer; empty: not written
    std::string checkpoint;              ///< while it is rendered; empty: none
    std::vector<std::string> lightMaps;  ///< of writable textures, written as soon as they are made
};

/// Names, checks and writes the files of all pictures of a run.
class OutputFiles {
public:
    OutputFiles(const CommandLine& command, Log& log);

    /// Paths of the next picture's files. From the second picture on, the frame number is added to a name of
    /// the command line without ####.
    PictureFiles next(const image::FramebufferSet& buffers, int frame);
    /// Paths of the light maps that light map shaders fill; none where the scene's own files are not written.
    [[nodiscard]] std::vector<std::string> lightMaps(const scene::Database& database, int frame) const;

    /// False, with messages, when a file may not be written, would overwrite one of `inputs`, another file of
    /// this picture or one of an earlier picture, when it cannot be created or when the files do not fit on
    /// their disks; for use before rendering. Makes the folder of the layers' PNGs.
    [[nodiscard]] bool check(const PictureFiles& files, const render::Picture& picture,
                             const std::vector<InputFile>& inputs);

    /// The names are taken by a picture of this run that another process has begun.
    void remember(const PictureFiles& files);

    /// Writes a finished picture. False, with messages, when something could not be written.
    [[nodiscard]] bool write(const PictureFiles& files, const render::FrameResult& result) const;

    /// Writes a light map, if it has a file and the scene's own files are written. False, with a message,
    /// when it could not be written.
    [[nodiscard]] bool writeLightMap(const scene::TextureElement& texture, int frame,
                                     const std::atomic<bool>& stop) const;

    /// Bytes of the files as they are on their disks.
    [[nodiscard]] static std::uint64_t bytesOf(const PictureFiles& files);

    /// Prints files, parts and channels to standard output.
    void list(const PictureFiles& files, const image::FramebufferSet& buffers) const;
    /// Prints the values of all layers of a picture of one pixel to standard output.
    static void printPixel(const render::FrameResult& result);

private:
    /// A file that is to be written.
    struct Planned {
        std::string path;
        std::string role;    ///< as messages call it
        std::uint64_t bytes; ///< an estimate, compressed
    };

    /// Where light maps go; empty: beside their scenes.
    [[nodiscard]] std::string lightMapDirectory() const;
    std::string nameFor(const std::string& pattern, const char* option, int frame);
    [[nodiscard]] std::vector<Planned> planned(const PictureFiles& files,
                                               const render::Picture& picture) const;
    [[nodiscard]] bool checkPolicy(const std::vector<Planned>& plan) const;
    bool checkConflicts(const std::vector<Planned>& plan, const std::vector<InputFile>& inputs,
                        const PictureFiles& files);
    [[nodiscard]] bool checkSpace(const std::vector<Planned>& plan) const;

    const CommandLine& command_;
    Log& log_;
    FilePolicy policy_;
    std::set<std::string> named_;      ///< of the command line's names, what is taken
    std::map<std::string, int> frame_; ///< that a file of this run holds, by its path without links
    std::optional<int> arraysFrame_;   ///< that is handed over as arrays
};

/// True for devices and FIFOs, which several files may go to.
[[nodiscard]] bool isStream(const std::string& path);

} // namespace orca::app
