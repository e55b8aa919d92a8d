// SPDX-License-Identifier: Apache-2.0
/// Fur on a mesh, as a geometry shader.
#include "orcaConstants.h"
#include "orcaFibre.h"
#include "orcaGuards.h"
#include "orcaParameters.h"
#include "orcaVector.h"
#include "orcaVelaState.h"
#include "velaFurGrowth.h"

#include <shader.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <vector>

/// Parameters of velaFurGenerator, in declaration order. Of those that say "map" a connected texture is
/// looked up at the root of each hair.
struct VelaFurGeneratorParameters {
    miTag surface;                  // object, or instance of one, that the fur grows on
    miTag material;                 // of the hairs; none: that of the generator's instance
    miInteger seed;                 // of everything random
    miScalar density;               // hairs for each square object space unit
    miScalar densityMap;            // 0 to 1: share of them; map
    miInteger mostHairs;            // more are an error
    miInteger segments;             // curves of each hair
    miScalar length;                // object space units; map
    miScalar lengthVariation;       // 0 to 1: share that hairs are shorter by, at random
    miScalar rootWidth;             // object space units; map
    miScalar tipWidth;              // the same
    miScalar inclination;           // 0 to 1: upright to flat on the surface; map
    miScalar direction;             // degrees from the texture's u that hairs lean to; map
    miVector comb;                  // object space; not null: hairs lean along it instead
    miScalar bend;                  // degrees that hairs bend further from root to tip; map
    miScalar curl;                  // radius of curls as a share of the length; map
    miScalar curlTurns;             // for each hair
    miScalar clumping;              // 0 to 1: share of the way to its tuft's middle that a tip is drawn; map
    miScalar clumpSize;             // distance of tufts, object space units
    miScalar displacement;          // random displacement of tips as a share of the length; map
    miScalar displacementFrequency; // changes of it along a hair
};

namespace {

using P = VelaFurGeneratorParameters;

constexpr const char* name = "vela_furgenerator";
constexpr miScalar radians = std::numbers::pi_v<miScalar> / 180.0f;

/// Random values of a hair besides those of its growth.
enum : miUint { RANDOM_PLACE = 1, RANDOM_KEPT = 2, RANDOM_LENGTH = 3, RANDOM_TUFT = 4 };

struct CloseMesh {
    void operator()(miMesh* mesh) const { mi_mesh_close(mesh); }
};
using Mesh = std::unique_ptr<miMesh, CloseMesh>;

/// One triangle of the mesh.
struct Skin {
    miVector points[3], normals[3], motions[3];
    miVector textures[3]{};

    Skin(const miMesh* mesh, int triangle) {
        mi_mesh_triangle(mesh, triangle, points, normals);
        mi_mesh_motion(mesh, triangle, motions);
        if (mi_mesh_texture_spaces(mesh) > 0) mi_mesh_texture(mesh, triangle, 0, textures);
    }
    [[nodiscard]] static miVector at(const miVector (&corners)[3], miScalar u, miScalar v) {
        return corners[0] * (1.0f - u - v) + corners[1] * u + corners[2] * v;
    }
    /// Derivative of the point by the texture's u; null without a texture space.
    [[nodiscard]] miVector alongU() const {
        const miVector a = points[1] - points[0], b = points[2] - points[0];
        const miVector s = textures[1] - textures[0], t = textures[2] - textures[0];
        const miScalar determinant = s.x * t.y - s.y * t.x;
        return std::abs(determinant) < 1e-20f ? miVector{0.0f, 0.0f, 0.0f}
                                              : (a * t.y - b * s.y) * (1.0f / determinant);
    }
};

/// Areas of the triangles, summed up.
std::vector<double> summedAreas(const miMesh* mesh) {
    std::vector<double> sums;
    double sum = 0.0;
    const int count = mi_mesh_triangles(mesh);
    sums.reserve(static_cast<std::size_t>(count));
    miVector p[3];
    for (int i = 0; i < count; ++i) {
        mi_mesh_triangle(mesh, i, p, nullptr);
        sums.push_back(sum += 0.5 * length(cross(p[1] - p[0], p[2] - p[0])));
    }
    return sums;
}

bool deforms(const miMesh* mesh) {
    miVector motions[3];
    for (int i = 0; i < mi_mesh_triangles(mesh); ++i)
        if (mi_mesh_motion(mesh, i, motions) &&
            !std::all_of(std::begin(motions), std::end(motions), [](const miVector& m) { return isNull(m); }))
            return true;
    return false;
}

/// Parameters, looked up at one root after the other.
class RootLookups {
public:
    RootLookups(miState* state, P* record)
        : state_(state),
          record_(record),
          textures_(state->tex_list),
          point_(state->point),
          normal_(state->normal),
          vela_(velabaseState(state)),
          flags_(vela_ ? vela_->flags : 0) {
        state->tex_list = coordinates_;
        if (vela_) vela_->flags |= VELA_BIT_NOAF; // a root covers no area
    }
    ~RootLookups() {
        state_->tex_list = textures_;
        if (vela_) vela_->flags = flags_;
    }
    RootLookups(const RootLookups&) = delete;
    RootLookups& operator=(const RootLookups&) = delete;

