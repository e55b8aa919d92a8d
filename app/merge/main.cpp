// SPDX-License-Identifier: Apache-2.0
#include "command_documents.h"
#include "exit_codes.h"

#include "base/log.h"
#include "image/merge_exr.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string>
#include <vector>

/// orca-merge: joins the windows and the sample ranges of a picture that were rendered apart.
int main(int argc, char** argv) {
    using namespace orca::app;
    CLI::App app(
        "Joins windows and sample ranges of one picture, rendered apart (orca-render --window, --part, "
        "--sample-range), into the file of the whole picture.",
        "orca-merge");
    app.set_version_flag("--version", "orca-merge " ORCA_VERSION);
    std::vector<std::string> parts;
    std::string output;
    app.add_option("parts", parts, "layered files of the windows, files of the sample ranges")
        ->required()
        ->type_name("PART");
    app.add_option("-o,--output", output, "layered OpenEXR to write")->required()->type_name("FILE");
    constexpr ExitCodeMeaning codes[] = {{"0", "the file of the whole picture is written"},
                                         {"2", "the command line is wrong"},
                                         {"4", "the parts do not fit together or cannot be read, or the file "
                                               "cannot be written"}};
    addDocuments(app, "exr", codes, {});
    try {
        app.parse(argc, argv);
        if (std::find(parts.begin(), parts.end(), output) != parts.end())
            throw CLI::ValidationError("--output",
                                       fmt::format("\"{}\" is also a part; give another name", output));
    } catch (const CLI::Success& done) {
        return app.exit(done);
    } catch (const CLI::ParseError& problem) {
        fmt::print(stderr, "orca-merge: {}\n", problem.what());
        return exitUsage;
    }
    orca::Log log(orca::LogLevel::Warning);
    return orca::image::mergeExr(parts, output, log) ? exitRendered : exitNotWritten;
}
