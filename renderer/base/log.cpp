// SPDX-License-Identifier: Apache-2.0
#include "base/log.h"

namespace orca {

std::string Place::text() const {
    if (line <= 0) return file;
    return column > 0 ? fmt::format("{}:{}:{}", file, line, column) : fmt::format("{}:{}", file, line);
}

std::string_view levelName(Level level) {
    switch (level) {
    case Level::None: return "none";
    case Level::Fatal: return "fatal";
    case Level::Error: return "error";
    case Level::Warning: return "warning";
    case Level::Info: return "info";
    case Level::Progress: return "progr";
    case Level::Debug: return "debug";
    case Level::VDebug: return "vdebug";
    }
    return "?";
}

Messages::Messages(Level upTo, std::FILE* stream) : upTo_(upTo), stream_(stream) {
}

std::string Messages::line(const Message& message) {
    const std::string place = message.place.text();
    std::string text = fmt::format("{:<4} 0.{:<3} {:<6}: {}{}{}", message.module, message.thread,
                                   levelName(message.level), place, place.empty() ? "" : ": ", message.text);
    for (char& c : text) {
        if (c == '\n') c = ' ';
    }
    return text;
}

void Messages::post(const Message& message) {
    const std::lock_guard lock(mutex_);
    ++counts_[static_cast<int>(message.level)];
    if (keep_) kept_.push_back(message);
    if (sink_) {
        sink_(message);
    } else if (message.level <= upTo_ && stream_) {
        const std::string printed = line(message) + '\n';
        std::fwrite(printed.data(), 1, printed.size(), stream_);
        std::fflush(stream_);
    }
}

bool Messages::once(const std::string& key, Message message) {
    {
        const std::lock_guard lock(mutex_);
        const auto [repeat, isNew] = repeats_.try_emplace(key);
        if (!isNew) {
            ++repeat->second.more;
            return false;
        }
        repeat->second.first = message;
    }
    post(message);
    return true;
}

void Messages::reportRepeats() {
    std::map<std::string, Repeat> repeats;
    {
        const std::lock_guard lock(mutex_);
        repeats.swap(repeats_);
    }
    for (auto& [key, repeat] : repeats) {
        if (repeat.more == 0) continue;
        Message message = std::move(repeat.first);
        message.text += fmt::format(" (and {} more time{})", repeat.more, repeat.more == 1 ? "" : "s");
        post(message);
    }
}

void Messages::keep(bool on) {
    const std::lock_guard lock(mutex_);
    keep_ = on;
}

std::vector<Message> Messages::kept() const {
    const std::lock_guard lock(mutex_);
    return kept_;
}

void Messages::setSink(std::function<void(const Message&)> sink) {
    const std::lock_guard lock(mutex_);
    sink_ = std::move(sink);
}

void Messages::setLevel(Level upTo) {
    const std::lock_guard lock(mutex_);
    upTo_ = upTo;
}

Level Messages::level() const {
    const std::lock_guard lock(mutex_);
    return upTo_;
}

int Messages::count(Level level) const {
    const std::lock_guard lock(mutex_);
    return counts_[static_cast<int>(level)];
}

} // namespace orca
