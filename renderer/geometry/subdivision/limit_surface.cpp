// SPDX-License-Identifier: Apache-2.0
#include "geometry/subdivision/limit_surface.h"

#include "base/vectors.h"

#include <opensubdiv/bfr/refinerSurfaceFactory.h>
#include <opensubdiv/bfr/surface.h>
#include <opensubdiv/bfr/surfaceFactoryCache.h>
#include <opensubdiv/bfr/tessellation.h>
#include <opensubdiv/far/error.h>
#include <opensubdiv/far/topologyDescriptor.h>
#include <opensubdiv/far/topologyRefinerFactory.h>

#include <cmath>
#include <mutex>
#include <shared_mutex>
#include <stdexcept>

namespace orca::geometry {

namespace {

namespace osd = OpenSubdiv;

using SharedCache =
    osd::Bfr::SurfaceFactoryCacheThreaded<std::shared_mutex, std::shared_lock<std::shared_mutex>,
                                          std::unique_lock<std::shared_mutex>>;
using SurfaceFactory = osd::Bfr::RefinerSurfaceFactory<SharedCache>;
using Surface = osd::Bfr::Surface<float>;

static_assert(sizeof(miVector) == 3 * sizeof(float), "points are handed over as rows of floats");

thread_local std::string lastFault; // of the base mesh that this thread hands over

void keepFault(osd::Far::ErrorType, const char* text) {
    lastFault = text;
}

std::unique_ptr<osd::Far::TopologyRefiner> refinerOf(const scene::SubdivisionSurface& base) {
    static std::once_flag reportsKept;
    std::call_once(reportsKept, [] {
        osd::Far::SetErrorCallback(keepFault);
        osd::Far::SetWarningCallback([](const char* text) { lastFault = text; });
    });

    using Indices = std::vector<osd::Far::Index>;
    std::vector<int> sizes;
    Indices corners;
    for (const auto& face : base.faces) {
        sizes.push_back(static_cast<int>(face.count));
        for (std::uint32_t i = 0; i < face.count; ++i)
            corners.push_back(static_cast<osd::Far::Index>(base.corners[face.first + i]));
    }
    Indices creaseEnds, sharpPoints;
    std::vector<float> creaseSharpness, pointSharpness;
    for (const auto& crease : base.creases) {
        for (const std::uint32_t end : crease.ends) creaseEnds.push_back(static_cast<osd::Far::Index>(end));
        creaseSharpness.push_back(crease.sharpness);
    }
    for (const auto& sharp : base.sharpPoints) {
        sharpPoints.push_back(static_cast<osd::Far::Index>(sharp.point));
        pointSharpness.push_back(sharp.sharpness);
    }
    // Faces may have been left out, so corners of textures are gathered anew as well.
    std::vector<Indices> textureCorners(base.textures.size());
    std::vector<osd::Far::TopologyDescriptor::FVarChannel> channels(base.textures.size());
    for (std::size_t space = 0; space < base.textures.size(); ++space) {
        for (const auto& face : base.faces)
            for (std::uint32_t i = 0; i < face.count; ++i)
                textureCorners[space].push_back(
                    static_cast<osd::Far::Index>(base.textures[space].corners[face.first + i]));
        channels[space].numValues = static_cast<int>(base.textures[space].coordinates.size());
        channels[space].valueIndices = textureCorners[space].data();
    }

    osd::Far::TopologyDescriptor descriptor;
    descriptor.numVertices = static_cast<int>(base.points.size());
    descriptor.numFaces = static_cast<int>(sizes.size());
    descriptor.numVertsPerFace = sizes.data();
    descriptor.vertIndicesPerFace = corners.data();
    descriptor.numCreases = static_cast<int>(base.creases.size());
    descriptor.creaseVertexIndexPairs = creaseEnds.data();
    descriptor.creaseWeights = creaseSharpness.data();
    descriptor.numCorners = static_cast<int>(sharpPoints.size());
    descriptor.cornerVertexIndices = sharpPoints.data();
    descriptor.cornerWeights = pointSharpness.data();
    descriptor.numFVarChannels = static_cast<int>(channels.size());
    descriptor.fvarChannels = channels.data();

    osd::Sdc::Options options;
    options.SetVtxBoundaryInterpolation(base.sharpBoundaryCorners
                                            ? osd::Sdc::Options::VTX_BOUNDARY_EDGE_AND_CORNER
                                            : osd::Sdc::Options::VTX_BOUNDARY_EDGE_ONLY);
    options.SetFVarLinearInterpolation(osd::Sdc::Options::FVAR_LINEAR_CORNERS_PLUS1);
    using Factory = osd::Far::TopologyRefinerFactory<osd::Far::TopologyDescriptor>;
    const bool isLoop = base.scheme == scene::SubdivisionSurface::Scheme::Loop;
    Factory::Options factoryOptions(isLoop ? osd::Sdc::SCHEME_LOOP : osd::Sdc::SCHEME_CATMARK, options);
    factoryOptions.validateFullTopology = true;
    lastFault.clear();
    std::unique_ptr<osd::Far::TopologyRefiner> refiner(Factory::Create(descriptor, factoryOptions));
    if (!refiner)
        throw std::runtime_error(lastFault.empty() ? "the base mesh cannot be subdivided" : lastFault);
    return refiner;
}

} // namespace

struct LimitSurface::Implementation {
    explicit Implementation(const scene::SubdivisionSurface& from)
        : base(from), refiner(refinerOf(from)), level(refiner->GetLevel(0)), factory(*refiner) {
        width = 3 * (1 + static_cast<int>(base.motions.size()));
        const auto stride = static_cast<std::size_t>(width);
        values.resize(base.points.size() * stride);
        for (std::size_t i = 0; i < base.points.size(); ++i) {
            float* to = &values[i * stride];
            const auto put = [&](const miVector& v) {
                *to++ = v.x;
                *to++ = v.y;
                *to++ = v.z;
            };
            put(base.points[i]);
            for (const auto& motion : base.motions) put(motion[i]);
        }
    }

