// SPDX-License-Identifier: Apache-2.0
#include "orcaOceanWaves.h"

#include "orcaConstants.h"
#include "orcaNoise.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace {

constexpr double pi = std::numbers::pi;
constexpr int turbulenceSlots = 16;
constexpr int turbulenceSeeds = 33; // by which an octave of turbulence moves the seed on; groups overlap

/// A point or direction in the ground plane.
struct Ground {
    float x, z;
};
Ground operator+(Ground a, Ground b) {
    return {a.x + b.x, a.z + b.z};
}
Ground operator-(Ground a, Ground b) {
    return {a.x - b.x, a.z - b.z};
}
Ground operator*(Ground a, float f) {
    return {a.x * f, a.z * f};
}
float dot(Ground a, Ground b) {
    return a.x * b.x + a.z * b.z;
}
float length(Ground a) {
    return std::sqrt(dot(a, a));
}

float plainWave(Ground direction, Ground p, float wavelength) {
    const double angle = 2.0 * pi * static_cast<double>(dot(direction, p)) / static_cast<double>(wavelength);
    return wavelength * static_cast<float>(std::cos(angle));
}

/// The sum over octaves, and what one octave leaves to the next.
struct WaveSum {
    float time;
    bool foaming;
    Ground wind;              // unit, or as given when it is next to nothing
    float spread;             // of directions about the wind
    float offsetShare;        // of a wave's travel by which turbulence and foam are carried along
    Ground position;          // pattern units; moved by drift and by peaking
    miInteger seed = 1;       // of the next table value
    float crestWeight = 1.0f; // of an octave's height against the foam threshold
    float foam = 0.0f;

    struct Octave {
        float wavelength, turbulence, peaking;
        float travel; // of the wave since time 0, pattern units
        float lag;    // how far behind a crest its foam still shows, pattern units
        Ground direction{0.0f, 0.0f}, offset{0.0f, 0.0f};
    };
    struct Waves {
        float now, lagging;
    };

    void direct(Octave& octave, bool first, float drift);
    [[nodiscard]] Waves turbulent(const Octave& octave);
    [[nodiscard]] Waves plain(const Octave& octave) const;
    void addFoam(const Octave& octave, const Waves& waves, float amplitude, float foamRate, float foamCutoff,
                 float filterWidth);
};

/// The first octave runs along the wind and carries the pattern along; the others spread about it.
void WaveSum::direct(Octave& octave, bool first, float drift) {
    if (first) {
        octave.direction = wind;
        if (!(length(wind) > VELA_EPS)) return;
        octave.offset = wind * octave.travel;
        position = position - octave.offset * drift;
        return;
    }
    const Ground standing{noise_table_scalar(seed), noise_table_scalar(seed + 1)};
    const Ground random{noise_table_scalar(seed + 2), noise_table_scalar(seed + 3)};
    seed += 4;
    octave.direction = wind + (random - wind) * spread;
    const float l = length(octave.direction);
    if (l > VELA_EPS) {
        octave.direction = octave.direction * (1.0f / l);
        octave.offset = octave.direction * octave.travel;
    } else {
        octave.offset = standing; // meant as it stands: waves of no direction keep their place
    }
}

WaveSum::Waves WaveSum::turbulent(const Octave& octave) {
    constexpr float bandwidth = 0.8f; // shortest wavelength of the group over its longest
    const float longest = octave.wavelength, shortest = bandwidth * octave.wavelength;
    const Ground q = position + octave.offset * offsetShare;
    Ground slope{0.0f, 0.0f};
    Waves waves{ocean_water_turbulence(q.x, q.z, time, longest, shortest, seed, &slope.x, &slope.z), 0.0f};

    // Crests are pinched by moving the point against the slope, the more the higher it lies.
    float shift = 0.0f;
    if (octave.peaking != 0.0f) {
        slope = slope * (0.1f * octave.wavelength);
        const float steepness = length(slope);
        const float rise = (waves.now / octave.wavelength + 2.0f) * 0.25f;
        if (steepness > 0.0f && rise > 0.0f)
            shift = rise * 0.15f * octave.peaking * octave.wavelength / std::sqrt(steepness);
    }
    const bool pinched = shift > VELA_EPS;
    const Ground at = pinched ? q - slope * shift : q;
    if (pinched) {
        waves.now = ocean_water_turbulence(at.x, at.z, time, longest, shortest, seed, nullptr, nullptr);
        position = position - slope * (0.8f * shift);
    }
    if (foaming)
        waves.lagging =
            ocean_water_turbulence(at.x, at.z, time - octave.lag, longest, shortest, seed, nullptr, nullptr);
    seed += turbulenceSeeds;
    return waves;
}

