// SPDX-License-Identifier: Apache-2.0
#include "GridFile.h"

#include "OccupiedBlocks.h"

#include <nanovdb/util/OpenToNanoVDB.h>
#include <nanovdb/util/SampleFromVoxels.h>
#include <openvdb/io/File.h>
#include <openvdb/openvdb.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <new>
#include <optional>
#include <type_traits>

namespace orca::volumes {

namespace {

using Handle = nanovdb::GridHandle<nanovdb::HostBuffer>;

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

std::string namesIn(openvdb::io::File& file) {
    std::string names;
    for (auto name = file.beginName(); name != file.endName(); ++name)
        names += (names.empty() ? "" : ", ") + quoted(name.gridName());
    return names.empty() ? "none" : names;
}

/// A grid of a file, of the type wanted.
template <class Grid>
typename Grid::Ptr read(openvdb::io::File& file, const std::string& name, const char* type) {
    if (!file.hasGrid(name))
        throw GridFault(quoted(file.filename()) + " has no grid " + quoted(name) + "; it has " +
                        namesIn(file));
    const auto grid = openvdb::gridPtrCast<Grid>(file.readGrid(name));
    if (!grid)
        throw GridFault("the grid " + quoted(name) + " of " + quoted(file.filename()) + " is not of " + type);
    return grid;
}

std::array<int, 3> corner(const openvdb::Coord& c, int by) {
    return {c.x() + by, c.y() + by, c.z() + by};
}

/// How many voxels a point moves at most.
int voxelsMoved(const openvdb::Vec3SGrid& velocity, float farthest, double voxel) {
    double most = 0.0;
    for (auto value = velocity.cbeginValueOn(); value; ++value)
        most = std::max(most, double{value.getValue().length()});
    const double voxels = std::abs(farthest) * most / voxel;
    return static_cast<int>(std::ceil(std::min(voxels, 1e5)));
}

/// Voxels that a look-up may find something in: interpolation reaches one further.
OccupiedBlocks blocksOf(const openvdb::FloatGrid& grid, int moved) {
    openvdb::CoordBBox all = grid.evalActiveVoxelBoundingBox();
    if (all.empty()) all.reset(openvdb::Coord(0), openvdb::Coord(0));
    const int reach = 1 + moved;
    OccupiedBlocks blocks(corner(all.min(), -reach), corner(all.max(), reach));
    for (auto leaf = grid.tree().cbeginLeaf(); leaf; ++leaf) {
        openvdb::CoordBBox box;
        if (leaf->evalActiveBoundingBox(box), !box.empty())
            blocks.occupy(corner(box.min(), -reach), corner(box.max(), reach));
    }
    // Tiles: many voxels of one value.
    auto tile = grid.cbeginValueOn();
    tile.setMaxDepth(openvdb::FloatGrid::ValueOnCIter::LEAF_DEPTH - 1);
    for (; tile; ++tile) {
        openvdb::CoordBBox box;
        tile.getBoundingBox(box);
        blocks.occupy(corner(box.min(), -reach), corner(box.max(), reach));
    }
    return blocks;
}

} // namespace

struct VolumeGrids::Implementation {
    Handle density, temperature, velocity;
    std::optional<OccupiedBlocks> blocks;
    float voxelSize = 1.0f;
};

VolumeGrids::VolumeGrids(const std::string& path, const GridNames& names, float farthest) {
    static std::once_flag once;
    std::call_once(once, [] { openvdb::initialize(); });
    auto grids = std::make_unique<Implementation>();
    try {
        openvdb::io::File file(path);
        file.open(false); // at once: a render may take longer than the file stays as it is
        const auto density = read<openvdb::FloatGrid>(file, names.density, "numbers");
        const openvdb::Vec3d voxel = density->voxelSize();
        grids->voxelSize = static_cast<float>(std::min({voxel.x(), voxel.y(), voxel.z()}));
        grids->density = nanovdb::openToNanoVDB(density);
        if (!names.temperature.empty())
            grids->temperature =
                nanovdb::openToNanoVDB(read<openvdb::FloatGrid>(file, names.temperature, "numbers"));
        int moved = 0;
        if (!names.velocity.empty()) {
            const auto velocity = read<openvdb::Vec3SGrid>(file, names.velocity, "vectors");
            moved = voxelsMoved(*velocity, farthest, grids->voxelSize);
            grids->velocity = nanovdb::openToNanoVDB(velocity);
        }
        grids->blocks = blocksOf(*density, moved);
    } catch (const openvdb::Exception& fault) {
        throw GridFault(quoted(path) + " cannot be read: " + fault.what());
    }
    implementation_ = std::move(grids);
}

VolumeGrids::~VolumeGrids() = default;

bool VolumeGrids::moves() const {
    return implementation_->velocity.size() > 0;
}

float VolumeGrids::voxelSize() const {
    return implementation_->voxelSize;
}

bool VolumeGrids::next(const miVector& origin, const miVector& direction, float after,
                       OccupiedSpan& span) const {
    const nanovdb::NanoGrid<float>& grid = *implementation_->density.grid<float>();
    const auto o = grid.worldToIndex(nanovdb::Vec3d(origin.x, origin.y, origin.z));
    const auto d = grid.worldToIndexDir(nanovdb::Vec3d(direction.x, direction.y, direction.z));
    return implementation_->blocks->next({o[0], o[1], o[2]}, {d[0], d[1], d[2]}, after, span.from, span.to);
}

namespace {

/// Interpolated look-ups of one grid, if there is one.
template <class Value>
class Sampled {
public:
    explicit Sampled(const Handle& handle)
        : grid_(handle.size() > 0 ? handle.grid<Value>() : nullptr),
          accessor_(grid_ ? std::optional(grid_->getAccessor()) : std::nullopt) {}

    [[nodiscard]] Value at(const miVector& point) const {
        if (!accessor_) return Value(0.0f);
        const auto sampler =
            nanovdb::createSampler<1, nanovdb::ReadAccessor<Value, 0, 1, 2>, false>(*accessor_);
        return sampler(grid_->worldToIndex(nanovdb::Vec3f(point.x, point.y, point.z)));
    }

private:
    const nanovdb::NanoGrid<Value>* grid_;
    mutable std::optional<nanovdb::ReadAccessor<Value, 0, 1, 2>> accessor_; // remembers the last nodes
};

} // namespace

struct VolumeGrids::Lookup::Implementation {
    Sampled<float> density, temperature;
    Sampled<nanovdb::Vec3f> velocity;
};

const VolumeGrids::Lookup::Implementation& VolumeGrids::Lookup::implementation() const {
    return *std::launder(reinterpret_cast<const Implementation*>(inPlace_));
}

VolumeGrids::Lookup::Lookup(const VolumeGrids& grids) {
    static_assert(sizeof(Implementation) <= room && std::is_trivially_destructible_v<Implementation>);
    new (inPlace_) Implementation{Sampled<float>(grids.implementation_->density),
                                  Sampled<float>(grids.implementation_->temperature),
                                  Sampled<nanovdb::Vec3f>(grids.implementation_->velocity)};
}

float VolumeGrids::Lookup::density(const miVector& point) const {
    return implementation().density.at(point);
}

float VolumeGrids::Lookup::temperature(const miVector& point) const {
    return implementation().temperature.at(point);
}

miVector VolumeGrids::Lookup::velocity(const miVector& point) const {
    const nanovdb::Vec3f v = implementation().velocity.at(point);
    return {v[0], v[1], v[2]};
}

} // namespace orca::volumes
