// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include <unistd.h>

namespace orca::test {

/// A directory of one test's own, removed with everything in it.
class TemporaryDirectory {
public:
    TemporaryDirectory()
        : path_(std::filesystem::temp_directory_path() /
                ("orca-" + std::to_string(::getpid()) + '-' +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name())) {
        std::filesystem::create_directories(path_);
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    [[nodiscard]] std::string file(const std::string& name) const { return (path_ / name).string(); }
    [[nodiscard]] std::string path() const { return path_.string(); }
    [[nodiscard]] std::size_t fileCount() const {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(path_), std::filesystem::directory_iterator()));
    }
    /// Writes a file, in a folder of its own if the name has one.
    void write(const std::string& name, const std::string& bytes) const {
        std::filesystem::create_directories((path_ / name).parent_path());
        std::ofstream(path_ / name, std::ios::binary) << bytes;
    }
    /// Bytes of a file, none if it cannot be read.
    [[nodiscard]] std::string content(const std::string& name) const {
        std::stringstream all;
        all << std::ifstream(path_ / name, std::ios::binary).rdbuf();
        return all.str();
    }

private:
    std::filesystem::path path_;
};

} // namespace orca::test