    const scene::SubdivisionSurface& base;
    std::unique_ptr<osd::Far::TopologyRefiner> refiner;
    const osd::Far::TopologyLevel& level;
    SurfaceFactory factory;
    int width;                 ///< floats of a point: its position and motions
    std::vector<float> values; ///< of all points
};

LimitSurface::LimitSurface(const scene::SubdivisionSurface& base)
    : implementation_(std::make_unique<Implementation>(base)) {
}

LimitSurface::~LimitSurface() = default;

std::vector<LimitSurface::FaceEdge> LimitSurface::edgesOf(std::size_t face) const {
    const osd::Far::TopologyLevel& level = implementation_->level;
    const auto edges = level.GetFaceEdges(static_cast<osd::Far::Index>(face));
    const auto corners = level.GetFaceVertices(static_cast<osd::Far::Index>(face));
    std::vector<FaceEdge> result;
    for (int i = 0; i < edges.size(); ++i)
        result.push_back(
            {static_cast<std::uint32_t>(edges[i]), level.GetEdgeVertices(edges[i])[0] != corners[i]});
    return result;
}

std::size_t LimitSurface::edgeCount() const {
    return static_cast<std::size_t>(implementation_->level.GetNumEdges());
}

std::pair<std::size_t, int> LimitSurface::faceAt(std::size_t edge) const {
    const osd::Far::TopologyLevel& level = implementation_->level;
    const auto index = static_cast<osd::Far::Index>(edge);
    return {static_cast<std::size_t>(level.GetEdgeFaces(index)[0]), level.GetEdgeFaceLocalIndices(index)[0]};
}

struct LimitSurface::Face::Implementation {
    const LimitSurface::Implementation* mesh;
    Surface positions;
    std::vector<Surface> textures;
    std::vector<float> points; // that the surface is evaluated from
    std::vector<std::vector<float>> texturePoints;
};

LimitSurface::Face::Face(const LimitSurface& surface, std::size_t face)
    : implementation_(std::make_unique<Implementation>()) {
    Implementation& own = *implementation_;
    own.mesh = surface.implementation_.get();
    const scene::SubdivisionSurface& base = own.mesh->base;
    own.textures.resize(base.textures.size());
    if (!own.mesh->factory.InitSurfaces(static_cast<int>(face), &own.positions, own.textures.data(), nullptr,
                                        static_cast<int>(own.textures.size())))
        throw std::runtime_error("a face has no limit surface");
    const auto prepare = [](const Surface& from, const float* values, int width, std::vector<float>& points) {
        points.resize(static_cast<std::size_t>(from.GetNumPatchPoints()) * static_cast<std::size_t>(width));
        from.PreparePatchPoints(values, width, points.data(), width);
    };
    prepare(own.positions, own.mesh->values.data(), own.mesh->width, own.points);
    own.texturePoints.resize(own.textures.size());
    for (std::size_t i = 0; i < own.textures.size(); ++i)
        prepare(own.textures[i], &base.textures[i].coordinates.data()->x, 3, own.texturePoints[i]);
}

LimitSurface::Face::~Face() = default;

LimitSurface::Face::Coordinate LimitSurface::Face::onEdge(int edge, float t) const {
    Coordinate at;
    implementation_->positions.GetParameterization().GetEdgeCoord(edge, t, at.data());
    return at;
}

bool LimitSurface::Face::isQuad() const {
    return implementation_->positions.GetFaceSize() == 4;
}

void LimitSurface::Face::evaluate(const Coordinate& at, Point& point, miVector* motions,
                                  miVector* textures) const {
    const Implementation& own = *implementation_;
    const auto width = static_cast<std::size_t>(own.mesh->width);
    thread_local std::vector<float> values;
    values.resize(3 * width);
    own.positions.Evaluate(at.data(), own.points.data(), own.mesh->width, values.data(), &values[width],
                           &values[2 * width]);
    const auto vectorAt = [](std::size_t i) { return miVector{values[i], values[i + 1], values[i + 2]}; };
    point.position = vectorAt(0);
    for (std::size_t i = 1; i < width / 3; ++i) motions[i - 1] = vectorAt(3 * i);
    const miVector byU = vectorAt(width), byV = vectorAt(2 * width);
    point.normal = normalized(cross(byU, byV));
    point.derivU = point.derivV = {0, 0, 0};
    for (std::size_t i = 0; i < own.textures.size(); ++i) {
        miVector uByU, uByV; // of the texture coordinate
        own.textures[i].Evaluate(at.data(), own.texturePoints[i].data(), 3, &textures[i].x, &uByU.x, &uByV.x);
        const float area = uByU.x * uByV.y - uByU.y * uByV.x;
        if (i > 0 || area == 0.0f) continue;
        point.derivU = (1.0f / area) * (uByV.y * byU - uByU.y * byV);
        point.derivV = (1.0f / area) * (uByU.x * byV - uByV.x * byU);
    }
}

LimitSurface::Point LimitSurface::Face::evaluate(const Coordinate& at) const {
    Point point;
    std::vector<miVector> motions(implementation_->mesh->base.motions.size());
    std::vector<miVector> textures(implementation_->textures.size());
    evaluate(at, point, motions.data(), textures.data());
    return point;
}

void LimitSurface::Face::tessellate(std::span<const int> edgeParts, std::array<int, 2> innerParts,
                                    std::vector<Coordinate>& coordinates,
                                    std::vector<std::array<int, 3>>& triangles) const {
    std::vector<int> rates(edgeParts.begin(), edgeParts.end());
    rates.push_back(innerParts[0]);
    if (isQuad()) rates.push_back(innerParts[1]);
    const osd::Bfr::Tessellation pattern(implementation_->positions.GetParameterization(),
                                         static_cast<int>(rates.size()), rates.data());
    coordinates.resize(static_cast<std::size_t>(pattern.GetNumCoords()));
    pattern.GetCoords(coordinates.data()->data());
    triangles.resize(static_cast<std::size_t>(pattern.GetNumFacets()));
    pattern.GetFacets(triangles.data()->data());
}

} // namespace orca::geometry
