// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "loaded_scene.h"

#include <limits>
#include <string>

namespace orca::bench {

/// Libraries, options and camera of a small scene: one sample a pixel from (0, 0, 10) along -z, with `passes`
/// (0, 12 or 35) layers.
[[nodiscard]] std::string sceneHead(int passes, const std::string& shadow);

/// A square card at z = 0 with the material "stuff", which fills the picture, as the instance "card here".
[[nodiscard]] std::string fillingCard();

/// A scene, and the same with something that every sample does several times more. The difference of their
/// times is the price of that.
class ScenePair {
public:
    /// @param once,often texts in the scene language
    /// @param extra how many times more `often` does it for each sample
    /// Throws std::runtime_error for a scene with errors.
    ScenePair(const std::string& once, const std::string& often, int extra);

    /// Renders both on one thread. What counts is processor time, which other work on the machine disturbs
    /// least, and the fastest run of each.
    void run();
    /// Processor time of the thing.
    [[nodiscard]] double nanoseconds() const;

private:
    [[nodiscard]] double seconds(LoadedScene& scene); // preparations included: the same in both

    LoadedScene once_, often_;
    int extra_;
    double onceSeconds_ = std::numeric_limits<double>::infinity();
    double oftenSeconds_ = std::numeric_limits<double>::infinity();
    double samples_ = 0.0;
};

} // namespace orca::bench