WaveSum::Waves WaveSum::plain(const Octave& octave) const {
    const Ground p = position + octave.offset;
    const Ground behind = p - octave.direction * octave.lag;
    return {plainWave(octave.direction, p, octave.wavelength),
            foaming ? plainWave(octave.direction, behind, octave.wavelength) : 0.0f};
}

/// Foam forms where crests stand above the threshold, lasts a while behind them, and is broken up by noise.
void WaveSum::addFoam(const Octave& octave, const Waves& waves, float amplitude, float foamRate,
                      float foamCutoff, float filterWidth) {
    const float wavelength = octave.wavelength;
    const float resolved = filterWidth < VELA_EPS ? 1.0f : std::min(1.0f, wavelength / (2.0f * filterWidth));
    const float crestLag = (waves.lagging * amplitude / wavelength + 0.25f) * 2.0f * crestWeight;
    const float crestNow = (waves.now * amplitude / wavelength + 0.25f) * 2.0f * crestWeight;
    crestWeight *= 0.96f;

    const auto above = [](float crest, float threshold, float range) {
        if (!(crest > threshold)) return 0.0f;
        return crest > threshold + range ? 1.0f : (crest - threshold) / range;
    };
    const float threshold = 1.0f - foamCutoff;
    foam += 4.0f * resolved * above(crestLag, threshold, 0.2f / foamRate);
    foam += resolved * above(crestNow, threshold + 0.05f, 0.1f / foamRate);
    if (!(foam > VELA_EPS)) return;

    const float scale = 4.0f / VELA_CUBE_SIDE / wavelength;
    const Ground at = (position + octave.offset * offsetShare) * scale;
    const float noise = std::abs(noise_scalar_3d(static_cast<double>(at.x), static_cast<double>(at.z),
                                                 static_cast<double>(scale * (octave.travel + 0.4f))));
    foam = std::max(0.0f, foam - (resolved * 0.8f * noise + (1.0f - resolved) * 0.15f));
}

} // namespace

miScalar oceanWaveSpeed(miScalar wavelength) noexcept {
    return std::sqrt(static_cast<float>(static_cast<double>(wavelength * 0.5f * OCEAN_GRAVITY) / pi));
}

void ocean_prepare(miScalar& patternScale, miScalar& minWavelength, miScalar& maxWavelength,
                   miScalar& octaveCount, miScalar& ratio) {
    constexpr float leastScale = 0.0001f;
    patternScale = std::max(patternScale, leastScale);
    if (minWavelength > maxWavelength) std::swap(minWavelength, maxWavelength);
    minWavelength = std::max(minWavelength, VELA_EPS);
    maxWavelength = std::max(maxWavelength, VELA_EPS);
    octaveCount -= VELA_EPS;
    ratio = minWavelength / maxWavelength;
    if (octaveCount > VELA_EPS) ratio = std::exp(std::log(ratio) / octaveCount);
}

