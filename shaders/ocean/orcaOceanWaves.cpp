// SPDX-License-Identifier: Apache-2.0
#include "orcaOceanWaves.h"

#include "orcaConstants.h"
#include "orcaNoise.h"
#include "orcaOceanTurbulence.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace {

constexpr double pi = std::numbers::pi;
constexpr int turbulenceSeeds = 33;    // by which an octave of turbulence moves the seed on; groups overlap
constexpr float turbulenceBand = 0.8f; // shortest wavelength of a group over its longest

using Ground = OceanWaves::Ground;
using Octave = OceanWaves::Octave;

constexpr Ground operator+(Ground a, Ground b) {
    return {a.x + b.x, a.z + b.z};
}
constexpr Ground operator-(Ground a, Ground b) {
    return {a.x - b.x, a.z - b.z};
}
constexpr Ground operator*(Ground a, float f) {
    return {a.x * f, a.z * f};
}
constexpr float dot(Ground a, Ground b) {
    return a.x * b.x + a.z * b.z;
}
float length(Ground a) {
    return std::sqrt(dot(a, a));
}

float plainWave(Ground direction, Ground p, float wavelength) {
    const double angle = 2.0 * pi * static_cast<double>(dot(direction, p)) / static_cast<double>(wavelength);
    return wavelength * static_cast<float>(std::cos(angle));
}

/// A fraction counts as one octave. Limited, so that no scene stalls.
int wholeOctaves(float count) {
    constexpr float most = 1000.0f;
    return count + 1.0f > 0.0f ? static_cast<int>(std::min(count + 1.0f, most)) : 0;
}

/// An octave's height now, and a while ago, when its foam formed.
struct Heights {
    float now, lagging;
};

/// Also moves `position` where it pinches crests.
Heights turbulentWaves(const Octave& octave, Ground& position, float offsetShare, float time, bool foaming) {
    const OceanTurbulence& group =
        oceanTurbulence(octave.wavelength, turbulenceBand * octave.wavelength, octave.seed);
    const Ground q = position + octave.offset * offsetShare;
    Ground at = q;
    Heights heights{0.0f, 0.0f};
    if (octave.peaking == 0.0f) {
        heights.now = group.height(q.x, q.z, time);
    } else {
        // Crests are pinched by moving the point against the slope, in proportion to its height.
        Ground slope{0.0f, 0.0f};
        heights.now = group.heightAndSlopes(q.x, q.z, time, slope.x, slope.z);
        slope = slope * (0.1f * octave.wavelength);
        const float steepness = length(slope);
        const float rise = (heights.now / octave.wavelength + 2.0f) * 0.25f;
        float shift = 0.0f;
        if (steepness > 0.0f && rise > 0.0f)
            shift = rise * 0.15f * octave.peaking * octave.wavelength / std::sqrt(steepness);
        if (shift > VELA_EPS) {
            at = q - slope * shift;
            heights.now = group.height(at.x, at.z, time);
            position = position - slope * (0.8f * shift);
        }
    }
    // Intended: the lag is a length and is used as a time here.
    if (foaming) heights.lagging = group.height(at.x, at.z, time - octave.lag);
    return heights;
}

Heights plainWaves(const Octave& octave, Ground position, bool foaming) {
    const Ground p = position + octave.offset;
    const Ground behind = p - octave.direction * octave.lag;
    return {plainWave(octave.direction, p, octave.wavelength),
            foaming ? plainWave(octave.direction, behind, octave.wavelength) : 0.0f};
}

/// Foam of the octaves so far.
class Foam {
public:
    Foam(float rate, float cutoff, float filterWidth)
        : rate_(rate), threshold_(1.0f - cutoff), filterWidth_(filterWidth) {}

    /// Foam forms where crests exceed the threshold, persists behind them, and is broken up by noise.
    /// @param amplitude of the heights, pattern units
    void add(const Octave& octave, const Heights& heights, float amplitude, Ground noiseAt) {
        const float wavelength = octave.wavelength;
        const float resolved =
            filterWidth_ < VELA_EPS ? 1.0f : std::min(1.0f, wavelength / (2.0f * filterWidth_));
        const float crestLag = (heights.lagging * amplitude / wavelength + 0.25f) * 2.0f * crestWeight_;
        const float crestNow = (heights.now * amplitude / wavelength + 0.25f) * 2.0f * crestWeight_;
        crestWeight_ *= 0.96f;
        amount_ += 4.0f * resolved * above(crestLag, threshold_, 0.2f / rate_);
        amount_ += resolved * above(crestNow, threshold_ + 0.05f, 0.1f / rate_);
        if (!(amount_ > VELA_EPS)) return;

        const float scale = 4.0f / VELA_CUBE_SIDE / wavelength;
        const float noise = std::abs(noise_scalar_3d(static_cast<double>(scale * noiseAt.x),
                                                     static_cast<double>(scale * noiseAt.z),
                                                     static_cast<double>(scale * (octave.travel + 0.4f))));
        amount_ = std::max(0.0f, amount_ - (resolved * 0.8f * noise + (1.0f - resolved) * 0.15f));
    }
    [[nodiscard]] float amount() const noexcept { return amount_; }

private:
    static float above(float crest, float threshold, float range) {
        if (!(crest > threshold)) return 0.0f;
        return crest > threshold + range ? 1.0f : (crest - threshold) / range;
    }

    float rate_, threshold_, filterWidth_;
    float crestWeight_ = 1.0f;
    float amount_ = 0.0f;
};

} // namespace

miScalar oceanWaveSpeed(miScalar wavelength) noexcept {
    return std::sqrt(static_cast<float>(static_cast<double>(wavelength * 0.5f * OCEAN_GRAVITY) / pi));
}

