// SPDX-License-Identifier: Apache-2.0
#include "render/checkpoint/checkpoint_writer.h"

#include <fmt/format.h>

#include <chrono>
#include <exception>
#include <utility>

namespace orca::render {

namespace {

constexpr std::chrono::milliseconds requestInterval{100}; // between looks for a request
constexpr std::uint64_t mostKeys = 1u << 16;

} // namespace

CheckpointWriter::CheckpointWriter(RenderState& state, CheckpointSettings settings, Log& log)
    : state_(state), settings_(std::move(settings)), log_(log), isThere_(settings_.resumes), thread_([this] {
          run();
      }) {
}

CheckpointWriter::~CheckpointWriter() {
    {
        const std::lock_guard lock(mutex_);
        ends_ = true;
    }
    ending_.notify_all();
    thread_.join();
}

void CheckpointWriter::run() {
    using Clock = std::chrono::steady_clock;
    Clock::time_point last = Clock::now();
    int known = requests();
    std::unique_lock lock(mutex_);
    while (!ending_.wait_for(lock, requestInterval, [this] { return ends_; })) {
        const int asked = requests();
        const std::chrono::duration<double> since = Clock::now() - last;
        if (asked == known && (settings_.seconds <= 0 || since.count() < settings_.seconds)) continue;
        known = asked;
        lock.unlock();
        if (std::string reason; !write(reason))
            log_.warning(
                "RNDR",
                "checkpoint \"{}\" was not written: {}; the render goes on, and the next one is tried {}",
                settings_.file, reason,
                settings_.seconds > 0 ? fmt::format("in {:g} s", settings_.seconds) : "on request");
        lock.lock();
        last = Clock::now();
    }
}

bool CheckpointWriter::finish() {
    std::string reason;
    if (write(reason)) return true;
    log_.error("RNDR", "checkpoint \"{}\" was not written: {}{}", settings_.file, reason,
               isThere_ ? "; what was rendered since the one before is lost" : "");
    return isThere_;
}

bool CheckpointWriter::write(std::string& reason) {
    const std::lock_guard lock(writing_);
    try {
        CheckpointOutput output(settings_.file);
        output.value<std::uint64_t>(settings_.header.size());
        for (const auto& [key, value] : settings_.header) {
            output.text(key);
            output.text(value);
        }
        state_.write(output);
        output.commit();
        log_.info("RNDR", "checkpoint \"{}\" written", settings_.file);
        isThere_ = true;
        return true;
    } catch (const std::exception& problem) {
        reason = problem.what();
        return false;
    }
}

CheckpointHeader readHeader(CheckpointInput& input) {
    CheckpointHeader header;
    const auto count = input.value<std::uint64_t>();
    if (count > mostKeys) input.damaged();
    for (std::uint64_t i = 0; i < count; ++i) {
        std::string key = input.text();
        header[std::move(key)] = input.text();
    }
    return header;
}

std::vector<std::string> differences(const CheckpointHeader& checkpoint, const CheckpointHeader& render) {
    CheckpointHeader all = checkpoint;
    all.insert(render.begin(), render.end());
    const auto valueOf = [](const CheckpointHeader& header, const std::string& name) {
        const auto found = header.find(name);
        return found == header.end() ? std::string("nothing") : found->second;
    };
    std::vector<std::string> lines;
    for (const auto& [name, value] : all) {
        if (name.starts_with("about.")) continue;
        const std::string was = valueOf(checkpoint, name), is = valueOf(render, name);
        if (was != is) lines.push_back(fmt::format("{}: {} then, {} now", name, was, is));
    }
    return lines;
}

} // namespace orca::render
