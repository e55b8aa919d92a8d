// SPDX-License-Identifier: Apache-2.0
// Makes the OpenVDB files of the example scenes: a cloud, a fire with its smoke, heat and motion, and a box
// of which every value is known.
//
//   generate_grids DIRECTORY

#include <openvdb/openvdb.h>
#include <tbb/global_control.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>

namespace {

using openvdb::Coord;
using openvdb::FloatGrid;
using openvdb::Vec3d;
using openvdb::Vec3SGrid;

/// -1 to 1, of a lattice point.
double random(std::int32_t x, std::int32_t y, std::int32_t z) {
    std::uint32_t h = static_cast<std::uint32_t>(x) * 0x8da6b343u ^
                      static_cast<std::uint32_t>(y) * 0xd8163841u ^
                      static_cast<std::uint32_t>(z) * 0xcb1ab31fu;
    h = (h ^ h >> 15) * 0x2c1b3c6du;
    h = (h ^ h >> 12) * 0x297a2d39u;
    return static_cast<double>(h ^ h >> 15) / 2147483647.5 - 1.0;
}

double noise(const Vec3d& p) {
    const auto x = static_cast<std::int32_t>(std::floor(p.x())),
               y = static_cast<std::int32_t>(std::floor(p.y())),
               z = static_cast<std::int32_t>(std::floor(p.z()));
    const auto fade = [](double t) { return t * t * (3.0 - 2.0 * t); };
    const double u = fade(p.x() - x), v = fade(p.y() - y), w = fade(p.z() - z);
    const auto mix = [](double a, double b, double t) { return a + t * (b - a); };
    const auto along = [&](std::int32_t dy, std::int32_t dz) {
        return mix(random(x, y + dy, z + dz), random(x + 1, y + dy, z + dz), u);
    };
    return mix(mix(along(0, 0), along(1, 0), v), mix(along(0, 1), along(1, 1), v), w);
}

double octaves(Vec3d p, int count) {
    double sum = 0.0;
    for (double strength = 0.5; count > 0; --count, strength *= 0.5, p = p * 2.03 + Vec3d(17.1))
        sum += strength * noise(p);
    return sum;
}

/// Calls fill(voxel, its middle from -1 to 1 along the longest side).
template <class Fill>
void eachVoxel(const Coord& half, const Fill& fill) {
    const double longest = std::max({half.x(), half.y(), half.z()});
    for (int x = -half.x(); x <= half.x(); ++x)
        for (int y = -half.y(); y <= half.y(); ++y)
            for (int z = -half.z(); z <= half.z(); ++z) fill(Coord(x, y, z), Vec3d(x, y, z) / longest);
}

template <class Grid>
typename Grid::Ptr makeGrid(const char* name, double voxel) {
    const auto grid = Grid::create();
    grid->setName(name);
    grid->setGridClass(openvdb::GRID_FOG_VOLUME);
    grid->setTransform(openvdb::math::Transform::createLinearTransform(voxel));
    return grid;
}

void write(const std::string& path, const openvdb::GridPtrVec& grids) {
    openvdb::io::File file(path);
    file.write(grids);
}

/// Heaps of balls over a flat bottom, frayed by noise.
void makeCloud(const std::string& path) {
    const Coord half(96, 48, 64);
    const auto density = makeGrid<FloatGrid>("density", 1.0 / 96.0);
    auto voxels = density->getAccessor();
    const struct {
        Vec3d middle;
        double radius;
    } heaps[] = {{{-0.05, -0.12, 0}, 0.40},   {{0.34, -0.16, 0.08}, 0.30}, {{-0.45, -0.18, -0.08}, 0.28},
                 {{0.08, 0.10, -0.05}, 0.30}, {{0.62, -0.22, -0.02}, 0.2}, {{-0.72, -0.24, 0.1}, 0.16},
                 {{-0.22, 0.02, 0.2}, 0.26},  {{0.15, -0.2, 0.34}, 0.22},  {{-0.3, -0.2, -0.36}, 0.2}};
    eachVoxel(half, [&](const Coord& voxel, const Vec3d& p) {
        double deep = -1.0; // below the surface of the heaps
        for (const auto& heap : heaps) deep = std::max(deep, 1.0 - (p - heap.middle).length() / heap.radius);
        const double frayed = deep + 0.75 * octaves(p * 5.0, 5) + 0.05;
        const double value = std::clamp(4.0 * frayed, 0.0, 1.0) * std::clamp((p.y() + 0.42) * 8.0, 0.0, 1.0);
        if (value > 0.004) voxels.setValue(voxel, static_cast<float>(value));
    });
    density->pruneGrid();
    write(path, {density});
}

/// A plume that widens and swirls as it rises, hot at its foot.
void makeFire(const std::string& path) {
    const Coord half(36, 80, 36);
    const double voxel = 1.0 / 80.0;
    const auto density = makeGrid<FloatGrid>("density", voxel),
               heat = makeGrid<FloatGrid>("temperature", voxel);
    const auto velocity = makeGrid<Vec3SGrid>("velocity", voxel);
    auto smoke = density->getAccessor(), kelvin = heat->getAccessor();
    auto motion = velocity->getAccessor();
    eachVoxel(half, [&](const Coord& at, const Vec3d& p) {
        const double height = 0.5 * (p.y() + 1.0);
        const double sway = 0.10 * height;
        const Vec3d middle(sway * std::sin(5.0 * height), p.y(), sway * std::cos(4.0 * height + 0.5));
        const double radius = 0.07 + 0.26 * height;
        const double curl = octaves(Vec3d(p.x() * 5.0, p.y() * 4.0 - 2.0, p.z() * 5.0), 5);
        const double inside = 1.0 - (p - middle).length() / radius + 0.9 * curl;
        if (inside <= 0.0) return;
        const double body = std::clamp(2.5 * inside, 0.0, 1.0);
        const double fade = std::clamp((1.0 - height) * 5.0, 0.0, 1.0) * std::clamp(height * 20.0, 0.0, 1.0);
        const double flame = std::clamp(1.15 - 2.4 * height + 0.6 * inside, 0.0, 1.0) * body;
        smoke.setValue(
            at, static_cast<float>(body * fade * (0.15 + 0.85 * std::clamp(3.0 * height - 0.4, 0.0, 1.0))));
        kelvin.setValue(at, static_cast<float>(600.0 + 1500.0 * flame));
        motion.setValue(at, openvdb::Vec3s(static_cast<float>(-p.z() * 1.5), static_cast<float>(2.0 + curl),
                                           static_cast<float>(p.x() * 1.5)));
    });
    write(path, {density, heat, velocity});
}

/// From -1 to 1, of density 1, 1500 hot, moving along x at a speed of 2.
void makeBox(const std::string& path) {
    constexpr int half = 10;
    const auto density = makeGrid<FloatGrid>("density", 0.1), heat = makeGrid<FloatGrid>("heat", 0.1);
    const auto motion = makeGrid<Vec3SGrid>("motion", 0.1);
    density->fill(openvdb::CoordBBox(Coord(-half), Coord(half)), 1.0f);
    heat->fill(openvdb::CoordBBox(Coord(-4 * half), Coord(4 * half)), 1500.0f);
    motion->fill(openvdb::CoordBBox(Coord(-4 * half), Coord(4 * half)), openvdb::Vec3s(2.0f, 0.0f, 0.0f));
    write(path, {density, heat, motion});
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: generate_grids DIRECTORY\n", stderr);
        return 2;
    }
    try {
        // On one thread: the thread sanitizer does not see what the libraries synchronize.
        const tbb::global_control oneThread(tbb::global_control::max_allowed_parallelism, 1);
        openvdb::initialize();
        const std::string directory = std::string(arguments[1]) + "/";
        makeCloud(directory + "cloud.vdb");
        makeFire(directory + "fire.vdb");
        makeBox(directory + "box.vdb");
    } catch (const std::exception& fault) {
        std::fprintf(stderr, "generate_grids: %s\n", fault.what());
        return 1;
    }
    return 0;
}
