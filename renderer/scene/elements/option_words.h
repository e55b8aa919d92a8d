// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/options_element.h"
#include "scene/elements/ray_words.h"
#include "scene/elements/words.h"

namespace orca::scene {

// What the statements of options have for words; those with a text have no effect, and why.

inline constexpr Word switchWords[] = {{"on", 1}, {"off", 0}, {"true", 1}, {"false", 0}};
inline constexpr Word scanlineWords[] = {{"on", 1},
                                         {"off", 0},
                                         {"true", 1},
                                         {"false", 0},
                                         {"rapid", 'r'},
                                         {"rasterizer", miSCANLINE_RASTERIZER},
                                         {"opengl", 'o', "graphics hardware is not used, rays are traced"}};

inline constexpr Word shadowMapWords[] = {
    {"on", 1},
    {"off", 0},
    {"true", 1},
    {"false", 0},
    {"only", 2, "lights without a map cast ray-traced shadows as well"},
    {"detail", 3, "shadow maps hold depths alone; transparent things cast full shadows in them"},
    {"opengl", 4, "graphics hardware is not used, rays fill the maps"}};

inline constexpr Word rebuildWords[] = {{"on", 1},    {"off", 0},    {"true", 1},
                                        {"false", 0}, {"freeze", 2}, {"merge", 3}};

inline constexpr Word gatherWords[] = {
    {"off", 0},
    {"on", 1},
    {"false", 0},
    {"true", 1},
    {"only", 2, "the whole picture is rendered, as with \"on\""},
    {"fastlookup", 3, "no photons are traced, light is gathered as with \"on\""}};

inline constexpr Word photonWords[] = {
    {"off", 0}, {"on", 1, noPhotons}, {"false", 0}, {"true", 1, noPhotons}};

inline constexpr Word lightmapWords[] = {{"on", static_cast<int>(LightMaps::On)},
                                         {"off", static_cast<int>(LightMaps::Off)},
                                         {"true", static_cast<int>(LightMaps::On)},
                                         {"false", static_cast<int>(LightMaps::Off)},
                                         {"only", static_cast<int>(LightMaps::Only)}};

inline constexpr Word accelerationWords[] = {{"bsp", 0}, {"bsp2", 1}, {"grid", 2}};

inline constexpr Word colorClipWords[] = {{"raw", static_cast<int>(ColorClip::Raw)},
                                          {"rgb", static_cast<int>(ColorClip::Rgb)},
                                          {"alpha", static_cast<int>(ColorClip::Alpha)}};

} // namespace orca::scene
