// SPDX-License-Identifier: Apache-2.0
// An instrumented library carries its sanitizer's symbols, which stand in for much of the standard library.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

#include "build_paths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <istream>
#include <iterator>
#include <numeric>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace {

using Symbols = std::set<std::string>;

/// Last word of every line that is no comment.
Symbols lastWords(std::istream& lines) {
    Symbols words;
    for (std::string line; std::getline(lines, line);)
        if (!line.empty() && line[0] != '#') words.insert(line.substr(line.find_last_of(' ') + 1));
    return words;
}

Symbols symbols(const std::string& library, const std::string& nmOptions) {
    FILE* const pipe =
        popen(("nm -D " + nmOptions + " '" + build_paths::libraries + "/" + library + "'").c_str(), "r");
    std::stringstream output;
    for (int c; pipe && (c = fgetc(pipe)) != EOF;) output.put(static_cast<char>(c));
    if (pipe) pclose(pipe);
    const Symbols found = lastWords(output);
    EXPECT_FALSE(found.empty()) << "nm found no symbols in " << library;
    return found;
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

/// What only one of them has; a test shows all of it.
std::string differences(const Symbols& a, const Symbols& b) {
    Symbols found;
    std::set_symmetric_difference(a.begin(), a.end(), b.begin(), b.end(), std::inserter(found, found.end()));
    return std::accumulate(found.begin(), found.end(), std::string(),
                           [](const auto& all, const auto& name) { return all + ' ' + name; });
}

TEST(ExportedSymbols, AreTheShadersAndProtocolFunctionsAndNothingElse) {
    std::ifstream list(build_paths::exportedSymbols);
    EXPECT_EQ(differences(exportedFunctions("orca.so"), lastWords(list)), "");
    EXPECT_EQ(differences(exportedFunctions("velabase.so"), {}), "");
}

TEST(ExportedSymbols, LeaveOnlyTheRendererAndTheStandardLibrariesOpen) {
    const std::regex allowed("mi_.*|.*@(GLIBC|CXXABI|GCC).*|__gmon_start__|_ITM_.*");
    for (const std::string& name : symbols("orca.so", "--undefined-only"))
        EXPECT_TRUE(std::regex_match(name, allowed)) << name;
}

} // namespace

#endif
