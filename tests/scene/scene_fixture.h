// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/language/parser.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace orca::scene {

/// A scene read from text, with everything it said.
class SceneText {
public:
    explicit SceneText(const std::string& text, ParserOptions options = {}) : scene(messages) {
        messages.setSink([this](const Message& message) { said.push_back(message); });
        callbacks.render = [this](const RenderRequest& request) {
            renders.push_back(request);
            return !onRender || onRender(request);
        };
        callbacks.link = [this](const std::string& file, const Place&) {
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
    std::string lines(Level level) const {
        std::string result;
        for (const Message& message : said) {
            if (message.level != level) continue;
            const std::string place = message.place.text();
            result += (place.empty() ? std::string() : place + ": ") + message.text + '\n';
        }
        return result;
    }
    std::string errors() const { return lines(Level::Error); }
    std::string warnings() const { return lines(Level::Warning); }

    Messages messages{Level::None};
    std::vector<Message> said;
    Scene scene;
    ParserOptions parserOptions;
    ParserCallbacks callbacks;
    std::vector<RenderRequest> renders;
    std::vector<std::string> links;
    std::function<bool(const RenderRequest&)> onRender;
};

/// Words of a shader's or data block's parameters.
inline std::vector<std::uint32_t> words(const char* parameters, int bytes) {
    std::vector<std::uint32_t> result(static_cast<std::size_t>(bytes) / 4);
    std::copy(parameters, parameters + bytes, reinterpret_cast<char*>(result.data()));
    return result;
}

} // namespace orca::scene