    void moveTo(miVector point, miVector normal, const miVector& texture) {
        mi_point_from_object(state_, &state_->point, &point);
        mi_normal_from_object(state_, &state_->normal, &normal);
        std::fill(std::begin(coordinates_), std::end(coordinates_), texture);
        mi_flush_cache(state_);
    }
    template <class T>
    [[nodiscard]] T operator()(T P::*field) const {
        return parameterValue(state_, record_, field);
    }
    /// Of a share, limited to 0 to 1.
    [[nodiscard]] miScalar share(miScalar P::*field) const { return std::clamp((*this)(field), 0.0f, 1.0f); }

private:
    static constexpr int spaces = 8; // texture spaces that shaders may ask for
    miState* state_;
    P* record_;
    miVector* textures_;
    const Restored<miVector> point_, normal_;
    VelabaseState* vela_;
    miUint flags_;
    miVector coordinates_[spaces]{};
};

class FurGenerator {
public:
    FurGenerator(miState* state, P* record, const miMesh* mesh)
        : mesh_(mesh),
          look_(state, record),
          seed_(static_cast<miUint>(look_(&P::seed)) * 7919u),
          segments_(std::clamp(look_(&P::segments), 1, 64)),
          areas_(summedAreas(mesh)),
          moves_(deforms(mesh)) {}

    /// Hairs that the area and the density ask for, before the map.
    [[nodiscard]] double wanted() const {
        return areas_.empty() ? 0.0 : std::round(areas_.back() * std::max(0.0f, look_(&P::density)));
    }
    /// Numbers of a hair: the texture coordinate of its root; of each vertex point, radius and, on meshes
    /// that deform, motion.
    [[nodiscard]] int numbersOfHair() const { return 3 + (3 * segments_ + 1) * (moves_ ? 7 : 4); }

    void grow(miUint count) {
        numbers_.reserve(static_cast<std::size_t>(count) * static_cast<std::size_t>(numbersOfHair()));
        for (miUint i = 0; i < count; ++i) growOne(i, count);
    }
    /// Hands the hairs over as an object; null when the renderer takes none.
    [[nodiscard]] miTag object(miTag material) const {
        miObject* const object = mi_api_object_begin(nullptr);
        if (!object) return miNULLTAG;
        object->visible = object->shadow = object->trace = miTRUE;
        miHair_list* const hairs = mi_api_hair_begin();
        if (!hairs) return miNULLTAG;
        hairs->material = material;
        hairs->degree = 3;
        mi_api_hair_info(0, 't', 3);
        mi_api_hair_info(1, 'r', 1);
        if (moves_) mi_api_hair_info(1, 'm', 1);
        if (miScalar* const scalars = mi_api_hair_scalars_begin(static_cast<int>(numbers_.size())))
            std::copy(numbers_.begin(), numbers_.end(), scalars);
        mi_api_hair_scalars_end(static_cast<int>(numbers_.size()));
        if (miGeoIndex* const starts = mi_api_hair_hairs_begin(static_cast<int>(hairs_)))
            for (miUint i = 0; i < hairs_; ++i) starts[i] = i * static_cast<miUint>(numbersOfHair());
        mi_api_hair_hairs_end();
        return mi_api_hair_end() ? mi_api_object_end() : miNULLTAG;
    }
    [[nodiscard]] miUint hairs() const noexcept { return hairs_; }

private:
    [[nodiscard]] miScalar random(miUint hair, miUint which) const {
        return hashedNumber(hair, seed_ + which);
    }

    /// The roots are spread evenly over the area: one in each of as many equal parts of it, in the triangles
    /// by a sequence of low discrepancy (Roberts, "The Unreasonable Effectiveness of Quasirandom Sequences",
    /// 2018).
    void growOne(miUint number, miUint count) {
        const double place =
            (number + static_cast<double>(random(number, RANDOM_PLACE))) * areas_.back() / count;
        const auto found = std::upper_bound(areas_.begin(), areas_.end() - 1, place);
        const Skin skin(mesh_, static_cast<int>(found - areas_.begin()));
        auto u = static_cast<miScalar>(std::fmod(number * 0.7548776662466927, 1.0));
        auto v = static_cast<miScalar>(std::fmod(number * 0.5698402909980532, 1.0));
        if (u + v > 1.0f) {
            u = 1.0f - u;
            v = 1.0f - v;
        }
        FurRoot root;
        root.number = number;
        root.point = Skin::at(skin.points, u, v);
        root.normal = normalized(Skin::at(skin.normals, u, v));
        const miVector texture = Skin::at(skin.textures, u, v);
        look_.moveTo(root.point, root.normal, texture);
        if (random(number, RANDOM_KEPT) >= look_(&P::densityMap)) return;

        root.lean = leanAt(root, skin);
        const FurShape shape = shapeAt(root);
        if (!(shape.length > 0.0f)) return;
        growHair(root, shape, segments_, points_);
        add(texture, Skin::at(skin.motions, u, v));
    }

