// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <span>
#include <type_traits>

namespace orca::scene {

namespace {

/// The layout where the number after "b" counts bases, not vectors: some files have it so, and only the
/// number of their scalars tells.
VertexLayout countingBases(VertexLayout layout) {
    if (layout.bump < 0) return layout;
    const int more = 6 * layout.bumpCount;
    const auto move = [&](int& offset) {
        if (offset > layout.bump) offset += more;
    };
    for (int* offset : {&layout.normal, &layout.derivatives, &layout.secondDerivatives, &layout.motion})
        move(*offset);
    for (int& offset : layout.texture) move(offset);
    for (int& offset : layout.user) move(offset);
    layout.bumpCount *= 2;
    layout.stride += more;
    return layout;
}

template <class T>
void writeNumbers(SceneWriter& writer, std::span<const T> values) {
    for (const T value : values) {
        if constexpr (std::is_same_v<T, float>) writer.number(value);
        else writer.integer(value);
    }
}

} // namespace

void Reader::readVertexCodes(VertexLayout& layout, const ObjectElement& element,
                             std::span<const std::string_view> known) {
    constexpr int most = 64; // parts of one kind
    const auto claim = [&](int floats) {
        const int offset = layout.stride;
        layout.stride += floats;
        return offset;
    };
    const auto repeated = [&](std::string_view of) {
        const Token at = peek();
        const int count = acceptInteger().value_or(1);
        if (count < 1 || count > most) fail(at, "object \"{}\": {} {} cannot be", element.name, count, of);
        return count;
    };
    const auto dimensions = [&](std::vector<int>& offsets, std::vector<int>& sizes, std::string_view of) {
        const Token at = peek();
        while (const auto dimension = acceptInteger()) {
            if (*dimension < 1 || *dimension > most || sizes.size() >= most) {
                fail(at, "object \"{}\": {} of dimension {} cannot be", element.name, of, *dimension);
            }
            offsets.push_back(claim(*dimension));
            sizes.push_back(*dimension);
        }
        if (sizes.empty()) fail(at, "object \"{}\": the dimension of {} is missing", element.name, of);
    };
    const auto acceptCode = [&](std::string_view code) {
        return std::find(known.begin(), known.end(), code) != known.end() && accept(code);
    };
    for (;;) {
        if (acceptCode("n")) {
            layout.normal = claim(3);
        } else if (acceptCode("d")) {
            layout.derivatives = claim(6);
        } else if (acceptCode("d2")) {
            layout.secondDerivatives = claim(9);
        } else if (acceptCode("b")) {
            // The count is of vectors, two to a basis; a bare "b" is one basis.
            const Token at = peek();
            const int vectors = at.kind == Token::Kind::Integer ? repeated("vectors of bump bases") : 2;
            layout.bumpCount = vectors % 2 == 0 ? vectors / 2 : vectors;
            layout.bump = claim(6 * layout.bumpCount);
        } else if (acceptCode("m")) {
            layout.motionCount = repeated("motion vectors");
            layout.motion = claim(3 * layout.motionCount);
        } else if (acceptCode("r")) {
            layout.radius = claim(1);
        } else if (acceptCode("t")) {
            dimensions(layout.texture, layout.textureDimension, "a texture space");
        } else if (acceptCode("u")) {
            dimensions(layout.user, layout.userDimension, "user data");
        } else {
            return;
        }
    }
}

/// A list in brackets, without them, or as `binaryWord` and blocks of big-endian words between backquotes;
/// the word may be left out. There are `count` numbers, or `otherCount`.
template <class T>
void Reader::readNumberList(std::vector<T>& values, std::size_t count, std::string_view binaryWord,
                            const std::string& what, std::size_t otherCount) {
    {
        const SceneWriter::Pause pause(stream_.writer()); // it is written as a list in brackets
        if (accept(binaryWord) && peek().kind == Token::Kind::Integer) next(); // the count once more
    }
    const bool bracket = accept('[');
    SceneWriter* const writer = stream_.writer();
    if (writer && !bracket) writer->mark('[');
    const std::size_t most = std::max(count, otherCount);
    const auto left = [&](std::size_t of) { return of - std::min(of, values.size()); };
    const bool bare = !bracket && peek().isNumber();
    if (!bracket && !bare && peek().kind != Token::Kind::Backquote)
        fail(peek(), "expected {} in brackets or as a binary block, not {}", what, peek().shown());
    for (;;) {
        T value{};
        bool isValue = false;
        if constexpr (std::is_same_v<T, float>) {
            isValue = (bracket || (bare && left(most) > 0)) && stream_.nextNumber(value);
        } else {
            isValue = (bracket || (bare && left(most) > 0)) && stream_.nextInteger(value);
        }
        if (isValue && values.size() < most) {
            values.push_back(value);
        } else if (isValue) {
            fail(peek(), "{}: there are more than the {} numbers that its counts ask for", what, count);
        } else if (peek().kind == Token::Kind::Backquote && (bracket || left(most) > 0)) {
            next();
            const std::string_view bytes =
                stream_.binaryBlock({4 * left(count), 4 * left(otherCount)}, what.c_str());
            if (bytes.size() / 4 > left(most))
                fail(peek(), "{}: there are more than the {} numbers that its counts ask for", what, count);
            for (std::size_t at = 0; at + 4 <= bytes.size(); at += 4)
                values.push_back(std::bit_cast<T>(bigEndianWord(bytes.data() + at)));
            if (writer) writeNumbers<T>(*writer, std::span(values).last(bytes.size() / 4));
        } else if (!bracket || !accept(',')) {
            break;
        }
    }
    if (values.size() != count && values.size() != otherCount) {
        fail(peek(), "{}: {} numbers are needed, but {} follows after {}", what, count, peek().shown(),
             values.size());
    }
    if (bracket) expect(']', what);
    else if (writer) writer->mark(']');
}

template void Reader::readNumberList(std::vector<float>&, std::size_t, std::string_view, const std::string&,
                                     std::size_t);
template void Reader::readNumberList(std::vector<std::int32_t>&, std::size_t, std::string_view,
                                     const std::string&, std::size_t);

void Reader::readTriangleList(ObjectElement& element, const Token& token) {
    constexpr int most = 1 << 28; // vertices, triangles
    TriangleList list;
    const auto count = [&](std::string_view of) {
        const Token at = peek();
        const int value = integer(of);
        if (value < 0 || value > most) fail(at, "object \"{}\": {} cannot be {}", element.name, of, value);
        return static_cast<std::size_t>(value);
    };
    if (!accept("vertex")) fail(peek(), "expected \"vertex\" after \"trilist\", not {}", peek().shown());
    const std::size_t vertices = count("the number of vertices");
    if (!accept("p")) {
        fail(peek(), "object \"{}\": vertices of a trilist begin with \"p\", not {}", element.name,
             peek().shown());
    }
    constexpr std::array<std::string_view, 7> codes = {"n", "d", "d2", "b", "m", "t", "u"};
    readVertexCodes(list.layout, element, codes);
    if (!accept("triangle")) {
        fail(peek(), "object \"{}\": expected a vertex code (p n d d2 b m t u) or \"triangle\", not {}",
             element.name, peek().shown());
    }
    const std::size_t triangles = count("the number of triangles");
    const std::size_t border =
        peek().kind == Token::Kind::Integer ? count("the number of border triangles") : 0;
    list.vertexCount = static_cast<std::uint32_t>(vertices);
    const std::string owner = fmt::format("object \"{}\", ", element.name);
    const VertexLayout otherLayout = countingBases(list.layout);
    readNumberList(list.vertices, vertices * static_cast<std::size_t>(list.layout.stride), "scalar",
                   owner + "vertices of the trilist",
                   vertices * static_cast<std::size_t>(otherLayout.stride));
    if (list.vertices.size() != vertices * static_cast<std::size_t>(list.layout.stride))
        list.layout = otherLayout;
    const std::size_t words = element.tagged ? 4 : 3;
    std::vector<std::int32_t> indices;
    readNumberList(indices, triangles * words, "integer", owner + "triangles of the trilist");
    if (!peek().isWord("end")) {
        std::vector<std::int32_t> dropped; // displacement's neighbours only
        readNumberList(dropped, border * words, "integer", owner + "border triangles of the trilist");
    }
    expectEnd("trilist");
    list.indices.reserve(triangles * 3);
    for (std::size_t i = 0; i < indices.size(); i += words) {
        if (element.tagged) list.labels.push_back(indices[i]);
        for (std::size_t corner = words - 3; corner < words; ++corner) {
            list.indices.push_back(static_cast<std::uint32_t>(indices[i + corner]));
        }
    }
    checkTriangles(element, list, locationOf(token));
    element.triangleLists.push_back(std::move(list));
}

/// Drops triangles that name missing vertices; refuses vertices that are not finite.
void Reader::checkTriangles(const ObjectElement& element, TriangleList& list,
                            const SourceLocation& location) {
    for (std::size_t i = 0; i < list.vertices.size(); ++i) {
        if (std::isfinite(list.vertices[i])) continue;
        error(location, "object \"{}\": vertex {} of the trilist has a number that is not finite",
              element.name, i / list.layout.stride);
        list.indices.clear();
        list.labels.clear();
        list.vertices.clear();
        list.vertexCount = 0;
        return;
    }
    std::size_t kept = 0;
    const std::size_t triangles = list.indices.size() / 3;
    std::size_t firstWrong = triangles;
    for (std::size_t t = 0; t < triangles; ++t) {
        const std::uint32_t* corners = &list.indices[3 * t];
        if (corners[0] >= list.vertexCount || corners[1] >= list.vertexCount ||
            corners[2] >= list.vertexCount) {
            if (firstWrong == triangles) firstWrong = t;
            continue;
        }
        std::copy_n(corners, 3, &list.indices[3 * kept]);
        if (!list.labels.empty()) list.labels[kept] = list.labels[t];
        ++kept;
    }
    if (firstWrong == triangles) return;
    error(location,
          "object \"{}\": triangle {} of the trilist takes a vertex beyond the {} there are (counted from 0)",
          element.name, firstWrong, list.vertexCount);
    list.indices.resize(3 * kept);
    if (!list.labels.empty()) list.labels.resize(kept);
}

} // namespace orca::scene
