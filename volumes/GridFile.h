// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Grids of OpenVDB files, for look-ups while rendering. The libraries' types stay behind this header.

#include <shader.h>

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>

namespace orca::volumes {

/// What a file does not hold or cannot be read for; the text says what and which file.
class GridFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct GridNames {
    std::string density, temperature, velocity; ///< empty: not wanted
};

/// Where a ray may be in something that is not empty, in units of its direction.
struct OccupiedSpan {
    float from, to;
};

/// The grids of one shader: read once, then shared by all threads. Points are in the file's own space.
class VolumeGrids {
public:
    /// Throws GridFault.
    /// @param farthest share of a velocity by which a point is moved at most, for the spans
    VolumeGrids(const std::string& path, const GridNames& names, float farthest);
    ~VolumeGrids();

    /// A thread's own look-ups, which remember where the last one was.
    class Lookup {
    public:
        explicit Lookup(const VolumeGrids& grids);
        Lookup(const Lookup&) = delete;
        Lookup& operator=(const Lookup&) = delete;

        /// Trilinear; 0 outside.
        [[nodiscard]] float density(const miVector& point) const;
        /// Of the temperature grid, 0 without one.
        [[nodiscard]] float temperature(const miVector& point) const;
        /// Units of the file's space per second, null without one.
        [[nodiscard]] miVector velocity(const miVector& point) const;

    private:
        struct Implementation;
        [[nodiscard]] const Implementation& implementation() const;

        static constexpr std::size_t room = 768; // bytes
        alignas(std::max_align_t) std::byte inPlace_[room];
    };

    [[nodiscard]] bool moves() const;
    /// Edge of a voxel, file's space.
    [[nodiscard]] float voxelSize() const;
    /// The first span of a ray after a distance. False: there is none.
    [[nodiscard]] bool next(const miVector& origin, const miVector& direction, float after,
                            OccupiedSpan& span) const;

private:
    struct Implementation;
    std::unique_ptr<const Implementation> implementation_;
};

} // namespace orca::volumes