    [[nodiscard]] miVector leanAt(const FurRoot& root, const Skin& skin) const {
        const miVector &n = root.normal, comb = look_(&P::comb);
        miVector first = isNull(comb) ? skin.alongU() : comb, second;
        first = first - n * dot(n, first);
        if (dot(first, first) > 1e-12f) {
            first = normalized(first);
            second = cross(n, first);
        } else {
            orthonormalBasis(n, first, second);
        }
        if (!isNull(comb)) return first;
        const miScalar angle = radians * look_(&P::direction);
        return first * std::cos(angle) + second * std::sin(angle);
    }

    [[nodiscard]] FurShape shapeAt(FurRoot& root) const {
        FurShape shape;
        shape.length = look_(&P::length) *
                       (1.0f - look_.share(&P::lengthVariation) * random(root.number, RANDOM_LENGTH));
        shape.inclination = 90.0f * radians * look_.share(&P::inclination);
        shape.bend = radians * look_(&P::bend);
        shape.curl = shape.length * std::max(0.0f, look_(&P::curl));
        shape.curlTurns = look_(&P::curlTurns);
        shape.clumping = look_.share(&P::clumping);
        const miScalar size = look_(&P::clumpSize);
        root.tuft = {0.0f, 0.0f, 0.0f};
        if (shape.clumping > 0.0f && size > 0.0f) {
            const miVector way = towardTuft(root.point, size, seed_ + RANDOM_TUFT);
            root.tuft = way - root.normal * dot(root.normal, way);
        }
        shape.displacement = shape.length * std::max(0.0f, look_(&P::displacement));
        shape.frequency = look_(&P::displacementFrequency);
        shape.seed = seed_;
        return shape;
    }

    void add(const miVector& texture, const miVector& motion) {
        const miScalar root = 0.5f * std::max(0.0f, look_(&P::rootWidth));
        const miScalar tip = 0.5f * std::max(0.0f, look_(&P::tipWidth));
        numbers_.insert(numbers_.end(), {texture.x, texture.y, texture.z});
        const auto last = static_cast<miScalar>(points_.size() - 1);
        for (std::size_t k = 0; k < points_.size(); ++k) {
            const miVector& p = points_[k];
            const miScalar radius = root + (tip - root) * static_cast<miScalar>(k) / last;
            numbers_.insert(numbers_.end(), {p.x, p.y, p.z, radius});
            if (moves_) numbers_.insert(numbers_.end(), {motion.x, motion.y, motion.z});
        }
        ++hairs_;
    }

    const miMesh* mesh_;
    RootLookups look_;
    miUint seed_;
    int segments_;
    std::vector<double> areas_;
    bool moves_;
    std::vector<miVector> points_; ///< of the hair that is being grown
    std::vector<float> numbers_;
    miUint hairs_ = 0;
};

} // namespace

extern "C" {

DLLEXPORT int velaFurGenerator_version(void) {
    return 1;
}

/// False, with a message, where the surface is no mesh or asks for too many hairs.
DLLEXPORT miBoolean velaFurGenerator(miTag* result, miState* state, VelaFurGeneratorParameters* record) {
    const Mesh mesh(mi_mesh_open(parameterValue(state, record, &P::surface)));
    if (!mesh) {
        mi_error("%s(): \"surface\" names no mesh", name);
        return miFALSE;
    }
    FurGenerator fur(state, record, mesh.get());
    const double wanted = fur.wanted();
    const miInteger most = parameterValue(state, record, &P::mostHairs);
    if (wanted > most || wanted * fur.numbersOfHair() > std::numeric_limits<int>::max()) {
        mi_error(
            "%s(): area and \"density\" ask for %.0f hairs, more than \"mostHairs\" or than one object can "
            "hold",
            name, wanted);
        return miFALSE;
    }
    fur.grow(static_cast<miUint>(wanted));
    if (fur.hairs() == 0) {
        mi_warning("%s(): no hair grows: look at \"density\", \"densityMap\" and \"length\"", name);
        return miTRUE;
    }
    const miTag object = fur.object(parameterValue(state, record, &P::material));
    return object != miNULLTAG && mi_geoshader_add_result(result, object);
}

} // extern "C"

#include "declared/velaFurGenerator.h"
