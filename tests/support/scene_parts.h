// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rendered_scene.h"

#include <string>
#include <vector>

namespace orca::test {

// Pieces of scene text for render tests. Every piece names what it makes.

/// A Lambert material `name` with a shadow shader; `parameters` are orcaVelaLambert's.
std::string lambert(const std::string& name, const std::string& parameters,
                    const std::string& shadowTransparency = "0 0 0 1");

/// The same with another surface shader.
std::string surface(const std::string& name, const std::string& shader, const std::string& parameters,
                    const std::string& shadowTransparency = "0 0 0 1");

/// A white Lambert material "white", which sends back all of its light.
std::string white();

/// A material that sends back `reflectivity` of what it mirrors and nothing else; `parameters` are more of
/// orcaVelaPhong's.
std::string mirror(const std::string& name, float reflectivity, const std::string& parameters = "");

/// A Lambert material that shines by itself alone; `color` is red, green and blue.
std::string glowing(const std::string& name, const std::string& color);

/// A square of half size `half` about (x, y, z), facing +z, and its instance `name`.
std::string card(const std::string& name, const std::string& material, float x, float y, float z, float half,
                 const std::string& instanceStatements = "");

/// The same, turned by `degrees` about the x axis: at 90 it faces -y.
std::string turnedCard(const std::string& name, const std::string& material, float x, float y, float z,
                       float half, float degrees);

/// A horizontal square of half size 20 at `height`, facing up, and its instance `name`.
std::string sheet(const std::string& name, const std::string& material, float height);

/// A closed box of half sizes (x, y, z) about the origin, and its instance `name`.
std::string box(const std::string& name, const std::string& material, float x, float y, float z);

/// A unit sphere about the origin with vertex normals, `rings` x 2 `rings` quadrilaterals, as the object
/// `name`_mesh, and its instance `name`.
std::string sphere(const std::string& name, const std::string& material, int rings,
                   const std::string& instanceStatements = "");

/// A light `name` about its origin, with its instance `name_inst` at (x, y, z).
std::string pointLight(const std::string& name, const std::string& parameters, float x, float y, float z,
                       const std::string& instanceStatements = "", const std::string& lightStatements = "");
/// Shines along `direction` ("0 0 -1").
std::string directionalLight(const std::string& name, const std::string& parameters,
                             const std::string& direction, const std::string& instanceStatements = "");

/// Pass-contribution string as a data block.
std::string passMask(const std::string& name, const std::string& digits);

} // namespace orca::test
