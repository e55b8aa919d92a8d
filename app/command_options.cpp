// SPDX-License-Identifier: Apache-2.0
#include "command_options.h"

#include "pass_catalogue.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdint>

namespace orca::app {

namespace {

/// An option that stands for a statement of the scene's options. Values and ranges are the statement's.
struct SceneOption {
    const char* flag;
    std::string_view words;
    const char* type;
    const char* help; ///< its words to choose from are added
};
constexpr SceneOption pictureOptions[] = {
    {"--samples", "samples", "MIN [MAX]",
     "levels of adaptive sampling: 4^N samples a pixel at least and at most"},
    {"--contrast", "contrast", "R [G B [A]]", "difference to be seen at most; less takes more samples"},
    {"--filter", "filter", "NAME [W [H]]", "pixel filter, with its width and height in pixels"},
    {"--trace", "trace", "SWITCH", "secondary rays"},
    {"--trace-depth", "trace depth", "N", "limits of reflections, refractions and their sum"},
    {"--shadow", "shadow", "MODE", "shadows"},
    {"--light-samples", "light samples", "N", "lights to choose at each point; 0: all"},
    {"--lightmap", "lightmap", "MODE", "light maps of materials; only: they are made, and no picture"},
    {"--motion", "motion", "SWITCH", "motion blur"},
    {"--shutter", "shutter", "T", "[OPEN] CLOSE in frames"},
    {"--output-shaders", "output", "SWITCH", "shaders that change the finished picture"},
    {"--gamma", "gamma", "X", "for files of whole numbers"},
    {"--colorclip", "colorclip", "MODE", "what is kept in files of whole numbers"},
    {"--premultiply", "premultiply", "SWITCH", "colours times alpha in files of whole numbers"},
    {"--desaturate", "desaturate", "SWITCH", "grey out colours that files of whole numbers cannot hold"},
    {"--dither", "dither", "SWITCH", "noise against bands in 8-bit files"}};
constexpr SceneOption machineOptions[] = {
    {"--tile-size", "task size", "N", "edge of a tile in pixels; 0: automatic"}};

void addSceneOption(CLI::App& app, const std::string& group, const SceneOption& option, RawOptions& raw) {
    const scene::OptionStatement& statement = scene::optionStatement(option.words);
    const std::string choices = listOf(statement.choices);
    const int words = statement.choices.empty() ? 0 : 1;
    const int fewest = option.words == "contrast" ? 1 : statement.fewest; // one number for all channels
    app.add_option(option.flag, raw.options[option.words],
                   choices.empty() ? option.help : fmt::format("{} ({})", option.help, choices))
        ->group(group)
        ->expected(words + fewest, words + statement.most)
        ->type_name(option.type);
}

std::string presetNames() {
    std::vector<std::string_view> names;
    for (const PassListDescription& list : passLists()) names.push_back(list.name);
    return fmt::format("{}", fmt::join(names, ", "));
}

void addOutputOptions(CLI::App& app, CommandLine& command, RawOptions& raw) {
    const std::string group = "Output";
    app.add_option("-o,--output", command.output,
                   "layered OpenEXR to write; #### is replaced by the frame number (default: SCENE.exr)")
        ->group(group)
        ->type_name("FILE");
    app.add_flag("--single-part", raw.singlePart, "all layers in one part of the file")->group(group);
    app.add_option(
           "--exr-compression", raw.compression,
           "of the layered file: none, rle, zip, zips (default), piz, or, for filtered colours only and "
           "with losses, pxr24 and dwaa[:LEVEL] (45; more is smaller)")
        ->group(group)
        ->type_name("WORD");
    app.add_option("--exr-type", raw.types,
                   "half or float for all colours, or LAYER=half and LAYER=float; a list with commas")
        ->group(group)
        ->type_name("LIST");
    auto* const tiles =
        app.add_option("--exr-tiles", command.format.tileSize, "store tiles of N x N pixels instead of rows")
            ->group(group)
            ->type_name("N")
            ->check(CLI::Range(16, 4096));
    app.add_flag("--exr-mip-maps", command.format.mipMaps,
                 "store each layer also at half its size, a quarter and so on")
        ->group(group)
        ->needs(tiles);
    app.add_option("--deep", command.deep,
                   "also write a deep OpenEXR: colour and alpha of each pixel by depth; #### as with -o")
        ->group(group)
        ->type_name("FILE");
    app.add_option("--png", command.png, "also write the picture for looking at")
        ->group(group)
        ->type_name("FILE");
    app.add_option("--png-layers", command.pngLayers,
                   "also write every layer for looking at, as DIR/LAYER.png")
        ->group(group)
        ->type_name("DIR");
    app.add_option(
           "--ocio", command.colorConfiguration,
           "colour configuration of OpenColorIO (default: $OCIO), whose spaces textures may name; pictures "
           "for looking at and the scene's files of whole numbers are as its display shows them")
        ->group(group)
        ->type_name("FILE");
    app.add_option("--display", command.display, "display of that configuration")
        ->group(group)
        ->type_name("NAME");
    app.add_option("--view", command.view, "view of that display")->group(group)->type_name("NAME");
    app.add_option(
           "--arrays-to", command.arraysTo,
           "also write all layers as arrays of numbers to this open file, for programs that start the "
           "command")
        ->group(group)
        ->type_name("DESCRIPTOR")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--file-dir", command.fileDirectory, "where the files go that the scene itself names")
        ->group(group)
        ->type_name("DIR");
    app.add_option("--files", raw.files, "on, off: write no file; layers: only the layered file")
        ->group(group)
        ->type_name("WHICH")
        ->check(CLI::IsMember({"on", "off", "layers"}));
    app.add_flag(
           "--reproducible", command.reproducible,
           "leave the render time, the date and the computer out, so that equal pictures are equal files")
        ->group(group);
    app.add_flag("--no-space-check{false}", command.checksSpace,
                 "render even where the disk seems too full for the files")
        ->group(group);
    app.add_option("--stats-json", command.statisticsFile,
                   "add a line of JSON for every picture: counts, times, what it cost and what became of it")
        ->group(group)
        ->type_name("FILE");
    app.add_option("--echo", command.echoFile,
                   "write the scene as it is read, with all that it includes, as one file; render nothing")
        ->group(group)
        ->type_name("FILE");
    app.add_flag("--list-outputs", command.listsOutputs, "print files, parts and channels; render nothing")
        ->group(group);
}

void addPictureOptions(CLI::App& app, CommandLine& command, RawOptions& raw) {
    const std::string group = "Picture";
    app.add_option("--passes", raw.passes,
                   "layers to make besides those of the scene: names with commas, patterns such as "
                   "\"*NoShadow\", presets (" +
                       presetNames() +
                       "), each perhaps with options: "
                       "diffuse[light=key,shadowed=off]")
        ->group(group)
        ->type_name("LIST");
    app.add_flag("--list-passes", command.listsPasses, "print the passes that there are")->group(group);
    app.add_flag("--dump-passes", command.dumpsPasses,
                 "print what --passes adds to the scene as text to paste into it; render nothing")
        ->group(group);
    app.add_flag("--verify-passes", command.verifiesPasses,
                 "check at every pixel what has to hold between the layers, such as that sums close; a "
                 "violation is "
                 "an error (orca-verify checks files)")
        ->group(group);
    auto* const denoise =
        app.add_flag("--denoise", command.denoises,
                     "filter noise out of all layers alike, led by layers of colours, normals and depth")
            ->group(group);
    app.add_flag("--keep-noisy", command.keepsNoisy, "also write the layers as they were, to NAME.noisy.exr")
        ->group(group)
        ->needs(denoise);
    app.add_option("--size", raw.size, "resolution in pixels")->group(group)->type_name("WxH");
    app.add_option(
           "--overscan", raw.overscan,
           "render N pixels, or N% of the size, beyond each side of the picture too, into the data window of "
           "OpenEXR files; other files hold the picture alone")
        ->group(group)
        ->type_name("N[%]");
    app.add_option("--window", raw.window,
                   "render these pixels only: X0 Y0 X1 Y1, inclusive, from the lower left")
        ->group(group)
        ->expected(4)
        ->type_name("N");
    app.add_option(
           "--part", raw.part,
           "render one part of the picture, cut into W columns and H rows: N from 1, in rows from the lower "
           "left; orca-merge joins the parts")
        ->group(group)
        ->type_name("N/WxH")
        ->excludes("--window");
    app.add_option(
           "--sample-range", raw.samples,
           "render samples A to B-1 of each pixel, or share K of N, and write their sums; orca-merge joins "
           "the ranges")
        ->group(group)
        ->type_name("A:B|K/N");
    app.add_option("--pixel", raw.pixel, "render one pixel and print the values of its layers")
        ->group(group)
        ->type_name("X,Y");
    app.add_option("--frames", raw.frames, "frames to render, such as 1-100x2 or 3,5,9-12")
        ->group(group)
        ->type_name("RANGE");
    app.add_flag_function(
           "--default-light,!--no-default-light",
           [&command](std::int64_t count) { command.defaultLight = count > 0; },
           "add a light along the camera's view, or leave it out; by default it is added, with a warning, "
           "where nothing in the scene gives light")
        ->group(group);
    for (const SceneOption& option : pictureOptions) addSceneOption(app, group, option, raw);
}

void addSceneOptions(CLI::App& app, CommandLine& command, RawOptions& raw) {
    const std::string group = "Scene";
    app.add_option("scenes", command.scenes,
                   "scene files, read as if they were one; - is standard input; a name may "
                   "hold #### for the frame number")
        ->type_name("SCENE");
    app.add_option("-I,--include", raw.includes, "where $include looks, joined by colons")
        ->group(group)
        ->type_name("DIR");
    app.add_option("-L,--library-path", raw.libraryPaths, "where shader libraries are, joined by colons")
        ->group(group)
        ->type_name("DIR");
    app.add_option("-T,--texture-path", raw.texturePaths, "where textures are, joined by colons")
        ->group(group)
        ->type_name("DIR");
    app.add_option("--link", raw.links, "shader library to load before the scene")
        ->group(group)
        ->type_name("FILE");
    app.add_option("--set", raw.sets, "variable for $ifdef")->group(group)->type_name("NAME[=VALUE]");
    app.add_option("--registry", raw.registry, "value of {NAME} in file names")
        ->group(group)
        ->type_name("NAME=VALUE");
    app.add_flag("--check", command.checksOnly,
                 "read the scene and look for its mistakes, shaders, textures and pass masks; render nothing")
        ->group(group);
    app.add_flag("--list-inputs", command.listsInputs,
                 "print every file that the scene needs, one a line; render nothing")
        ->group(group);
    app.add_flag("--strict", command.strict,
                 "a missing texture or light profile, a statement without effect and a frame buffer that no "
                 "shader writes are errors")
        ->group(group);
    app.add_flag("--render-anyway", command.renderAnyway, "render a scene that has errors")->group(group);
}

void addMachineOptions(CLI::App& app, CommandLine& command, RawOptions& raw) {
    const std::string group = "Machine";
    app.add_option("-t,--threads", command.threads, "rendering threads (default: all processors)")
        ->group(group)
        ->type_name("N")
        ->check(CLI::Range(0, 1024));
    app.add_option(
           "--checkpoint", raw.checkpoint,
           "write what is rendered every so many seconds, and when stopped, so that it can be gone on with "
           "(default file: that of -o, with .checkpoint added)")
        ->group(group)
        ->type_name("SECONDS[,FILE]");
    app.add_flag("--resume", command.resumes,
                 "go on from the checkpoints of an earlier run; frames that it finished are left as they are")
        ->group(group);
    app.add_flag("--skip-existing", command.skipsExisting,
                 "leave out frames whose files are complete and of the same scene and options")
        ->group(group);
    app.add_flag(
           "--portable", command.portable,
           "use no more than the instructions that all processors have: the same pixels on machines with "
           "other vector units, more slowly")
        ->group(group);
    app.add_option("--develop", command.developed,
                   "write what a checkpoint holds as a picture (-o, --png); render nothing")
        ->group(group)
        ->type_name("FILE");
    for (const SceneOption& option : machineOptions) addSceneOption(app, group, option, raw);
    app.add_option("--texture-memory", command.textureMegabytes, "texture cache in MB")
        ->group(group)
        ->type_name("MB")
        ->check(CLI::Range(16, 1 << 20));
    app.add_option(
           "--progress", command.progress,
           "how far a picture is: a bar or lines of the log (auto, with -v 5 where standard error is no "
           "terminal), nothing (off), or a JSON object a line on standard error (json)")
        ->group(group)
        ->type_name("HOW")
        ->check(CLI::IsMember({"auto", "off", "json"}));
    app.add_option(
           "-v,--verbose", raw.verbosity,
           "0 silent, 1 fatal, 2 errors, 3 warnings (default), 4 info, 5 progress and a closing report, "
           "6 shaders' debugging messages, and all of a shader's messages however often they come, 7 "
           "shaders' "
           "most detailed messages")
        ->group(group)
        ->type_name("LEVEL");
}

/// For scenes from strangers.
void addConfinementOptions(CLI::App& app, CommandLine& command) {
    const std::string group = "Confinement";
    CLI::Validator folder = CLI::ExistingDirectory;
    folder.description(""); // the type's name says it
    app.add_flag("--no-link", command.linksShippedOnly,
                 "refuse the shader libraries that the scene names, except those that come with the command")
        ->group(group);
    app.add_option(
           "--read-only-under", command.readFolders,
           "refuse files that the scene names, libraries included, unless they are below this folder; "
           "may be given several times")
        ->group(group)
        ->type_name("DIR")
        ->check(folder);
    app.add_option("--write-only-under", command.writeFolders,
                   "refuse to write files unless they are below this folder; may be given several times")
        ->group(group)
        ->type_name("DIR")
        ->check(folder);
    app.add_option("--limit-time", command.limits.seconds, "stop after so many seconds")
        ->group(group)
        ->type_name("SECONDS")
        ->check(CLI::PositiveNumber);
    app.add_option("--limit-memory", command.limits.megabytes, "stop when more memory is in use, in MB")
        ->group(group)
        ->type_name("MB")
        ->check(CLI::PositiveNumber);
    app.add_option("--limit-rays", command.limits.rays, "stop after so many rays, of all pictures together")
        ->group(group)
        ->type_name("N")
        ->check(CLI::PositiveNumber);
}

} // namespace

std::vector<SceneOptionName> sceneOptionNames() {
    std::vector<SceneOptionName> names;
    for (const SceneOption& option : pictureOptions) names.push_back({option.flag, option.words});
    for (const SceneOption& option : machineOptions) names.push_back({option.flag, option.words});
    return names;
}

void addOptions(CLI::App& app, CommandLine& command, RawOptions& raw) {
    addSceneOptions(app, command, raw);
    addPictureOptions(app, command, raw);
    addOutputOptions(app, command, raw);
    addMachineOptions(app, command, raw);
    addConfinementOptions(app, command);
    // An option of several values must not swallow the scene that follows it; lists of paths come one at a
    // time.
    for (const char* list : {"-I", "-L", "-T", "--link", "--set", "--registry", "--passes",
                             "--read-only-under", "--write-only-under"})
        app.get_option(list)->allow_extra_args(false);
}

} // namespace orca::app
