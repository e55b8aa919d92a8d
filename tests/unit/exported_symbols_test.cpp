// SPDX-License-Identifier: Apache-2.0
// An instrumented library carries its sanitizer's symbols, which stand in for much of the standard library.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace {

std::string outputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    if (!pipe) return {};
    std::string output;
    std::array<char, 4096> buffer;
    while (const std::size_t read = fread(buffer.data(), 1, buffer.size(), pipe.get()))
        output.append(buffer.data(), read);
    return output;
}

/// Last word of every line, which is the symbol's name.
std::set<std::string> symbols(const std::string& library, const std::string& nmOptions) {
    std::istringstream lines(outputOf("nm -D " + nmOptions + " '" + library + "'"));
    std::set<std::string> names;
    for (std::string line; std::getline(lines, line);) names.insert(line.substr(line.find_last_of(' ') + 1));
    return names;
}

std::set<std::string> listedSymbols() {
    std::ifstream list(ORCA_EXPORTED_SYMBOLS);
    std::set<std::string> names;
    for (std::string line; std::getline(list, line);)
        if (!line.empty() && line[0] != '#') names.insert(line);
    return names;
}

std::string missing(const std::set<std::string>& from, const std::set<std::string>& wanted) {
    std::string names;
    for (const std::string& name : wanted)
        if (!from.count(name)) names += "\n  " + name;
    return names;
}

/// What a library exports besides the entry points of its shaders, which the build compares with the
/// declarations.
std::set<std::string> exportedFunctions(const std::string& library) {
    const std::set<std::string> exported = symbols(library, "--defined-only");
    EXPECT_FALSE(exported.empty()) << "nm found no symbols in " << library;
    std::set<std::string> functions;
    for (const std::string& name : exported) {
        const std::string shader = std::regex_replace(name, std::regex("_(version|init|exit)$"), "");
        if (!exported.count(shader) || !exported.count(shader + "_version")) functions.insert(name);
    }
    return functions;
}

TEST(ExportedSymbols, AreTheShadersAndProtocolFunctionsAndNothingElse) {
    const std::set<std::string> exported = exportedFunctions(ORCA_LIBRARY);
    const std::set<std::string> listed = listedSymbols();
    EXPECT_EQ(missing(exported, listed), "") << "listed but not exported";
    EXPECT_EQ(missing(listed, exported), "") << "exported but not listed";
    EXPECT_EQ(missing({}, exportedFunctions(VELABASE_LIBRARY)), "");
}

TEST(ExportedSymbols, LeaveOnlyTheRendererAndTheStandardLibrariesOpen) {
    for (const std::string& name : symbols(ORCA_LIBRARY, "--undefined-only")) {
        const bool renderer = name.rfind("mi_", 0) == 0;
        const bool standard = name.find("@GLIBC") != std::string::npos ||
                              name.find("@CXXABI") != std::string::npos ||
                              name.find("@GCC") != std::string::npos;
        const bool startup = name == "__gmon_start__" || name.rfind("_ITM_", 0) == 0;
        EXPECT_TRUE(renderer || standard || startup) << name;
    }
}

} // namespace

#endif