miScalar ocean_water_turbulence(miScalar x, miScalar z, miScalar time, miScalar wavelengthMax,
                                miScalar wavelengthMin, miInteger seed, miScalar* gradientX,
                                miScalar* gradientZ) {
    const bool slopes = gradientX && gradientZ;
    const float step = std::exp(std::log(wavelengthMin / wavelengthMax) / (turbulenceSlots - 1));
    float wavelength = std::max(1e-6f, wavelengthMax);
    float sum = 0.0f, gx = 0.0f, gz = 0.0f;
    for (int slot = 0; slot < turbulenceSlots; ++slot, seed += 3, wavelength *= step) {
        float a = noise_table_scalar(seed), b = noise_table_scalar(seed + 1);
        const float l = std::sqrt(a * a + b * b);
        if (l < VELA_EPS) continue;
        a /= l;
        b /= l;
        const float travel = time * oceanWaveSpeed(wavelength);
        const float phase =
            (a * (x + a * travel) + b * (z + b * travel)) / wavelength + noise_table_scalar(seed + 2);
        const double angle = 2.0 * pi * static_cast<double>(phase);
        sum += static_cast<float>(std::cos(angle)) * wavelength;
        if (!slopes) continue;
        const float s = static_cast<float>(std::sin(angle) * 2.0 * pi / static_cast<double>(wavelength));
        gx += -a * s;
        gz += -b * s;
    }
    constexpr float share = 0.25f; // of each of 16 waves: together they are about as high as a plain one
    if (slopes) {
        *gradientX = gx * share;
        *gradientZ = gz * share;
    }
    return share * sum;
}

void ocean_compute(miScalar x, miScalar z, miScalar time, miScalar* height, miScalar* foam,
                   miScalar patternScale, const miVector* windVector, miScalar driftFactor,
                   miScalar spreadFactor, miScalar octaveCount, miScalar minWavelength,
                   miScalar maxWavelength, const Ramp* heightRamp, const Ramp* turbulenceRamp,
                   const Ramp* peakingRamp, miScalar foamRate, miScalar foamCutoff, miScalar ratio,
                   miScalar filterWidth) {
    if (height) *height = 0.0f;
    if (foam) *foam = 0.0f;
    const int octaves = static_cast<int>(octaveCount + 1.0f);
    if (octaves <= 0) return;

    WaveSum sum{};
    sum.time = time;
    sum.foaming = foam && foamRate > VELA_EPS;
    sum.wind = {windVector->x, windVector->y};
    if (const float l = length(sum.wind); l > VELA_EPS) sum.wind = sum.wind * (1.0f / l);
    sum.spread = spreadFactor;
    sum.offsetShare = spreadFactor > 1.0f ? 0.0f : (1.0f - spreadFactor) * 0.7f;
    sum.position = {x * patternScale, z * patternScale};

    const float range = maxWavelength - minWavelength;
    const float unit = 0.125f / patternScale; // height of a wave per unit of wavelength, world units
    float total = 0.0f;
    float wavelength = maxWavelength;
    for (int i = 0; i < octaves; ++i, wavelength *= ratio) {
        const bool last = i == octaves - 1;
        float t = octaves == 1 ? 0.0f : static_cast<float>(i) / static_cast<float>(octaves - 1);
        if (range >= VELA_EPS) t = (wavelength - minWavelength) / range;
        float amplitude = ramp_get_interp_float(t, heightRamp) * unit;
        if (last) amplitude *= octaveCount - static_cast<float>(i);

        WaveSum::Octave octave{};
        octave.wavelength = wavelength;
        octave.turbulence = ramp_get_interp_float(t, turbulenceRamp);
        octave.peaking = ramp_get_interp_float(t, peakingRamp);
        const float speed = oceanWaveSpeed(wavelength);
        octave.travel = speed * time;
        octave.lag = sum.foaming ? 0.08f * speed : 0.0f;
        sum.direct(octave, i == 0, driftFactor);

        WaveSum::Waves waves{0.0f, 0.0f};
        if (octave.turbulence > VELA_EPS) {
            const WaveSum::Waves turbulent = sum.turbulent(octave);
            waves = {octave.turbulence * turbulent.now, octave.turbulence * turbulent.lagging};
        }
        if (octave.turbulence < 1.0f) {
            const WaveSum::Waves plain = sum.plain(octave);
            waves.now += (1.0f - octave.turbulence) * plain.now;
            waves.lagging += (1.0f - octave.turbulence) * plain.lagging;
        }
        total += waves.now * amplitude;
        if (sum.foaming)
            sum.addFoam(octave, waves, amplitude * patternScale, foamRate, foamCutoff, filterWidth);
    }
    if (height) *height = total;
    if (foam) *foam = sum.foam * 0.5f;
}
