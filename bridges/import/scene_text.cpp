// SPDX-License-Identifier: Apache-2.0
#include "scene_text.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>

namespace orca::bridge {

std::vector<std::string> Losses::lines() const {
    constexpr std::size_t shown = 3;
    std::vector<std::string> lines;
    for (const auto& [what, who] : lost_) {
        std::string names;
        std::size_t count = 0;
        for (const std::string& name : who)
            if (++count <= shown && !name.empty())
                names += fmt::format("{}\"{}\"", names.empty() ? "" : ", ", name);
        if (count > shown) names += fmt::format(" and {} more", count - shown);
        lines.push_back(names.empty() ? what : fmt::format("{}: {}", what, names));
    }
    return lines;
}

std::string unfinishedName(const std::string& path) {
    return path + ".part";
}

SceneText::SceneText(const std::string& path)
    : path_(path), file_(path == "-" ? stdout : std::fopen(unfinishedName(path).c_str(), "wb")) {
    if (!file_) throw WriteError(fmt::format("cannot write \"{}\": {}", path, std::strerror(errno)));
}

SceneText::~SceneText() {
    if (!file_ || file_ == stdout) return;
    std::fclose(file_);
    std::remove(unfinishedName(path_).c_str());
}

void SceneText::close() {
    bool complete = std::fflush(file_) == 0 && !std::ferror(file_);
    if (complete && file_ != stdout)
        complete = std::rename(unfinishedName(path_).c_str(), path_.c_str()) == 0;
    if (!complete) throw WriteError(fmt::format("cannot write \"{}\": {}", path_, std::strerror(errno)));
    if (file_ != stdout) std::fclose(std::exchange(file_, nullptr));
}

void SceneText::printTransform(std::string_view word, const Matrix& placement) {
    Matrix m = placement;
    m.Inverse();
    print("    {}", word);
    for (unsigned column = 0; column < 4; ++column) { // rows of a matrix for points as rows
        print(" ");
        for (unsigned row = 0; row < 4; ++row) print(" {:.9g}", m[row][column] + 0.0); // no negative zero
    }
    print("\n");
}

void SceneText::printWords(const void* words, std::size_t count) {
    constexpr std::size_t piece = 1 << 16;
    std::vector<std::uint32_t> turned(std::min(count, piece));
    std::fputc('`', file_);
    for (std::size_t done = 0; done < count;) {
        const std::size_t part = std::min(piece, count - done);
        std::memcpy(turned.data(), static_cast<const char*>(words) + 4 * done, 4 * part);
        if constexpr (std::endian::native == std::endian::little)
            for (std::size_t i = 0; i < part; ++i) turned[i] = __builtin_bswap32(turned[i]);
        std::fwrite(turned.data(), 4, part, file_);
        done += part;
    }
    std::fputc('`', file_);
}

void SceneText::printBlock(std::span<const float> numbers) {
    printWords(numbers.data(), numbers.size());
}

void SceneText::printBlock(std::span<const std::int32_t> numbers) {
    printWords(numbers.data(), numbers.size());
}

std::string printable(std::string_view text) {
    std::string clean(text);
    for (char& c : clean)
        if (static_cast<unsigned char>(c) < 32 || c == 127 || c == '"' || c == '\\' || c == ':') c = '_';
    return clean;
}

std::string SceneText::name(std::string_view wanted) {
    constexpr std::size_t longest = 200;
    std::string clean = printable(wanted.substr(0, longest));
    if (clean.empty()) clean = "unnamed";
    std::string unique = clean;
    for (int& number = numbers_[clean]; !names_.insert(unique).second;)
        unique = fmt::format("{} {}", clean, ++number + 1);
    return unique;
}

bool isInvertible(const Matrix& matrix) {
    const double determinant = matrix.Determinant();
    return std::isfinite(determinant) && std::abs(determinant) > 1e-30;
}

} // namespace orca::bridge
