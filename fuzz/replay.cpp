// SPDX-License-Identifier: Apache-2.0
/// Runs a fuzz target over the files of folders and over variants of them, the same ones every time: what
/// builds without libFuzzer have in its place.
/// usage: PROGRAM FILE_OR_FOLDER...
#include "fuzz_input.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int variantsOfAll = 2000; // a few seconds, sanitizers included
constexpr int mostChanges = 4;      // of one variant

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// One change: of a byte or a word, or of a piece that is left out, doubled or taken from another input.
void change(std::string& bytes, const std::string& other, std::mt19937& random) {
    if (bytes.empty() || other.empty()) return;
    const std::size_t at = random() % bytes.size(), from = random() % other.size();
    const std::size_t length = 1 + random() % 16;
    const std::uint32_t words[] = {
        0, 1, 0x7fffffff, 0x80000000, 0xffffffff, 0x7fc00000, static_cast<std::uint32_t>(random())};
    switch (random() % 6) {
    case 0: bytes[at] = static_cast<char>(random()); break;
    case 1: bytes.erase(at, length); break;
    case 2: bytes.insert(at, other, from, length); break;
    case 3: bytes.replace(at, length, other, from, length); break;
    case 4: bytes.resize(at); break;
    default:
        std::memcpy(bytes.data() + at, &words[random() % std::size(words)],
                    std::min(bytes.size() - at, sizeof words[0]));
    }
}

void run(const std::string& input) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

} // namespace

int main(int argc, char** argv) {
    std::vector<fs::path> files;
    for (const char* const argument : std::vector<const char*>(argv + 1, argv + argc)) {
        if (!fs::is_directory(argument)) files.emplace_back(argument);
        else
            for (const auto& entry : fs::directory_iterator(argument)) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    std::vector<std::string> inputs{""};
    for (const fs::path& file : files) {
        std::printf("%s\n", file.c_str());
        std::fflush(stdout); // it is the last line when the target ends the process
        inputs.push_back(contentOf(file));
        run(inputs.back());
    }
    if (inputs.size() == 1) {
        std::fprintf(stderr, "usage: %s FILE_OR_FOLDER...\n", argv[0]);
        return 2;
    }
    std::mt19937 random(1);
    for (int variant = 0; variant < variantsOfAll; ++variant) {
        std::string input = inputs[static_cast<std::size_t>(variant) % inputs.size()];
        const auto changes = static_cast<int>(1 + random() % mostChanges);
        for (int i = 0; i < changes; ++i) change(input, inputs[random() % inputs.size()], random);
        run(input);
    }
    return 0;
}