// --- octaves

OceanWaves::Series::Series(const OceanWaveField& field)
    : field_(field),
      octaves_(wholeOctaves(field.octaveCount)),
      wind_{field.wind.x, field.wind.y},
      wavelength_(field.maxWavelength) {
    if (const float l = length(wind_); l > VELA_EPS) wind_ = wind_ * (1.0f / l);
}

bool OceanWaves::Series::next(Octave& octave) {
    if (index_ >= octaves_) return false;
    const int i = index_++;
    const bool last = i == octaves_ - 1;
    const float range = field_.maxWavelength - field_.minWavelength;
    float t = octaves_ == 1 ? 0.0f : static_cast<float>(i) / static_cast<float>(octaves_ - 1);
    if (range >= VELA_EPS) t = (wavelength_ - field_.minWavelength) / range;

    octave = {};
    octave.wavelength = wavelength_;
    octave.amplitude = ramp_get_interp_float(t, field_.heightRamp) * (0.125f / field_.patternScale);
    if (last) octave.amplitude *= std::min(1.0f, field_.octaveCount - static_cast<float>(i));
    octave.turbulence = ramp_get_interp_float(t, field_.turbulenceRamp);
    octave.peaking = ramp_get_interp_float(t, field_.peakingRamp);
    const float speed = oceanWaveSpeed(wavelength_);
    octave.travel = speed * field_.time;
    octave.lag = 0.08f * speed;
    direct(octave, i == 0);
    octave.seed = seed_;
    if (octave.turbulence > VELA_EPS) seed_ += turbulenceSeeds;
    wavelength_ *= field_.ratio;
    return true;
}

/// The first octave runs along the wind and drifts the pattern; the others spread around it.
void OceanWaves::Series::direct(Octave& octave, bool first) {
    if (first) {
        octave.direction = wind_;
        if (!(length(wind_) > VELA_EPS)) return;
        octave.offset = wind_ * octave.travel;
        octave.drift = octave.offset * field_.driftFactor;
        return;
    }
    const Ground standing{noise_table_scalar(seed_), noise_table_scalar(seed_ + 1)};
    const Ground random{noise_table_scalar(seed_ + 2), noise_table_scalar(seed_ + 3)};
    seed_ += 4;
    octave.direction = wind_ + (random - wind_) * field_.spreadFactor;
    const float l = length(octave.direction);
    if (l > VELA_EPS) {
        octave.direction = octave.direction * (1.0f / l);
        octave.offset = octave.direction * octave.travel;
    } else {
        octave.offset = standing; // intended: waves without direction do not travel
    }
}

// --- the sum

OceanWaves::OceanWaves(const OceanWaveField& field) : field_(field), rest_(field_) {
    while (kept_ < mostKept && rest_.next(octaves_[static_cast<std::size_t>(kept_)])) ++kept_;
}

void OceanWaves::at(miScalar x, miScalar z, miScalar* height, miScalar* foam, miScalar filterWidth) const {
    const float offsetShare = field_.spreadFactor > 1.0f ? 0.0f : (1.0f - field_.spreadFactor) * 0.7f;
    const bool foaming = foam && field_.foamRate > VELA_EPS;
    Foam foamSum(field_.foamRate, field_.foamCutoff, filterWidth);
    Ground position{x * field_.patternScale, z * field_.patternScale};
    float total = 0.0f;
    const auto add = [&](const Octave& octave) {
        position = position - octave.drift;
        Heights heights{0.0f, 0.0f};
        if (octave.turbulence > VELA_EPS) {
            const Heights turbulent = turbulentWaves(octave, position, offsetShare, field_.time, foaming);
            heights = {octave.turbulence * turbulent.now, octave.turbulence * turbulent.lagging};
        }
        if (octave.turbulence < 1.0f) {
            const Heights plain = plainWaves(octave, position, foaming);
            heights.now += (1.0f - octave.turbulence) * plain.now;
            heights.lagging += (1.0f - octave.turbulence) * plain.lagging;
        }
        total += heights.now * octave.amplitude;
        if (foaming)
            foamSum.add(octave, heights, octave.amplitude * field_.patternScale,
                        position + octave.offset * offsetShare);
    };
    for (int i = 0; i < kept_; ++i) add(octaves_[static_cast<std::size_t>(i)]);
    Octave octave;
    for (Series rest = rest_; rest.next(octave);) add(octave);
    if (height) *height = total;
    if (foam) *foam = 0.5f * foamSum.amount();
}

// --- entry points

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
    const OceanTurbulence& group = oceanTurbulence(wavelengthMax, wavelengthMin, seed);
    if (!gradientX || !gradientZ) return group.height(x, z, time);
    return group.heightAndSlopes(x, z, time, *gradientX, *gradientZ);
}

void ocean_compute(miScalar x, miScalar z, miScalar time, miScalar* height, miScalar* foam,
                   miScalar patternScale, const miVector* windVector, miScalar driftFactor,
                   miScalar spreadFactor, miScalar octaveCount, miScalar minWavelength,
                   miScalar maxWavelength, const Ramp* heightRamp, const Ramp* turbulenceRamp,
                   const Ramp* peakingRamp, miScalar foamRate, miScalar foamCutoff, miScalar ratio,
                   miScalar filterWidth) {
    const OceanWaves waves({time, patternScale, *windVector, driftFactor, spreadFactor, octaveCount,
                            minWavelength, maxWavelength, ratio, heightRamp, turbulenceRamp, peakingRamp,
                            foamRate, foamCutoff});
    waves.at(x, z, height, foam, filterWidth);
}
