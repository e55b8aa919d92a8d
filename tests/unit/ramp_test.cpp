// SPDX-License-Identifier: Apache-2.0
#include "orcaRamp.h"

#include "scripted_renderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

extern "C" miBoolean velaRamp(miColor*, miState*, void*);

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
    if (upper == distinct.end()) {
        // the span from the last entry to itself
        const Entry& last = distinct.back();
        return last.value;
    }
    const Entry& l = *(upper - 1);
    const Entry& h = *upper;
    const double t = (u - l.position) / (h.position - l.position);
    const bool atEnd = h.position <= u;
    if (l.kind == RAMP_SPLINE) {
        if (atEnd) return h.value;
        const double d = h.position - l.position;
        const Entry before = upper - 1 == distinct.begin() ? Entry{l.position - d, l.value, 0} : *(upper - 2);
        const Entry after = upper + 1 == distinct.end() ? Entry{h.position + d, h.value, 0} : *(upper + 1);
        const double m0 = (h.value - before.value) / (h.position - before.position);
        const double m1 = (after.value - l.value) / (after.position - l.position);
        const double t2 = t * t;
        const double t3 = t2 * t;
        return (2 * t3 - 3 * t2 + 1) * l.value + (t3 - 2 * t2 + t) * d * m0 + (-2 * t3 + 3 * t2) * h.value +
               (t3 - t2) * d * m1;
    }
    if (l.kind == RAMP_NONE) return l.value;
    const double w = atEnd                   ? 1.0
                     : l.kind == RAMP_LINEAR ? t
                     : l.kind == RAMP_SMOOTH ? 0.5 - 0.5 * std::cos(t * std::numbers::pi)
                                             : 0.0;
    return l.value * (1 - w) + h.value * w;
}

/// A parameter array as the renderer lays it out.
template <class E>
struct Array {
    int start, count;
    E elements[64];
};

class Ramps : public ::testing::Test {
protected:
    Ramps() { renderer.state.shader = &shader; }
    Ramp scalarRamp(const std::vector<Entry>& entries, int start = 0, int count = -2) {
        Array<RampScalarEntry> array{start, count == -2 ? static_cast<int>(entries.size()) : count, {}};
        for (std::size_t i = 0; i < entries.size(); ++i)
            array.elements[static_cast<std::size_t>(start) + i] = {static_cast<float>(entries[i].position),
                                                                   static_cast<float>(entries[i].value),
                                                                   entries[i].kind};
        Ramp ramp{};
        ramp_constructor(&ramp, &renderer.state, &array, 0);
        return ramp;
    }
    miFunction shader{}; // nothing connected
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
        const Ramp ramp = scalarRamp(entries);
        for (int k = -4; k <= 28; ++k) {
            const double u = k / 18.0;
            ASSERT_NEAR(ramp_get_interp_float(static_cast<float>(u), &ramp),
                        expectedValue(entries, static_cast<float>(u)), 2e-4)
                << "round " << round << " u " << u;
        }
    }
}

TEST_F(Ramps, ColourChannelsFollowTheScalarCurveAndAlphaIsLeft) {
    Array<RampColorEntry> array{1, 3, {}};
    array.elements[1] = {0.75f, {1, 0, 0.5f, 0.9f}, RAMP_LINEAR};
    array.elements[2] = {0.0f, {0, 1, 0.25f, 0.8f}, RAMP_SPLINE};
    array.elements[3] = {0.25f, {0.5f, 0.5f, 1, 0.7f}, RAMP_SMOOTH};
    Ramp ramp{};
    ramp_constructor(&ramp, &renderer.state, &array, 1);
    const std::vector<Entry> reds = {{0.75, 1, 1}, {0, 0, 3}, {0.25, 0.5, 2}};
    for (const float u : {0.1f, 0.2f, 0.4f, 0.6f}) {
        miColor color{0, 0, 0, 0.125f};
        ramp_get_interp_color(u, &ramp, &color);
        EXPECT_NEAR(color.r, expectedValue(reds, u), 1e-5);
        EXPECT_EQ(color.a, 0.125f);
    }
    miColor whole{};
    ramp_get_interp_color(0.25f, &ramp, &whole); // a spline's end is taken whole
    EXPECT_EQ(whole.a, 0.7f);
    EXPECT_EQ(ramp_get_interp_float(0.5f, &ramp), 0.0f);
}

TEST_F(Ramps, ReadAtMostFiftyEntriesAndNegativeCountsAsFifty) {
    std::vector<Entry> entries;
    for (int i = 0; i < 60; ++i) entries.push_back({i / 60.0, static_cast<double>(i), RAMP_NONE});
    EXPECT_EQ(scalarRamp(entries).count, 50);
    const Ramp negative = scalarRamp(entries, 0, -1);
    EXPECT_EQ(negative.count, 50);
    EXPECT_EQ(ramp_get_interp_float(2.0f, &negative), 49.0f);

    Ramp empty = scalarRamp({});
    EXPECT_EQ(empty.count, 0);
    EXPECT_EQ(ramp_get_interp_float(0.5f, &empty), 0.0f);
    miColor color{1, 1, 1, 1};
    ramp_get_interp_color(0.5f, &negative, &color); // a scalar ramp has no colour
    EXPECT_EQ(color.r + color.a, 0.0f);
    ramp_constructor(&empty, &renderer.state, nullptr, 1);
    EXPECT_EQ(empty.count, 0);
    Ramp full = negative;
    ramp_destructor(&full);
    EXPECT_EQ(full.count, 0);
}

/// Calls without a surface, of lights and environments say, come without texture spaces.
TEST_F(Ramps, AsTexturesStartAtTheOriginWithoutATextureSpace) {
    struct {
        miInteger type;
        miVector coordinate;
        Array<RampColorEntry> entries;
    } record{0, {}, {0, 2, {}}};
    record.entries.elements[0] = {0.0f, {0.25f, 0.5f, 0.75f, 1.0f}, RAMP_LINEAR};
    record.entries.elements[1] = {1.0f, {1.0f, 1.0f, 1.0f, 1.0f}, RAMP_LINEAR};
    renderer.state.tex_list = nullptr;
    miColor color{};
    EXPECT_EQ(velaRamp(&color, &renderer.state, &record), miTRUE);
    EXPECT_EQ(color.r, 0.25f);
    EXPECT_EQ(color.b, 0.75f);
}

} // namespace
