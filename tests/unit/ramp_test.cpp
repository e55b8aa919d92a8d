// SPDX-License-Identifier: Apache-2.0
#include "orcaRamp.h"

#include "scripted_renderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace {

struct Entry {
    double position, value;
    int kind;
};

/// An independent ramp in double precision: entries are sorted first, spans found by bisection.
double expectedValue(std::vector<Entry> entries, double u) {
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.position < b.position; });
    std::vector<Entry> distinct; // of equal positions the first given
    for (const Entry& e : entries)
        if (distinct.empty() || distinct.back().position != e.position) distinct.push_back(e);
    const auto upper =
        std::find_if(distinct.begin(), distinct.end(), [&](const Entry& e) { return e.position >= u; });
    if (upper == distinct.begin()) return distinct.front().value;
    if (upper == distinct.end()) return distinct.back().value;
    const Entry &l = *(upper - 1), &h = *upper;
    const double d = h.position - l.position, t = (u - l.position) / d;
    if (l.kind == RAMP_NONE) return l.value;
    if (h.position <= u) return h.value;
    if (l.kind == RAMP_SPLINE) {
        const Entry before = upper - 1 == distinct.begin() ? Entry{l.position - d, l.value, 0} : *(upper - 2);
        const Entry after = upper + 1 == distinct.end() ? Entry{h.position + d, h.value, 0} : *(upper + 1);
        const double m0 = (h.value - before.value) / (h.position - before.position);
        const double m1 = (after.value - l.value) / (after.position - l.position);
        const double t2 = t * t, t3 = t2 * t;
        return (2 * t3 - 3 * t2 + 1) * l.value + (t3 - 2 * t2 + t) * d * m0 + (-2 * t3 + 3 * t2) * h.value +
               (t3 - t2) * d * m1;
    }
    const double w = l.kind == RAMP_LINEAR   ? t
                     : l.kind == RAMP_SMOOTH ? 0.5 - 0.5 * std::cos(t * std::numbers::pi)
                                             : 0.0;
    return l.value * (1 - w) + h.value * w;
}

/// A parameter array as the renderer lays it out.
template <class E>
struct Array {
    int start = 0, count = 0;
    E elements[64]{};
};

class Ramps : public ::testing::Test {
protected:
    /// A ramp of colours, whose channels are multiples of the values, or of scalars.
    template <class E>
    Ramp ramp(const std::vector<Entry>& entries, int count, bool connected) {
        constexpr bool isColor = std::is_same_v<E, RampColorEntry>;
        ScriptedShader<Array<E>> shader;
        Array<E>& array = shader.parameters;
        array.start = 2;
        array.count = count;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            E entry{static_cast<float>(entries[i].position), {}, entries[i].kind};
            const auto v = static_cast<float>(entries[i].value);
            if constexpr (isColor) entry.value = {v, 2 * v, 3 * v, 4 * v};
            else entry.value = v;
            E& place = array.elements[2 + i];
            const auto set = [&](auto& field, const auto& value) {
                if (!connected) {
                    field = value;
                    return;
                }
                shader.connect(&field);
                renderer.setComputed(&field, value);
            };
            set(place.position, entry.position);
            set(place.value, entry.value);
            set(place.interpolation, entry.interpolation);
        }
        renderer.state.shader = &shader.function;
        Ramp made{};
        ramp_constructor(&made, &renderer.state, &array, isColor);
        return made;
    }
    ScriptedRenderer renderer;
};

TEST_F(Ramps, AgreeWithAnIndependentFormulationOverRandomEntries) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> grid(0, 24), kinds(-1, 4), counts(1, 12);
    std::uniform_real_distribution<double> values(-2, 2);
    for (int round = 0; round < 400; ++round) {
        std::vector<Entry> entries;
        for (int i = counts(random); i > 0; --i)
            entries.push_back({grid(random) / 16.0, values(random), kinds(random)});
        const int count = static_cast<int>(entries.size());
        const Ramp scalars = ramp<RampScalarEntry>(entries, count, round % 8 == 0);
        const Ramp colors = ramp<RampColorEntry>(entries, count, round % 8 == 0);
        for (int k = -4; k <= 28; ++k) {
            const auto u = static_cast<float>(k / 18.0);
            const double wanted = expectedValue(entries, u);
            miColor color{};
            ramp_get_interp_color(u, &colors, &color);
            ASSERT_NEAR(ramp_get_interp_float(u, &scalars), wanted, 2e-4) << "round " << round << " u " << u;
            ASSERT_NEAR(color.r, wanted, 2e-4);
            ASSERT_NEAR(color.g, 2 * wanted, 4e-4);
            ASSERT_NEAR(color.b, 3 * wanted, 6e-4);
        }
    }
}

TEST_F(Ramps, ReadAtMostFiftyEntriesAndNegativeCountsAsFifty) {
    std::vector<Entry> entries;
    for (int i = 0; i < 60; ++i) entries.push_back({i / 60.0, static_cast<double>(i), RAMP_NONE});
    for (const auto& [given, count] : {std::pair{60, 50}, {-1, 50}, {0, 0}}) {
        Ramp scalars = ramp<RampScalarEntry>(entries, given, false);
        EXPECT_EQ(scalars.count, count);
        EXPECT_EQ(ramp_get_interp_float(2.0f, &scalars), count == 0 ? 0.0f : 49.0f);
        miColor color{1, 1, 1, 1};
        ramp_get_interp_color(0.5f, &scalars, &color); // a scalar ramp has no colour
        EXPECT_EQ(color.r + color.a, 0.0f);
        const Ramp colors = ramp<RampColorEntry>(entries, given, false);
        EXPECT_EQ(ramp_get_interp_float(2.0f, &colors), 0.0f);
        ramp_constructor(&scalars, &renderer.state, nullptr, 1);
        EXPECT_EQ(scalars.count, 0);
    }
    Ramp full = ramp<RampScalarEntry>(entries, 5, false);
    ramp_destructor(&full);
    EXPECT_EQ(full.count, 0);
}

} // namespace
