// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/session.h"
#include "scene/language/scene_file.h"

#include <shader.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orca::test {

/// A scene text, read and rendered in this process with the project's own libraries, as orca-render would.
class RenderedScene {
public:
    struct Settings {
        int threads = 1;
        int tileSize = 8;
        bool includeLibrary = true; ///< link orca.so and velabase.so and include their declarations first
        bool isFile = false;        ///< the text is the path of a scene file
        std::optional<std::pair<int, int>> resolution;
        const std::atomic<bool>* stop = nullptr;
    };
    explicit RenderedScene(const std::string& text) : RenderedScene(text, Settings()) {}
    RenderedScene(const std::string& text, const Settings& settings);
    ~RenderedScene();

    /// Pictures of the scene's render statements; the questions below are about the last.
    [[nodiscard]] std::size_t pictures() const { return results_.size(); }
    [[nodiscard]] const render::FrameResult& result() const { return *results_.back(); }
    [[nodiscard]] const render::FrameResult& result(std::size_t picture) const { return *results_[picture]; }

    [[nodiscard]] int width() const;
    [[nodiscard]] int height() const;
    /// Pixel of a buffer, (0, 0) lower left; missing components are 0. Throws for an unknown buffer.
    [[nodiscard]] miColor pixel(const std::string& buffer, int x, int y) const;
    [[nodiscard]] miColor pixel(std::size_t picture, const std::string& buffer, int x, int y) const;
    [[nodiscard]] std::uint32_t label(const std::string& buffer, int x, int y) const;
    [[nodiscard]] std::vector<float> words(const std::string& buffer) const;

    /// Texts of what was said, errors and warnings only.
    [[nodiscard]] std::vector<std::string> complaints() const;
    [[nodiscard]] bool logged(const std::string& part) const;
    [[nodiscard]] scene::Database& database() { return scene_.database(); }

private:
    [[nodiscard]] image::Layer layer(const std::string& buffer, std::size_t picture) const;

    Log log_;
    scene::Scene scene_;
    shading::ShaderRuntime runtime_;
    image::Textures textures_;
    render::Session session_;
    std::vector<std::unique_ptr<render::FrameResult>> results_;
};

/// What most test scenes share: options (one sample at the pixel's centre, hard shadows, trace depths 2 2 4),
/// a camera looking down -z from (0, 0, 10) with the library's state and lens shaders, and the buffers named.
/// Call `scene` with the rest.
struct TestScene {
    int width = 16, height = 16;
    float viewWidth = 4.0f;   ///< orthographic view, scene units
    bool perspective = false; ///< else 4 / 10 of the distance wide
    /// Placement of the camera's instance.
    std::string camera = "transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -10 1";
    std::string samples = "0 0";
    std::string shadow = "on";
    std::string traceDepth = "2 2 4";
    std::string extraOptions;
    std::string baseState;              ///< parameters of velaBaseState
    std::vector<std::string> passes;    ///< layer names of material passes, each once
    std::vector<std::string> passFlags; ///< flags of each, in the scene language, may be shorter
    std::string beforeCamera;           ///< what the camera's statements name; follows the data block
    std::string cameraStatements;
    std::string contents;             ///< everything else: lights, materials, objects, instances
    std::vector<std::string> members; ///< instances of the root group

    [[nodiscard]] std::string text() const;
};

} // namespace orca::test
