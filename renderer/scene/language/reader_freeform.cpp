// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

#include <algorithm>
#include <cmath>

namespace orca::scene {

namespace {

/// A position vector of a vertex that is known to exist.
const miVector& positionOf(const PolygonGroup& group, std::int32_t vertex) {
    return group.vectors[static_cast<std::size_t>(group.position[static_cast<std::size_t>(vertex)])];
}

template <class T>
std::size_t indexOf(const std::vector<T>& named, std::string_view name) {
    std::size_t i = named.size(); // the last of that name
    while (i > 0 && named[i - 1].name != name) --i;
    return i == 0 ? named.size() : i - 1;
}

} // namespace

/// Reads what follows the word "basis".
void Reader::readBasis() {
    const std::string known = name("a basis");
    Basis basis;
    basis.rational = accept("rational");
    const Token kind = next();
    const auto degree = [&] {
        const Token at = peek();
        basis.degree = integer("the basis's degree");
        if (basis.degree < 1 || basis.degree > Basis::highestDegree)
            fail(at, "basis \"{}\": the degree must be from 1 to {}, not {}", known, Basis::highestDegree,
                 basis.degree);
    };
    if (kind.isWord("bezier")) {
        basis.kind = Basis::Kind::Bezier;
        degree();
        basis.step = basis.degree;
    } else if (kind.isWord("bspline")) {
        basis.kind = Basis::Kind::BSpline;
        degree();
    } else if (kind.isWord("cardinal")) {
        basis.kind = Basis::Kind::Cardinal;
        const Token at = peek();
        basis.degree = acceptInteger().value_or(3);
        if (basis.degree != 3) fail(at, "basis \"{}\": cardinal splines have degree 3", known);
    } else if (kind.isWord("taylor")) {
        basis.kind = Basis::Kind::Taylor;
        degree();
        basis.step = basis.degree + 1;
    } else if (kind.isWord("matrix")) {
        basis.kind = Basis::Kind::Matrix;
        degree();
        basis.step = positiveInteger("the step of the basis");
        const int coefficients = (basis.degree + 1) * (basis.degree + 1);
        for (int i = 0; i < coefficients; ++i)
            basis.matrix.push_back(number("the coefficients of the basis, (degree + 1) x (degree + 1)"));
    } else {
        fail(kind, "basis \"{}\": expected bezier, bspline, cardinal, taylor or matrix, not {}", known,
             kind.shown());
    }
    bases_[known] = basis;
}

/// Reads a basis's name, the range that is used, and the parameters. Where vertices follow, an integer ends
/// the parameters; where a name follows, they may be integers themselves.
/// @param forCurve no range is given: all of the curve is used
SplineDirection Reader::readDirection(const std::string& owner, bool forCurve, bool verticesFollow) {
    SplineDirection direction;
    const bool rational = accept("rational");
    const Token known = nameToken("a basis");
    const auto basis = bases_.find(known.text);
    if (basis == bases_.end())
        fail(known, "{}: basis \"{}\" is not defined in this object before this place", owner, known.text);
    direction.basis = basis->second;
    direction.basis.rational = direction.basis.rational || rational;
    const Token rangeAt = peek();
    if (!forCurve) {
        direction.low = number("the start of the parameter's range");
        direction.high = number("the end of the parameter's range");
    }
    const Token at = peek();
    std::vector<float>& parameters = direction.parameters;
    while (peek().kind == Token::Kind::Float || (!verticesFollow && peek().isNumber()))
        parameters.push_back(next().number);
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        if (!std::isfinite(parameters[i])) fail(at, "{}: parameter {} is not finite", owner, i);
        if (i > 0 && parameters[i] < parameters[i - 1])
            fail(at, "{}: parameters must not decrease, but {} follows {}", owner, parameters[i],
                 parameters[i - 1]);
    }
    if (direction.basis.pointsFor(parameters.size()) == 0) {
        const bool isSpline = direction.basis.kind == Basis::Kind::BSpline;
        fail(at, "{}: basis \"{}\" needs at least {} {}, but {} are given{}", owner, known.text,
             isSpline ? 2 * (direction.basis.degree + 1) : 2, isSpline ? "knots" : "parameters",
             parameters.size(),
             verticesFollow ? "; they are written with a decimal point, which sets them off from the vertices"
                            : "");
    }
    const float first = direction.firstParameter(), last = direction.lastParameter();
    if (!(first < last)) fail(at, "{}: the parameters span no range", owner);
    const auto order = static_cast<std::size_t>(direction.basis.degree) + 1;
    if (direction.basis.kind == Basis::Kind::BSpline) {
        for (std::size_t i = order; i < parameters.size(); ++i)
            if (parameters[i] == parameters[i - order])
                fail(at, "{}: knot {} is given more than {} times, the degree plus 1", owner, parameters[i],
                     order);
    } else if (std::adjacent_find(parameters.begin(), parameters.end()) != parameters.end()) {
        fail(at, "{}: a parameter is given twice, which makes a segment without length", owner);
    }
    if (forCurve) {
        direction.low = first;
        direction.high = last;
    } else if (!(direction.low < direction.high) || direction.low < first || direction.high > last) {
        fail(rangeAt, "{}: the range {} to {} does not lie in that of the parameters, {} to {}", owner,
             direction.low, direction.high, first, last);
    }
    return direction;
}

