// SPDX-License-Identifier: Apache-2.0
#include "base/log.h"

#include "base/utc_time.h"

namespace orca {

std::string SourceLocation::text() const {
    if (line <= 0) return file;
    return column > 0 ? fmt::format("{}:{}:{}", file, line, column) : fmt::format("{}:{}", file, line);
}

std::string_view levelName(LogLevel level) {
    switch (level) {
    case LogLevel::None: return "none";
    case LogLevel::Fatal: return "fatal";
    case LogLevel::Error: return "error";
    case LogLevel::Warning: return "warning";
    case LogLevel::Info: return "info";
    case LogLevel::Progress: return "progr";
    case LogLevel::Debug: return "debug";
    case LogLevel::VDebug: return "vdebug";
    }
    return "?";
}

Log::Log(LogLevel upTo, std::FILE* stream) : upTo_(upTo), stream_(stream) {
}

std::string Log::line(const LogMessage& message) {
    const std::string location = message.location.text();
    std::string text =
        fmt::format("{:<4} 0.{:<3} {:<6}: {}{}{}", message.module, message.thread, levelName(message.level),
                    location, location.empty() ? "" : ": ", message.text);
    for (char& c : text) {
        if (c == '\n') c = ' ';
    }
    return text;
}

std::string Log::printed(const LogMessage& message) const {
    return (stamped_ ? utcTime() + ' ' : std::string()) + line(message) + '\n';
}

void Log::post(const LogMessage& message) {
    const std::lock_guard lock(mutex_);
    ++counts_[static_cast<int>(message.level)];
    if (keep_) kept_.push_back(message);
    if (sink_) {
        sink_(message);
    } else if (message.level <= upTo_ && stream_) {
        const std::string text = printed(message);
        std::fwrite(text.data(), 1, text.size(), stream_);
        std::fflush(stream_);
    }
}

bool Log::once(const std::string& key, LogMessage message) {
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

void Log::postLimited(const std::string& source, const LogMessage& message) {
    constexpr int textsPerSource = 10;
    constexpr std::size_t sourcesAtMost = 100; // a format that is made anew for every sample is no place
    std::string key = message.text;
    std::function<std::string(const LogMessage&)> advice;
    bool limited;
    {
        const std::lock_guard lock(mutex_);
        advice = advice_;
        limited = upTo_ < LogLevel::Debug;
        if (limited && !repeats_.contains(key)) {
            const bool isKnown = textsOfSource_.contains(source) || textsOfSource_.size() < sourcesAtMost;
            int* const texts = isKnown ? &textsOfSource_[source] : nullptr;
            if (!texts) key = "more of other sources";
            else if (*texts < textsPerSource) ++*texts;
            else key = "more of " + source;
        }
    }
    if (!limited) post(message);
    else if (!once(key, message)) return;
    const std::string text = advice ? advice(message) : std::string();
    if (text.empty()) return;
    {
        const std::lock_guard lock(mutex_);
        if (!advised_.insert(text).second) return;
    }
    post({LogLevel::Error, "MAIN", 0, text, {}});
}

void Log::setAdvice(std::function<std::string(const LogMessage&)> advice) {
    const std::lock_guard lock(mutex_);
    advice_ = std::move(advice);
}

void Log::reportRepeats() {
    std::map<std::string, Repeat> repeats;
    {
        const std::lock_guard lock(mutex_);
        repeats.swap(repeats_);
        textsOfSource_.clear();
    }
    for (auto& [key, repeat] : repeats) {
        if (repeat.more == 0) continue;
        LogMessage message = std::move(repeat.first);
        message.text += fmt::format(" (and {} more time{})", repeat.more, repeat.more == 1 ? "" : "s");
        post(message);
    }
}

void Log::keep(bool on) {
    const std::lock_guard lock(mutex_);
    keep_ = on;
}

std::vector<LogMessage> Log::kept() const {
    const std::lock_guard lock(mutex_);
    return kept_;
}

void Log::setSink(std::function<void(const LogMessage&)> sink) {
    const std::lock_guard lock(mutex_);
    sink_ = std::move(sink);
}

void Log::setLevel(LogLevel upTo) {
    const std::lock_guard lock(mutex_);
    upTo_ = upTo;
}

LogLevel Log::level() const {
    const std::lock_guard lock(mutex_);
    return upTo_;
}

int Log::count(LogLevel level) const {
    const std::lock_guard lock(mutex_);
    return counts_[static_cast<int>(level)];
}

} // namespace orca
