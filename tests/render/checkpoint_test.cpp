// SPDX-License-Identifier: Apache-2.0
#include "rendered_scene.h"
#include "scene_parts.h"
#include "temporary_directory.h"

#include <gtest/gtest.h>

#include <cstring>

namespace orca::test {
namespace {

/// A lit sphere over a floor, with layers of every kind of accumulation: filtered, unfiltered, nearest depth.
TestScene sphereOnFloor(const std::string& samples, const std::string& options) {
    TestScene scene;
    scene.width = 45;
    scene.height = 33;
    scene.samples = samples;
    scene.extraOptions = "contrast 0.05 0.05 0.05 0.05 " + options;
    scene.passes = {"beauty", "diffuse", "shadow"};
    scene.cameraStatements = "framebuffer \"depth\" datatype \"z\"\n"
                             "framebuffer \"labels\" datatype \"tag\"\n"
                             "framebuffer \"ids\" datatype \"crypto_object_2\"\n";
    scene.contents = lambert("grey", "\"color\" 0.5 0.6 0.7 1, \"diffuse\" 1") +
                     card("floor", "grey", 0, 0, 0, 8) + card("board", "grey", 0.4f, 0.3f, 1, 0.7f) +
                     pointLight("lamp", "\"lightRadius\" 0.4, \"shadowRays\" 4", 2, 1, 4);
    scene.members = {"floor", "board", "lamp_inst"};
    return scene;
}

class Checkpoint : public testing::Test {
protected:
    /// Renders until the share of the work is done, or all; below 0 until minus that share of the gather
    /// prepass, where there is one.
    RenderedScene renderUntil(double share, const TestScene& scene, int threads, bool resumes,
                              const std::string& identity = "the same") {
        stop_ = false;
        RenderedScene::Settings settings;
        settings.threads = threads;
        settings.progress = [this, share](const render::RenderProgress& done) {
            const bool isGathering = done.phase == render::RenderPhase::Gather;
            if (share < 0.0 ? isGathering && done.share >= -share
                            : done.phase == render::RenderPhase::Render && done.share >= share)
                stop_ = true;
        };
        settings.stop = &stop_;
        settings.checkpoint = {folder.file(file), 0.0, nullptr, {{"scene", identity}}, resumes};
        return RenderedScene(scene.text(), settings);
    }

    static constexpr const char* file = "picture.checkpoint";
    const TemporaryDirectory folder;

private:
    std::atomic<bool> stop_{false};
};

void expectSame(const RenderedScene& a, const RenderedScene& b) {
    for (const char* buffer : {"main", "beauty", "diffuse", "shadow", "depth", "labels", "ids00"}) {
        const std::vector<float> left = a.words(buffer), right = b.words(buffer);
        ASSERT_EQ(left.size(), right.size());
        EXPECT_EQ(std::memcmp(left.data(), right.data(), left.size() * sizeof(float)), 0) << buffer;
    }
    EXPECT_EQ(a.result().statistics.rays.samples, b.result().statistics.rays.samples);
    EXPECT_EQ(a.result().unwritten, b.result().unwritten);
}

TEST_F(Checkpoint, LetsAStoppedRenderEndWithTheSamePixels) {
    struct Row {
        const char *samples, *options;
    };
    for (const Row& row :
         {Row{"1 1", ""}, Row{"0 2", ""}, Row{"-2 1", ""}, Row{"0 1", "scanline rasterizer"},
          Row{"0 1", "finalgather on finalgather accuracy 30 finalgather trace depth 2 2 2 1"}}) {
        SCOPED_TRACE(std::string(row.samples) + " " + row.options);
        const TestScene scene = sphereOnFloor(row.samples, row.options);
        const RenderedScene whole(scene.text());
        int stops = 0;
        for (const double share : {-0.028, -0.8, 0.1, 0.3, 0.55, 0.8, 2.0}) {
            if (share < 0.0 && std::strstr(row.options, "finalgather") == nullptr) continue;
            const RenderedScene part = renderUntil(share, scene, 1 + stops % 2, stops > 0);
            stops += part.result().isResumable;
            if (share > 1) expectSame(part, whole);
        }
        EXPECT_GE(stops, 3);
    }
}

TEST_F(Checkpoint, OfAnotherRenderOrDamagedIsRefused) {
    const TestScene scene = sphereOnFloor("1 1", "");
    ASSERT_TRUE(renderUntil(0.4, scene, 1, false).result().isResumable);
    const auto refusal = [&](const TestScene& resumed, const std::string& identity) -> std::string {
        try {
            renderUntil(2, resumed, 1, true, identity);
        } catch (const std::runtime_error& refused) {
            return refused.what();
        }
        return "accepted";
    };
    EXPECT_NE(refusal(scene, "another").find("it is of another render (scene: the same then, another now)"),
              std::string::npos);
    TestScene wider = scene;
    wider.width = 46;
    EXPECT_NE(refusal(wider, "the same").find("another size"), std::string::npos);

    const std::string good = folder.content(file);
    const auto damaged = [&](const std::string& bytes) {
        folder.write(file, bytes);
        return refusal(scene, "the same");
    };
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{7}, std::size_t{40}, good.size() / 2, good.size() - 1})
        EXPECT_NE(damaged(good.substr(0, size)), "accepted") << size;
    for (std::size_t at = 0; at < good.size(); at += good.size() / 50) {
        std::string bytes = good;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x41);
        EXPECT_NE(damaged(bytes), "accepted") << at;
    }
    EXPECT_EQ(damaged(good), "accepted");
}

} // namespace
} // namespace orca::test
