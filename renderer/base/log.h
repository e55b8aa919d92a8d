// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orca {

/// A position in a scene file. Lines and columns count from 1; line 0: none.
struct SourceLocation {
    std::string file;
    int line = 0;
    int column = 0;

    /// "kitchen.mi:214:17"; empty for none.
    [[nodiscard]] std::string text() const;
};

/// How much a message matters; also the verbosity up to which messages are printed.
enum class LogLevel { None = 0, Fatal, Error, Warning, Info, Progress, Debug, VDebug };
[[nodiscard]] std::string_view levelName(LogLevel level);

struct LogMessage {
    LogLevel level = LogLevel::Info;
    std::string module;      ///< the part of the renderer, in capitals: SCEN, SHDR, GEOM, IMG, RNDR
    int thread = 0;          ///< rendering thread, 0 for the main thread
    std::string text;        ///< as it was given, newlines included
    SourceLocation location; ///< of the statement it is about
};

/// Where every message of the renderer goes. Safe from any thread.
class Log {
public:
    explicit Log(LogLevel upTo = LogLevel::Warning, std::FILE* stream = stderr);

    /// Prints the message when its level is wanted (or gives it to the sink), and counts it.
    void post(const LogMessage& message);

    template <class... A>
    void write(LogLevel level, std::string_view module, fmt::format_string<A...> form, A&&... arguments) {
        post({level, std::string(module), 0, fmt::format(form, std::forward<A>(arguments)...), {}});
    }
    template <class... A>
    void writeAt(const SourceLocation& location, LogLevel level, std::string_view module,
                 fmt::format_string<A...> form, A&&... arguments) {
        post({level, std::string(module), 0, fmt::format(form, std::forward<A>(arguments)...), location});
    }
    template <class... A>
    void error(std::string_view module, fmt::format_string<A...> form, A&&... arguments) {
        write(LogLevel::Error, module, form, std::forward<A>(arguments)...);
    }
    template <class... A>
    void warning(std::string_view module, fmt::format_string<A...> form, A&&... arguments) {
        write(LogLevel::Warning, module, form, std::forward<A>(arguments)...);
    }
    template <class... A>
    void info(std::string_view module, fmt::format_string<A...> form, A&&... arguments) {
        write(LogLevel::Info, module, form, std::forward<A>(arguments)...);
    }
    template <class... A>
    void errorAt(const SourceLocation& location, std::string_view module, fmt::format_string<A...> form,
                 A&&... arguments) {
        writeAt(location, LogLevel::Error, module, form, std::forward<A>(arguments)...);
    }
    template <class... A>
    void warningAt(const SourceLocation& location, std::string_view module, fmt::format_string<A...> form,
                   A&&... arguments) {
        writeAt(location, LogLevel::Warning, module, form, std::forward<A>(arguments)...);
    }

    /// Posts the message the first time that `key` is used and counts further uses. True the first time.
    bool once(const std::string& key, LogMessage message);
    /// For whoever may send a message per sample: each text once, of a `source` (a place in a program; its
    /// printf format) the first few texts, and the rest as a count; of so many sources that they cannot be
    /// places, all as one. Everything when the level is Debug or higher.
    void postLimited(const std::string& source, const LogMessage& message);
    /// What a user can do about a message that came through `postLimited`, or empty text. It is posted as an
    /// error, once.
    void setAdvice(std::function<std::string(const LogMessage&)> advice);
    /// Posts each repeated message once more with its count, and forgets them.
    void reportRepeats();

    /// Everything posted is kept when on, whatever its level.
    void keep(bool on);
    [[nodiscard]] std::vector<LogMessage> kept() const;
    /// Receives every message instead of the stream, whatever its level. Called under the lock.
    void setSink(std::function<void(const LogMessage&)> sink);
    /// Printed messages begin with the time (UTC). For logs that somebody reads later; before the first use.
    void setStamped(bool on) { stamped_ = on; }
    void setLevel(LogLevel upTo);
    [[nodiscard]] LogLevel level() const;
    /// Messages posted so far on one level.
    [[nodiscard]] int count(LogLevel level) const;

    /// The printed line: module, host.thread, level, location and text, newlines replaced by blanks. No
    /// newline at its end.
    [[nodiscard]] static std::string line(const LogMessage& message);
    /// The line as the stream gets it: with the time where that is wanted, and its newline.
    [[nodiscard]] std::string printed(const LogMessage& message) const;

private:
    struct Repeat {
        LogMessage first;
        std::uint64_t more = 0;
    };
    mutable std::mutex mutex_; // guards everything below
    LogLevel upTo_;
    std::FILE* stream_;
    bool stamped_ = false;
    bool keep_ = false;
    std::vector<LogMessage> kept_;
    std::function<void(const LogMessage&)> sink_;
    int counts_[8] = {};
    std::map<std::string, Repeat> repeats_;
    std::map<std::string, int> textsOfSource_;
    std::function<std::string(const LogMessage&)> advice_;
    std::set<std::string> advised_;
};

} // namespace orca
