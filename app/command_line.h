// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "pass_request.h"
#include "sample_request.h"

#include "base/log.h"
#include "image/layered_format.h"
#include "scene/elements/option_statements.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orca::app {

/// One part of a picture that is cut into columns and rows.
struct GridPart {
    int number; ///< from 1, in rows from the lower left
    int columns, rows;
};

/// Scene settings that the command line changes; what is not given stays as the scene has it.
struct Overrides {
    struct Option {
        const scene::OptionStatement* statement;
        scene::OptionValues values;
    };
    std::optional<std::pair<int, int>> size; ///< pixels
    struct Overscan {
        double number; ///< on each side, at least 0
        bool percent;  ///< of the width, and of the height; else pixels
    };
    std::optional<Overscan> overscan;
    std::optional<std::array<int, 4>> window; ///< xl yl xh yh, inclusive, lower left origin
    std::optional<GridPart> part;             ///< instead of a window
    std::vector<Option> options;              ///< statements of the scene's options, over its own
};

/// What the command may take; 0: as much as it likes.
struct ResourceLimits {
    double seconds = 0;        ///< from `start` on
    std::size_t megabytes = 0; ///< resident memory, millions of bytes
    std::uint64_t rays = 0;    ///< of all pictures
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

/// What the user asked for.
struct CommandLine {
    std::vector<std::string> words;  ///< as the user typed it
    std::vector<std::string> scenes; ///< "-" is standard input
    std::string output;              ///< of the layered file; may hold ####
    std::string fileDirectory = "."; ///< for the files that the scene names
    std::string deep;                ///< deep file; may hold ####
    std::string png, pngLayers;      ///< preview of the picture; directory for one of each layer
    std::string colorConfiguration;  ///< of OpenColorIO; empty: that of the environment, if any
    std::string display, view;       ///< of it; empty: its own choice
    bool writesSceneFiles = true, writesFiles = true;
    image::LayeredFormat format;
    bool verifiesPasses = false;               ///< that what has to hold between layers does
    bool denoises = false, keepsNoisy = false; ///< filter noise out; write the layers as they were too
    std::optional<int> arraysTo;               ///< open file that receives all layers as arrays, for programs
    bool renderAnyway = false;
    std::optional<bool> defaultLight; ///< a light along the view; none: where the scene has no other
    bool strict = false;              ///< what is only warned about otherwise is an error
    bool checksSpace = true;          ///< of disks, before rendering
    bool reproducible = false;        ///< leave times out of files, so that equal pictures are equal files
    int threads = 0;                  ///< 0: all processors
    std::optional<std::pair<int, int>> pixel;
    std::optional<SampleRequest> samples; ///< write the sums of these only
    std::optional<std::vector<int>> frames;
    PassRequests passes;
    bool listsPasses = false, listsOutputs = false, listsInputs = false;
    bool dumpsPasses = false;                ///< print what `passes` makes in the scene language
    bool checksOnly = false;                 ///< read and check, render nothing
    std::optional<double> checkpointSeconds; ///< between checkpoints; none: none are written
    std::string checkpointFile;              ///< empty: named after the layered file
    bool resumes = false, skipsExisting = false;
    bool portable = false; ///< the same pixels on machines with other vector instructions
    std::string developed; ///< checkpoint to show; nothing is rendered
    std::string echoFile;  ///< where the scene is written as it is read; nothing is rendered
    std::string statisticsFile;
    std::string progress = "auto"; ///< auto, off, json
    std::vector<std::string> includePaths, libraryPaths, texturePaths, libraries;
    std::size_t textureMegabytes = 1024;
    std::map<std::string, std::string> variables, registry;
    bool linksShippedOnly = false;                      ///< of the libraries that scenes name
    std::vector<std::string> readFolders, writeFolders; ///< below which alone files are; empty: anywhere
    ResourceLimits limits;
    std::optional<LogLevel> verbosity;
    Overrides overrides;
};

/// The command line, or an exit code when the process should end: help was printed, or something is wrong and
/// was reported on standard error.
struct ParsedCommandLine {
    std::optional<CommandLine> command;
    int exitCode = 0;
};
[[nodiscard]] ParsedCommandLine parseCommandLine(int argc, const char* const* argv);

} // namespace orca::app