/// Reads vertex numbers, with weights where the basis is rational: a number with a decimal point, or any
/// after "w".
ControlNet Reader::readControlNet(const PolygonGroup& group, const std::string& owner, bool rational,
                                  std::size_t count, std::vector<std::int32_t>* vertices) {
    ControlNet net;
    const Token start = peek();
    while (peek().kind == Token::Kind::Integer) {
        const Token at = next();
        if (!at.fitsInteger || at.integer < 0 ||
            static_cast<std::size_t>(at.integer) >= group.position.size())
            fail(at, "{}: vertex {} is asked for, but there are {}, counted from 0", owner, at.text,
                 group.position.size());
        net.points.push_back(positionOf(group, at.integer));
        if (vertices) vertices->push_back(at.integer);
        float weight = 1.0f;
        const Token weightAt = peek();
        if (accept("w")) {
            weight = number("the weight");
        } else if (weightAt.kind == Token::Kind::Float) {
            weight = next().number;
        } else if (!rational) {
            continue;
        }
        if (!rational)
            fail(weightAt, "{}: control point {} has a weight, but the basis is not rational", owner,
                 net.points.size() - 1);
        if (!(weight > 0.0f) || !std::isfinite(weight))
            fail(weightAt, "{}: the weight of control point {} must be above 0", owner,
                 net.points.size() - 1);
        net.weights.push_back(weight);
    }
    if (net.points.size() != count)
        fail(start, "{}: the parameters go with {} control points, but {} are given", owner, count,
             net.points.size());
    return net;
}

void Reader::readCurve(const PolygonGroup& group, ObjectElement& element, const Token& word) {
    SplineCurve curve;
    curve.location = locationOf(word);
    curve.name = name("a curve");
    const std::string owner = fmt::format("object \"{}\", curve \"{}\"", element.name, curve.name);
    curve.direction = readDirection(owner, true, true);
    const Basis& basis = curve.direction.basis;
    curve.net =
        readControlNet(group, owner, basis.rational, basis.pointsFor(curve.direction.parameters.size()));
    if (accept("special")) {
        while (atNumber()) {
            const Token at = next();
            if (!(at.number >= curve.direction.low && at.number <= curve.direction.high))
                fail(at, "{}: special parameter {} does not lie on the curve, which goes from {} to {}",
                     owner, at.number, curve.direction.low, curve.direction.high);
            curve.special.push_back(at.number);
        }
    }
    element.curves.push_back(std::move(curve));
}

FreeformSurface::CurvePart Reader::readCurvePart(const ObjectElement& element, const std::string& owner) {
    const Token known = nameToken("a curve");
    const std::size_t index = indexOf(element.curves, known.text);
    if (index == element.curves.size())
        fail(known, "{}: curve \"{}\" is not defined in this object before this place", owner, known.text);
    const SplineDirection& direction = element.curves[index].direction;
    const Token at = peek();
    const float low = number("where on the curve the part starts");
    const float high = number("where on the curve the part ends");
    const auto isOn = [&](float t) { return t >= direction.low && t <= direction.high; };
    if (!isOn(low) || !isOn(high) || low == high)
        fail(at, "{}: the part {} to {} does not lie on curve \"{}\", which goes from {} to {}", owner, low,
             high, known.text, direction.low, direction.high);
    return {static_cast<std::uint32_t>(index), low, high};
}

