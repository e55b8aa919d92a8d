// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fmt/format.h>

#include <cstdio>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace orca {

/// Where in a scene file something stands. Lines and columns count from 1; line 0 is "nowhere".
struct Place {
    std::string file;
    int line = 0;
    int column = 0;

    /// "kitchen.mi:214:17", or empty for nowhere.
    [[nodiscard]] std::string text() const;
};

/// How much a message matters; also the verbosity up to which messages are printed.
enum class Level { None = 0, Fatal, Error, Warning, Info, Progress, Debug, VDebug };
[[nodiscard]] std::string_view levelName(Level level);

struct Message {
    Level level = Level::Info;
    std::string module; ///< who speaks, four letters or so: SCEN, SHDR, GEOM, IMG, RNDR
    int thread = 0;     ///< rendering thread, 0 for the main thread
    std::string text;   ///< as the speaker gave it, newlines included
    Place place;        ///< of the statement it is about
};

/// Where every message of the renderer goes. Safe from any thread.
class Messages {
public:
    explicit Messages(Level upTo = Level::Warning, std::FILE* stream = stderr);

    /// Prints the message when its level is wanted (or gives it to the sink), and counts it.
    void post(const Message& message);

    template <class... A>
    void say(Level level, std::string_view module, fmt::format_string<A...> form, A&&... arguments) {
        post({level, std::string(module), 0, fmt::format(form, std::forward<A>(arguments)...), {}});
    }
    template <class... A>
    void sayAt(const Place& place, Level level, std::string_view module, fmt::format_string<A...> form,
               A&&... arguments) {
        post({level, std::string(module), 0, fmt::format(form, std::forward<A>(arguments)...), place});
    }
    template <class... A>
    void error(std::string_view module, fmt::format_string<A...> form, A&&... arguments) {
        say(Level::Error, module, form, std::forward<A>(arguments)...);
    }
    template <class... A>
    void warning(std::string_view module, fmt::format_string<A...> form, A&&... arguments) {
        say(Level::Warning, module, form, std::forward<A>(arguments)...);
    }
    template <class... A>
    void info(std::string_view module, fmt::format_string<A...> form, A&&... arguments) {
        say(Level::Info, module, form, std::forward<A>(arguments)...);
    }
    template <class... A>
    void errorAt(const Place& place, std::string_view module, fmt::format_string<A...> form,
                 A&&... arguments) {
        sayAt(place, Level::Error, module, form, std::forward<A>(arguments)...);
    }
    template <class... A>
    void warningAt(const Place& place, std::string_view module, fmt::format_string<A...> form,
                   A&&... arguments) {
        sayAt(place, Level::Warning, module, form, std::forward<A>(arguments)...);
    }

    /// Posts the message the first time that `key` comes up and counts the rest. True the first time.
    bool once(const std::string& key, Message message);
    /// Says how often each repeated message came up again, and forgets them.
    void reportRepeats();

    /// Everything posted is kept when on, whatever its level.
    void keep(bool on);
    [[nodiscard]] std::vector<Message> kept() const;
    /// Receives every message instead of the stream, whatever its level. Called under the lock.
    void setSink(std::function<void(const Message&)> sink);
    void setLevel(Level upTo);
    [[nodiscard]] Level level() const;
    /// Messages posted so far on one level.
    [[nodiscard]] int count(Level level) const;

    /// The printed line: module, host.thread, level, place and text, newlines replaced by blanks. No newline
    /// at its end.
    [[nodiscard]] static std::string line(const Message& message);

private:
    struct Repeat {
        Message first;
        int more = 0;
    };
    mutable std::mutex mutex_; // guards everything below
    Level upTo_;
    std::FILE* stream_;
    bool keep_ = false;
    std::vector<Message> kept_;
    std::function<void(const Message&)> sink_;
    int counts_[8] = {};
    std::map<std::string, Repeat> repeats_;
};

} // namespace orca
