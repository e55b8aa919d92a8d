// SPDX-License-Identifier: Apache-2.0
#include "geometry/displacement.h"

#include "base/parallel_for.h"
#include "base/vectors.h"
#include "geometry/displaced_mesh.h"

#include <algorithm>
#include <cmath>

namespace orca::geometry {

namespace {

constexpr int roundsAtMost = 24; // every round halves edges once
constexpr std::size_t verticesPerChunk = 256, trianglesPerChunk = 4096;

/// Decides whether an edge is to be halved.
class EdgeMeasure {
public:
    EdgeMeasure(const TessellationView& view, const scene::Approximation& approximation)
        : view_(view), longest_(approximation.edge), inView_(approximation.inView) {}

    /// @param a, b the ends in camera space, in an order that does not depend on the triangle
    [[nodiscard]] bool tooLong(const miVector& a, const miVector& b) const {
        if (!inView_) {
            const miVector d = b - a;
            return dot(d, d) > longest_ * longest_;
        }
        return pixelsBetween(view_, a, b) > longest_ * (isOutside(view_, a, b) ? coarserOutside : 1.0f);
    }

private:
    const TessellationView& view_;
    float longest_;
    bool inView_;
};

/// The displacements of the vertices, and their displaced positions in camera space.
class Displacement {
public:
    Displacement(DisplacedMesh& displaced, const MeshInstance& meshInstance, const TessellationView& view,
                 float limit, const DisplacementShader& shader)
        : displaced_(displaced), meshInstance_(meshInstance), limit_(limit), shader_(shader) {
        mi_matrix_prod(toCamera_, meshInstance.instanceRecord->tf.local_to_global, view.worldToCamera);
    }

    /// Evaluates the vertices from `first` on and moves coincident ones together.
    void evaluate(std::size_t first) {
        const std::size_t count = displaced_.vertexCount();
        displaced_.offsets.resize(count);
        inCamera_.resize(count);
        parallelFor(count - first, verticesPerChunk, [&](std::size_t from, std::size_t to) {
            for (std::size_t v = first + from; v < first + to; ++v) displaced_.offsets[v] = offsetOf(v);
        });
        displaced_.joinCoincident(first);
        parallelFor(count - first, verticesPerChunk, [&](std::size_t from, std::size_t to) {
            for (std::size_t v = first + from; v < first + to; ++v)
                inCamera_[v] = transformPoint(displaced_.mesh.points[v] + displaced_.offsets[v], toCamera_);
        });
    }

    [[nodiscard]] const miVector& inCamera(std::uint32_t vertex) const { return inCamera_[vertex]; }

private:
    [[nodiscard]] miVector offsetOf(std::size_t v) const {
        const Mesh& mesh = displaced_.mesh;
        if (displaced_.materials[v] == miNULLTAG) return {0.0f, 0.0f, 0.0f}; // of no triangle
        DisplacementVertex vertex{};
        vertex.point = mesh.points[v];
        vertex.normal = mesh.normals[v];
        vertex.textureSpaces = mesh.textureSpaces;
        vertex.textures = mesh.textures.data() + v * static_cast<std::size_t>(mesh.textureSpaces);
        if ((vertex.hasBump = !mesh.bumpX.empty())) {
            vertex.bumpX = mesh.bumpX[v];
            vertex.bumpY = mesh.bumpY[v];
        }
        if (!mesh.derivU.empty()) {
            vertex.dPdu = mesh.derivU[v];
            vertex.dPdv = mesh.derivV[v];
        }
        vertex.material = displaced_.materials[v];
        const float height = shader_(meshInstance_, vertex);
        return (limit_ > 0.0f ? std::clamp(height, -limit_, limit_) : height) * vertex.normal;
    }

    DisplacedMesh& displaced_;
    const MeshInstance& meshInstance_;
    float limit_; ///< of the distance; 0: none
    const DisplacementShader& shader_;
    miMatrix toCamera_;
    std::vector<miVector> inCamera_;
};

} // namespace

DisplacementOutcome displace(Mesh& mesh, const MeshInstance& meshInstance, const TessellationView& view,
                             const DisplacementLimits& limits, const DisplacementShader& shader) {
    DisplacedMesh displaced(mesh, meshInstance);
    Displacement displacement(displaced, meshInstance, view, limits.distance, shader);
    displacement.evaluate(0);

    const scene::Approximation& approximation = limits.approximation;
    const EdgeMeasure measure(view, approximation);
    const int rounds =
        approximation.mostHalvings < 0 ? roundsAtMost : std::min(roundsAtMost, approximation.mostHalvings);
    DisplacementOutcome outcome;
    // Triangles that keep all their edges are done: edges change only by being halved.
    std::vector<std::uint32_t> active(mesh.triangles.size());
    for (std::size_t i = 0; i < active.size(); ++i) active[i] = static_cast<std::uint32_t>(i);
    std::vector<std::uint8_t> marks;
    for (int round = 0; round < rounds && !active.empty(); ++round) {
        const bool all = round < approximation.leastHalvings;
        if (mesh.triangles.size() + 3 * active.size() > limits.triangles) {
            outcome.stoppedEarly = true;
            break;
        }
        marks.assign(active.size(), 0);
        parallelFor(active.size(), trianglesPerChunk, [&](std::size_t from, std::size_t to) {
            for (std::size_t i = from; i < to; ++i) {
                const Mesh::Triangle& t = mesh.triangles[active[i]];
                for (int edge = 0; edge < 3; ++edge) {
                    const auto [a, b] = displaced.endsInOrder(t, edge);
                    if (all || measure.tooLong(displacement.inCamera(a), displacement.inCamera(b)))
                        marks[i] = static_cast<std::uint8_t>(marks[i] | 1u << edge);
                }
            }
        });
        const std::size_t before = displaced.vertexCount();
        active = displaced.split(active, marks);
        displacement.evaluate(before);
    }
    displaced.finish();
    return outcome;
}

} // namespace orca::geometry
