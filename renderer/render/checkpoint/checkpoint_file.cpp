// SPDX-License-Identifier: Apache-2.0
#include "render/checkpoint/checkpoint_file.h"

#include <fmt/format.h>
#include <xxhash.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace orca::render {

namespace {

constexpr std::array<char, 8> magic{'o', 'r', 'c', 'a', 'c', 'k', 'p', '2'};
constexpr std::uint64_t longestText = 64u << 20;

} // namespace

Checksum::Checksum() : state_(XXH3_createState()) {
    if (!state_) throw std::bad_alloc();
    XXH3_64bits_reset(state_);
}

Checksum::~Checksum() {
    XXH3_freeState(state_);
}

void Checksum::add(const void* bytes, std::size_t count) {
    XXH3_64bits_update(state_, bytes, count);
}

std::uint64_t Checksum::value() const {
    return XXH3_64bits_digest(state_);
}

CheckpointOutput::CheckpointOutput(const std::string& path) : file_(path) {
    bytes(magic.data(), magic.size());
}

void CheckpointOutput::bytes(const void* from, std::size_t count) {
    file_.write(from, count);
    checksum_.add(from, count);
}

void CheckpointOutput::text(const std::string& text) {
    value<std::uint64_t>(text.size());
    bytes(text.data(), text.size());
}

void CheckpointOutput::commit() {
    const std::uint64_t sum = checksum_.value();
    file_.write(&sum, sizeof sum);
    file_.commit();
}

CheckpointInput::CheckpointInput(const std::string& path)
    : stream_(std::fopen(path.c_str(), "rb")), left_(0) {
    if (!stream_) throw CheckpointFault(fmt::format("cannot open it: {}", std::strerror(errno)));
    std::error_code failure;
    left_ = std::filesystem::file_size(path, failure);
    std::array<char, magic.size()> begin{};
    if (failure || left_ < magic.size() + sizeof(std::uint64_t)) left_ = 0;
    else left_ -= sizeof(std::uint64_t); // the checksum
    if (left_ > 0) bytes(begin.data(), begin.size());
    if (begin == magic) return;
    std::fclose(stream_);
    throw CheckpointFault("it is no checkpoint");
}

CheckpointInput::~CheckpointInput() {
    std::fclose(stream_);
}

void CheckpointInput::damaged() const {
    throw CheckpointFault("it is damaged or cut short");
}

void CheckpointInput::bytes(void* to, std::size_t count) {
    if (count == 0) return;
    if (count > left_ || std::fread(to, 1, count, stream_) != count) damaged();
    left_ -= count;
    checksum_.add(to, count);
}

std::string CheckpointInput::text() {
    const auto size = value<std::uint64_t>();
    if (size > std::min(longestText, left_)) damaged();
    std::string text(size, '\0');
    bytes(text.data(), size);
    return text;
}

void CheckpointInput::finish() {
    std::uint64_t sum = 0;
    if (left_ != 0 || std::fread(&sum, sizeof sum, 1, stream_) != 1 || sum != checksum_.value()) damaged();
}

} // namespace orca::render
