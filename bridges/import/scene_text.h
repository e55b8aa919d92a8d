// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model_file.h"

#include <fmt/format.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orca::bridge {

/// What an imported file has and a scene cannot say, for a report: each thing once, with those that had it.
class Losses {
public:
    void add(const std::string& what, const std::string& who) { lost_[what].insert(who); }
    /// "clearcoat of material "paint"" and the like; at most three names each.
    [[nodiscard]] std::vector<std::string> lines() const;

private:
    std::map<std::string, std::set<std::string>> lost_;
};

/// Without what names and comments of a scene cannot hold.
[[nodiscard]] std::string printable(std::string_view text);

/// The name that a file has until it is complete.
[[nodiscard]] std::string unfinishedName(const std::string& path);

/// A scene file that is being written, under its unfinished name. Failures are noticed by `close`.
class SceneText {
public:
    /// "-" is standard output. Throws WriteError when the file cannot be made.
    explicit SceneText(const std::string& path);
    ~SceneText();
    SceneText(const SceneText&) = delete;
    SceneText& operator=(const SceneText&) = delete;

    template <class... A>
    void print(fmt::format_string<A...> form, A&&... arguments) {
        fmt::print(file_, form, std::forward<A>(arguments)...);
    }
    /// " transform ..." of an instance: from the parent's space into the element's, the inverse of
    /// `placement`.
    /// @param word "transform" or "motion transform"
    void printTransform(std::string_view word, const Matrix& placement);
    /// A block of big-endian words between backquotes.
    void printBlock(std::span<const float> numbers);
    void printBlock(std::span<const std::int32_t> numbers);

    /// A name that no other element has, like `wanted`.
    [[nodiscard]] std::string name(std::string_view wanted);

    /// Gives the file its name. Throws WriteError when not all could be written.
    void close();

private:
    void printWords(const void* words, std::size_t count);

    std::string path_;
    std::FILE* file_;
    std::set<std::string> names_;
    std::map<std::string, int> numbers_; ///< last number that a name was told apart by
};

/// Whether it has an inverse; where not, the element is as flat as a hidden one.
[[nodiscard]] bool isInvertible(const Matrix& matrix);

} // namespace orca::bridge
