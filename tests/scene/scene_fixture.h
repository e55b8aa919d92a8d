// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/language/scene_file.h"
#include "temporary_directory.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace orca::scene {

/// A scene read from text, with everything it said.
class SceneText {
public:
    explicit SceneText(const std::string& text, ParserOptions options = {}) : scene(log) {
        log.setSink([this](const LogMessage& message) { logged.push_back(message); });
        callbacks.render = [this](const RenderRequest& request) {
            renders.push_back(request);
            return !onRender || onRender(request);
        };
        callbacks.link = [this](const std::string& file, const SourceLocation&) {
            links.push_back(file);
            return file.find("missing") == std::string::npos;
        };
        parserOptions = std::move(options);
        if (!text.empty()) read(text);
    }
    bool read(const std::string& text) { return scene.parseText(text, "test.mi", parserOptions, callbacks); }

    template <class T>
    T* find(const std::string& name) {
        return scene.database().find<T>(scene.database().named(name));
    }
    miTag tag(const std::string& name) { return scene.database().named(name); }
    /// Places and texts of one level, one line each: "test.mi:3:7: text".
    std::string lines(LogLevel level) const {
        std::string result;
        for (const LogMessage& message : logged) {
            if (message.level != level) continue;
            const std::string location = message.location.text();
            result += (location.empty() ? std::string() : location + ": ") + message.text + '\n';
        }
        return result;
    }
    std::string errors() const { return lines(LogLevel::Error); }
    std::string warnings() const { return lines(LogLevel::Warning); }

    Log log{LogLevel::None};
    std::vector<LogMessage> logged;
    Scene scene;
    ParserOptions parserOptions;
    ParserCallbacks callbacks;
    std::vector<RenderRequest> renders;
    std::vector<std::string> links;
    std::function<bool(const RenderRequest&)> onRender;
};

/// Scenes of several files.
struct SceneFiles : ::testing::Test {
    /// Reads a file with what it includes.
    bool read(SceneText& text, const std::string& name, const ParserOptions& options = {}) {
        return text.scene.parseFile(folder.file(name), options, text.callbacks);
    }
    orca::test::TemporaryDirectory folder;
};

/// A scene and the messages that it is to give.
struct ExpectedText {
    std::string scene, messages;
};
/// Cases written as the lines of a scene, then the lines of its messages, each after "=> ". A line that
/// begins with four spaces goes on with the line before.
inline std::vector<ExpectedText> expectedTexts(std::string text) {
    for (std::size_t at; (at = text.find("\n    ")) != std::string::npos;) text.erase(at, 5);
    std::vector<ExpectedText> cases(1);
    std::istringstream lines(text.substr(text.find_first_not_of('\n')));
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("=> ", 0) == 0) {
            cases.back().messages += line.substr(3) + '\n';
            continue;
        }
        if (!cases.back().messages.empty()) cases.emplace_back();
        cases.back().scene += line + '\n';
    }
    return cases;
}

/// Words of a shader's or data block's parameters.
inline std::vector<std::uint32_t> words(const char* parameters, int bytes) {
    std::vector<std::uint32_t> result(static_cast<std::size_t>(bytes) / 4);
    std::copy(parameters, parameters + bytes, reinterpret_cast<char*>(result.data()));
    return result;
}

} // namespace orca::scene
