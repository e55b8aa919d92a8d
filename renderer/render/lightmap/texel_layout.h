// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace orca::render {

/// A triangle of a mesh instance, laid out over a texture by its texture coordinates.
struct LaidOutTriangle {
    std::uint32_t meshInstance;                  ///< index into Frame::meshInstances
    std::uint32_t triangle;                      ///< index into the mesh
    std::uint32_t shader;                        ///< that is called for it: the caller's number
    std::array<std::array<float, 2>, 3> corners; ///< in texels from the texture's lower left corner
};

/// A point of a surface under a place of the texture.
struct TexelPoint {
    const LaidOutTriangle* triangle = nullptr; ///< null: nothing is there
    float u = 0.0f, v = 0.0f;                  ///< barycentric weights of the second and the third corner
};

/// The triangles that lie over a texture, in tiles. What lies outside of the texture is cut off.
class TexelLayout {
public:
    /// @param width, height of the texture, texels
    TexelLayout(int width, int height);

    /// Where several triangles lie over a place, the one that was added first counts. Those without an area
    /// and with coordinates that are no finite numbers cover nothing.
    void add(const LaidOutTriangle& triangle);

    /// Part of the texture, and for each of its texels, in rows bottom up, the triangles that may lie over
    /// it.
    struct Tile {
        int x, y, width, height;
        std::vector<std::vector<std::uint32_t>> candidates;
    };
    [[nodiscard]] std::size_t tiles() const { return trianglesOfTile_.size(); }
    [[nodiscard]] Tile tile(std::size_t index) const;

    /// What lies over the place (x, y), in texels, of the tile's texel `texel`.
    [[nodiscard]] TexelPoint find(const Tile& tile, std::size_t texel, double x, double y) const;
    /// Another triangle that lies over the same place as `found`, not on its edge alone. Null for none.
    [[nodiscard]] const LaidOutTriangle* findBelow(const Tile& tile, std::size_t texel, double x, double y,
                                                   const TexelPoint& found) const;

private:
    int width_, height_;
    int tilesAcross_;
    std::vector<LaidOutTriangle> triangles_;
    std::vector<std::vector<std::uint32_t>> trianglesOfTile_; // in the order of their addition
};

} // namespace orca::render
