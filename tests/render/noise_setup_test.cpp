// SPDX-License-Identifier: Apache-2.0
#include "build_paths.h"
#include "rendered_scene.h"

#include <gtest/gtest.h>

#include <atomic>
#include <dlfcn.h>
#include <string>
#include <thread>
#include <vector>

namespace orca::test {
namespace {

/// All threads ask for the table at once, with the renderer's own lock; all of them then read one and the
/// same.
TEST(GradientNoise, IsSetUpOnceHoweverManyThreadsAskFirst) {
    const RenderedScene host(TestScene{}); // the renderer that the library's functions belong to
    void* const library =
        dlopen((build_paths::libraries + std::string("/orca.so")).c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto init = reinterpret_cast<void (*)(miState*)>(dlsym(library, "noise_gradient_init"));
    const auto noise = reinterpret_cast<float (*)(float, float, float)>(dlsym(library, "noise_gradient_3d"));
    ASSERT_TRUE(init && noise);

    miLock lock = nullptr;
    mi_init_lock(&lock);
    constexpr int threads = 8, values = 64;
    std::atomic<bool> go{false};
    std::vector<std::vector<float>> seen(threads);
    std::vector<std::thread> running;
    for (int t = 0; t < threads; ++t)
        running.emplace_back([&, t] {
            while (!go.load(std::memory_order_acquire)) {
            }
            miState state{};
            state.global_lock = lock;
            init(&state);
            for (int i = 0; i < values; ++i)
                seen[static_cast<std::size_t>(t)].push_back(
                    noise(0.37f * static_cast<float>(i), 0.5f, 0.25f));
        });
    go.store(true, std::memory_order_release);
    for (std::thread& thread : running) thread.join();
    mi_delete_lock(&lock);
    for (const auto& found : seen) EXPECT_EQ(found, seen.front());
    EXPECT_NE(seen.front(), std::vector<float>(values, 0.0f));
    dlclose(library);
}

} // namespace
} // namespace orca::test