void Reader::readTrimLoop(const ObjectElement& element, FreeformSurface& surface, const std::string& owner,
                          const Token& word) {
    using Kind = FreeformSurface::Loop::Kind;
    FreeformSurface::Loop loop;
    loop.kind = word.isWord("trim") ? Kind::Trim : word.isWord("hole") ? Kind::Hole : Kind::Special;
    loop.location = locationOf(word);
    do {
        loop.parts.push_back(readCurvePart(element, owner));
    } while (peek().isName() && peek(1).isNumber() && peek(2).isNumber());
    surface.loops.push_back(std::move(loop));
}

void Reader::readSurface(const PolygonGroup& group, ObjectElement& element, const Token& word) {
    FreeformSurface surface;
    surface.location = locationOf(word);
    surface.name = name("a surface");
    const std::string owner = fmt::format("object \"{}\", surface \"{}\"", element.name, surface.name);
    const bool namesMaterial = !peek(1).isNumber() && !peek().isWord("rational");
    if (element.tagged || namesMaterial)
        readMaterialOrLabel(element, "surfaces", surface.material, surface.label);
    surface.u = readDirection(owner, false, false);
    surface.v = readDirection(owner, false, true);
    const auto pointsFor = [](const SplineDirection& u, const SplineDirection& v) {
        return u.basis.pointsFor(u.parameters.size()) * v.basis.pointsFor(v.parameters.size());
    };
    std::vector<std::int32_t> vertices;
    surface.net = readControlNet(group, owner, surface.u.basis.rational || surface.v.basis.rational,
                                 pointsFor(surface.u, surface.v), &vertices);
    for (const auto& motion : group.motions) {
        std::vector<miVector>& segment = surface.motions.emplace_back();
        for (const std::int32_t vertex : vertices) {
            const std::int32_t vector = motion.empty() ? -1 : motion[static_cast<std::size_t>(vertex)];
            segment.push_back(vector < 0 ? miVector{0, 0, 0}
                                         : group.vectors[static_cast<std::size_t>(vector)]);
        }
    }
    for (;;) {
        const Token part = peek();
        if (part.isWord("trim") || part.isWord("hole") || part.isWord("special")) {
            next();
            readTrimLoop(element, surface, owner, part);
        } else if (part.isWord("derivative")) {
            next();
            while (acceptInteger()) surface.derivatives = true;
        } else if (part.isWord("volume") || part.isWord("vector") || part.isWord("texture")) {
            accept("volume");
            accept("vector");
            if (!accept("texture")) fail(peek(), "{}: expected \"texture\", not {}", owner, peek().shown());
            FreeformSurface::TextureSurface texture;
            const std::string of = owner + ", texture surface";
            texture.u = readDirection(of, false, false);
            texture.v = readDirection(of, false, true);
            texture.net = readControlNet(group, of, texture.u.basis.rational || texture.v.basis.rational,
                                         pointsFor(texture.u, texture.v));
            surface.textures.push_back(std::move(texture));
        } else {
            break;
        }
    }
    element.freeformSurfaces.push_back(std::move(surface));
}

/// Reads what follows the word "connect".
void Reader::readConnection(ObjectElement& element, const Token& word) {
    const std::string owner = fmt::format("object \"{}\", connect", element.name);
    const auto side = [&] {
        const Token known = nameToken("a surface");
        const std::size_t index = indexOf(element.freeformSurfaces, known.text);
        if (index == element.freeformSurfaces.size())
            fail(known, "{}: surface \"{}\" is not defined in this object before this place", owner,
                 known.text);
        return SurfaceConnection::Side{static_cast<std::uint32_t>(index), readCurvePart(element, owner)};
    };
    const SurfaceConnection::Side first = side();
    element.connections.push_back({first, side(), locationOf(word)});
}

} // namespace orca::scene
