// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/session.h"
#include "scene/language/scene_file.h"

#include <shader.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orca::test {

/// What most test scenes share: options (one sample at the pixel's centre, hard shadows, trace depths 2 2 4),
/// a camera looking down -z from (0, 0, 10) with the library's state and lens shaders, and the buffers named.
/// The test library's shaders are declared where the scene names one.
struct TestScene {
    /// A utility pass: its buffer, the buffer's data type, and its shader with parameters in brackets.
    struct UtilityPass {
        std::string buffer, datatype, shader;
    };

    int width = 16, height = 16;
    float viewWidth = 4.0f;   ///< orthographic view, scene units
    bool perspective = false; ///< else 4 / 10 of the distance wide
    /// Placement of the camera's instance.
    std::string camera = "transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -10 1";
    std::string lens = "lens \"orcaFrameBufferLens\" ( )";
    std::string samples = "0 0";
    std::string shadow = "on";
    std::string traceDepth = "2 2 4";
    std::string extraOptions;
    std::string baseState;                  ///< parameters of velaBaseState
    std::vector<std::string> passes;        ///< layer names of material passes, each once
    std::vector<std::string> passFlags;     ///< flags of each, in the scene language, may be shorter
    std::vector<UtilityPass> utilityPasses; ///< their shaders go into the list of the material "m"
    std::string beforeCamera;               ///< what the camera's statements name; follows the data block
    std::string cameraStatements;
    std::string contents;             ///< everything else: lights, materials, objects, instances
    std::vector<std::string> members; ///< instances of the root group; if empty, all that are defined

    /// Adds the beauty and the layers that make it up, as a compositor wants them.
    void addLayers();
    [[nodiscard]] std::string text() const;
};

/// A scene text, read and rendered in this process with the project's own libraries, as orca-render would.
class RenderedScene {
public:
    struct Settings {
        int threads = 1;
        int tileSize = 8;
        bool includeLibrary = true; ///< link orca.so and velabase.so and include their declarations first
        bool isFile = false;        ///< the text is the path of a scene file
        std::optional<std::pair<int, int>> resolution;
        std::optional<render::PixelWindow> window;
        const std::atomic<bool>* stop = nullptr;
        render::ProgressCallback progress;
        std::optional<render::CheckpointSettings> checkpoint;
        std::optional<render::DenoiseSettings> denoise;
        bool deep = false;
    };
    explicit RenderedScene(const std::string& text) : RenderedScene(text, Settings()) {}
    RenderedScene(const std::string& text, const Settings& settings);
    /// Any complaint fails the test.
    explicit RenderedScene(const TestScene& scene) : RenderedScene(scene, Settings()) {}
    RenderedScene(const TestScene& scene, const Settings& settings);
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
    /// Of the picture "main".
    [[nodiscard]] miColor middle() const { return pixel("main", width() / 2, height() / 2); }
    [[nodiscard]] std::vector<float> words(const std::string& buffer) const;
    template <class Body>
    void eachPixel(const Body& body) const {
        for (int y = 0; y < height(); ++y)
            for (int x = 0; x < width(); ++x) {
                SCOPED_TRACE(fmt::format("pixel {} {}", x, y));
                body(x, y);
            }
    }

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

/// Largest difference of two colours' red, green and blue, relative for values above 1.
[[nodiscard]] float difference(const miColor& a, const miColor& b);
void expectColor(const miColor& seen, const miColor& expected, float tolerance, const std::string& what = {});
[[nodiscard]] miColor operator+(const miColor& a, const miColor& b);

/// The layers of `addLayers` but the beauty.
inline const std::vector<std::string> componentLayers = {
    "ambient", "diffuse", "specular", "incandescence", "reflection", "refraction", "indirect"};
/// At every pixel the beauty and the sum of the layers are the picture.
void expectLayersAddUp(const RenderedScene& picture, const std::vector<std::string>& layers = componentLayers,
                       float tolerance = 1e-5f);

} // namespace orca::test
