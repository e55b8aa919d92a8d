// SPDX-License-Identifier: Apache-2.0
// An instrumented library carries its sanitizer's symbols, which stand in for much of the standard library.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

#include "build_paths.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <set>
#include <string>

namespace {

using Symbols = std::set<std::string>;

Symbols wordsOf(const std::string& command) {
    Symbols words;
    FILE* const pipe = popen(command.c_str(), "r");
    for (char word[4096]; pipe && std::fscanf(pipe, "%4095s", word) == 1;) words.insert(word);
    if (pipe) pclose(pipe);
    EXPECT_FALSE(words.empty()) << command;
    return words;
}
Symbols symbols(const std::string& library, const std::string& options) {
    return wordsOf("nm -D --format=just-symbols " + options + " '" + build_paths::libraries + "/" + library +
                   "'");
}

/// What a library exports besides the entry points of its shaders, which the build compares with the
/// declarations.
Symbols exportedFunctions(const std::string& library) {
    const Symbols exported = symbols(library, "--defined-only");
    Symbols functions;
    for (const std::string& name : exported) {
        const std::string shader = std::regex_replace(name, std::regex("_(version|init|exit)$"), "");
        if (!exported.count(shader) || !exported.count(shader + "_version")) functions.insert(name);
    }
    return functions;
}

TEST(ExportedSymbols, AreTheShadersAndProtocolFunctionsAndNothingElse) {
    EXPECT_EQ(exportedFunctions("orca.so"),
              wordsOf("grep -v '^#' '" + std::string(build_paths::exportedSymbols) + "'"));
    EXPECT_EQ(exportedFunctions("velabase.so"), Symbols{});
    EXPECT_EQ(exportedFunctions("velamaterials.so"), Symbols{});
    EXPECT_EQ(exportedFunctions("velavolume.so"), Symbols{});
}

TEST(ExportedSymbols, LeaveOnlyTheRendererAndTheStandardLibrariesOpen) {
    const std::regex allowed("mi_.*|.*@(GLIBC|CXXABI|GCC).*|__gmon_start__|_ITM_.*");
    for (const std::string& name : symbols("orca.so", "--undefined-only"))
        EXPECT_TRUE(std::regex_match(name, allowed)) << name;
}

} // namespace

#endif
