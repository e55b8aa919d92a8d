// SPDX-License-Identifier: Apache-2.0
#include "geometry/hair/hair_surface.h"

#include "base/orthonormal_basis.h"
#include "base/vectors.h"
#include "geometry/hair/hair_segments.h"
#include "geometry/mesh.h"
#include "geometry/placement.h"
#include "geometry/shutter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace orca::geometry {

namespace {

/// Weights of a Bezier curve's control points, and their derivatives.
struct Bernstein {
    std::array<float, 4> value{}, derivative{};

    Bernstein(int degree, float u) {
        const float w = 1.0f - u;
        switch (degree) {
        case 1:
            value = {w, u};
            derivative = {-1.0f, 1.0f};
            break;
        case 2:
            value = {w * w, 2.0f * w * u, u * u};
            derivative = {-2.0f * w, 2.0f * (w - u), 2.0f * u};
            break;
        default:
            value = {w * w * w, 3.0f * w * w * u, 3.0f * w * u * u, u * u * u};
            derivative = {-3.0f * w * w, 3.0f * w * (w - 2.0f * u), 3.0f * u * (2.0f * w - u), 3.0f * u * u};
        }
    }
};

struct CurvePoint {
    miVector point, derivative;
    float radius;
};

CurvePoint evaluate(const HairSegments& hair, const std::vector<HairSegments::Point>& points,
                    std::uint32_t segment, const Bernstein& weights) {
    CurvePoint at{{0, 0, 0}, {0, 0, 0}, 0.0f};
    const HairSegments::Point* const p = &points[hair.firstPoints[segment]];
    for (std::size_t i = 0; i <= static_cast<std::size_t>(hair.degree); ++i) {
        const miVector control{p[i].x, p[i].y, p[i].z};
        at.point = at.point + weights.value[i] * control;
        at.derivative = at.derivative + weights.derivative[i] * control;
        at.radius += weights.value[i] * p[i].radius;
    }
    return at;
}

CurvePoint curveAt(const HairSegments& hair, std::uint32_t segment, const Bernstein& weights, float time) {
    if (hair.laterPoints.empty() || time == 0.0f) return evaluate(hair, hair.points, segment, weights);
    const ShutterSegment step = ShutterSegment::at(time, hair.laterPoints.size());
    const CurvePoint before =
        evaluate(hair, step.index == 0 ? hair.points : hair.laterPoints[step.index - 1], segment, weights);
    const CurvePoint after = evaluate(hair, hair.laterPoints[step.index], segment, weights);
    return {(1.0f - step.part) * before.point + step.part * after.point,
            (1.0f - step.part) * before.derivative + step.part * after.derivative,
            (1.0f - step.part) * before.radius + step.part * after.radius};
}

/// A texture space of up to three numbers.
miVector textureOf(const float* numbers, int dimension) {
    return {numbers[0], dimension > 1 ? numbers[1] : 0.0f, dimension > 2 ? numbers[2] : 0.0f};
}

int fillTextures(const scene::HairList& list, const scene::HairList::Hair& hair, std::size_t firstVertex,
                 const Bernstein& weights, miVector* to) {
    int spaces = 0;
    const scene::VertexLayout &own = list.hairLayout, &ofVertices = list.vertexLayout;
    for (std::size_t i = 0; i < own.texture.size(); ++i)
        to[spaces++] = textureOf(&list.scalars[hair.first + static_cast<std::size_t>(own.texture[i])],
                                 own.textureDimension[i]);
    for (std::size_t i = 0; i < ofVertices.texture.size(); ++i) {
        miVector sum{0, 0, 0};
        for (std::size_t k = 0; k <= static_cast<std::size_t>(list.degree); ++k)
            sum = sum +
                  weights.value[k] * textureOf(list.vertexOf(hair, firstVertex + k) + ofVertices.texture[i],
                                               ofVertices.textureDimension[i]);
        to[spaces++] = sum;
    }
    return spaces;
}

} // namespace

void hairSurfaceAt(const MeshInstance& meshInstance, const Ray& ray, const Hit& hit, float time,
                   SurfacePoint& point, miVector* textureCoordinates) {
    const HairSegments& segments = *meshInstance.mesh->hair;
    const scene::HairList& list = *segments.list;
    const std::size_t number = segments.hairOf(hit.triangle);
    const std::uint32_t inHair = hit.triangle - segments.firstSegments[number];
    const auto count =
        static_cast<float>(segments.firstSegments[number + 1] - segments.firstSegments[number]);
    const float u = std::clamp(hit.u, 0.0f, 1.0f);
    const Bernstein weights(segments.degree, u);
    const CurvePoint curve = curveAt(segments, hit.triangle, weights, time);
    const Placement placement(meshInstance, time);

    const miVector direction = normalized(ray.direction);
    const miVector along = placement.vector(curve.derivative), tangent = normalized(along);
    miVector across = cross(tangent, direction);
    across = isNull(across) ? basisAbout(direction).x : normalized(across);
    point.point = ray.origin + hit.distance * ray.direction;
    const miVector fromMiddle = point.point - placement.point(curve.point);
    const miVector scaledWidth = placement.vector(2.0f * curve.radius * normalized(curve.derivative));
    const float width = std::sqrt(dot(scaledWidth, scaledWidth));
    const miVector facing = normalized(cross(across, tangent)); // away from where the ray goes
    const miVector toRay = dot(facing, direction) > 0.0f ? -1.0f * facing : facing;
    float offset; // across the hair, -1 to 1
    if (list.round) {
        const miVector outward = fromMiddle - dot(fromMiddle, tangent) * tangent;
        point.normal = isNull(outward) ? toRay : normalized(outward);
        offset = dot(point.normal, across);
    } else {
        point.normal = toRay;
        // The kernel cuts curves into straight pieces, and knows better where it has met those.
        const float sideways = dot(fromMiddle, across);
        offset = segments.degree == 1 ? 2.0f * sideways / std::max(width, 1e-30f)
                                      : std::copysign(std::abs(hit.v), sideways);
    }
    point.geometricNormal = point.normal;

    point.bary[0] = std::clamp(0.5f + 0.5f * offset, 0.0f, 1.0f);
    point.bary[1] = (static_cast<float>(inHair) + u) / count;
    point.bary[2] = point.bary[3] = 0.0f;
    point.dPdu = count * along;
    point.dPdv = width * across;
    point.material =
        list.material && !meshInstance.materialsOverride ? list.material : meshInstance.materials[0];
    point.label = meshInstance.label;
    point.primitive = const_cast<std::uint32_t*>(&segments.firstPoints[hit.triangle]);
    point.bumpX = point.bumpY = {0, 0, 0};

    point.moves = meshInstance.transformMoves || !segments.laterPoints.empty();
    point.opening = point.point;
    point.motion = {0, 0, 0};
    if (point.moves) {
        const Placement atStart(meshInstance, 0.0f), atEnd(meshInstance, 1.0f);
        const miVector start = atStart.point(curveAt(segments, hit.triangle, weights, 0.0f).point);
        const miVector end = atEnd.point(curveAt(segments, hit.triangle, weights, 1.0f).point);
        point.opening = start + fromMiddle;
        point.motion = end - start;
    }
    const Bernstein ofScene(list.degree, u);
    point.textureSpaces =
        fillTextures(list, list.hairs[number], inHair * static_cast<std::size_t>(list.degree), ofScene,
                     textureCoordinates);
}

} // namespace orca::geometry
