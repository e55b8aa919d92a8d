// SPDX-License-Identifier: Apache-2.0
#include "oracle/pipeline_oracle.h"

#include <algorithm>
#include <cmath>

namespace reference {

namespace {

constexpr double epsilon = 1e-5;
constexpr int eyeRay = 0, environmentRay = 6, shadowRay = 5;

/// What the render modes ask for; 7 stands for mode 6 while the renderer gathers.
constexpr unsigned modeComponents[] = {0x74F, 0x797, 0x20, 0x1, 0x617, 0x180, 0x304, 0x74F};
constexpr bool modeShadows[] = {true, false, true, false, false, false, true, true};

/// The records of the passes, written as a material writes them.
class Passes {
public:
    explicit Passes(const SurfaceCase& c) : case_(c) {
        for (const RecordCase& record : c.records)
            records.push_back(
                {record.held, {}, {}, flagsInRender(record.type, record.flags), record.userWord});
    }

    void write(PassTypeID type, Rgba value, bool byLight = false) {
        eachOf(type, [&](Record& r, bool open) {
            if (inLoop) r.gathered = r.gathered + (byLight ? value * r.light : value);
            else if (open) combine(r.held, scaled(value));
        });
    }
    void writeScalar(PassTypeID type, double value, bool byLight = false) {
        eachOf(type, [&](Record& r, bool open) {
            if (inLoop) r.gathered.r += value * (byLight ? luminance(r.light) : 1);
            else if (open) combine(r.held.r, scaled(value));
        });
    }
    void writeNormal(V3 normal) {
        eachOf(PASS_NORMAL, [&](Record& r, bool open) {
            if (!open) return;
            const V3 in = inTurned(r.space, normal);
            combine(r.held.r, scaled(in.x));
            combine(r.held.g, scaled(in.y));
            combine(r.held.b, scaled(in.z));
        });
    }
    void beginLoop() {
        inLoop = true;
        for (Record& r : records) r.gathered = {};
    }
    void endLoop(int samples) {
        inLoop = false;
        if (samples < 1 || case_.surface.passWriteMode == 0) return;
        for (std::size_t i = 0; i < records.size(); ++i)
            if (open(i)) combine(records[i].held, scaled(records[i].gathered * (1.0 / samples)));
    }
    /// What a secondary ray hands up.
    void add(const RayCase& ray, bool refraction, Rgba weight) {
        for (std::size_t i = 0; i < records.size(); ++i) {
            const unsigned wanted = refraction ? FB_INCLUDE_REFRACTION : FB_INCLUDE_REFLECTION;
            if (case_.records[i].levelMode % 4 == 1 && !(records[i].flags & wanted)) continue;
            records[i].held = records[i].held + weight * Rgba(ray.handedUp[i]);
        }
    }

    struct Record {
        Rgba held, gathered, light;
        unsigned flags, space;
    };
    std::vector<Record> records;

private:
    template <class Write>
    void eachOf(PassTypeID type, Write write) {
        for (std::size_t i = 0; i < records.size(); ++i)
            if (case_.records[i].type == type && case_.surface.passWriteMode != 0) write(records[i], open(i));
    }
    [[nodiscard]] bool open(std::size_t i) const {
        return !(case_.records[i].levelMode & 1) && case_.rayType != environmentRay;
    }
    template <class T>
    [[nodiscard]] T scaled(T v) const {
        return case_.surface.passWriteFlags & 1 ? v * double{case_.surface.passWriteScale} : v;
    }
    template <class T>
    void combine(T& held, T v) const {
        if (case_.surface.passWriteMode == 2) held = held * v;
        else if (case_.surface.passWriteMode == 3) held = v;
        else held = held + v;
    }

    const SurfaceCase& case_;
    bool inLoop = false;
};

/// What one light, or all, add up to.
enum Sum { Ambient, AmbientUnshadowed, Diffuse, DiffuseUnshadowed, Specular, SpecularUnshadowed, SumCount };
struct Sums {
    Rgba of[SumCount];
    double shadow = 0, light = 0;

    void add(const Sums& s, double f) {
        for (int i = 0; i < SumCount; ++i) of[i] = of[i] + s.of[i] * f;
        shadow += s.shadow * f;
        light += s.light * f;
    }
    void take(Sum shadowed, Rgba share, Rgba arriving, Rgba unshadowed) {
        of[shadowed] = of[shadowed] + share * arriving;
        of[shadowed + 1] = of[shadowed + 1] + share * unshadowed;
    }
};

class Shading {
public:
    explicit Shading(const SurfaceCase& c) : c_(c), s_(c.surface), passes_(c) {}

    SurfaceOutcome run() {
        SurfaceOutcome out{};
        normal_ = c_.normal;
        if (c_.bumped) {
            normal_ = c_.bump;
            const double d = dot(normal_, c_.geometricNormal);
            if (d < 0) normal_ = unit(normal_ + V3(c_.geometricNormal) * (0.0015 - d));
        }
        if (c_.rayType == shadowRay) {
            out.transparency = s_.shadowTransmitAll ? grey(1) : Rgba(s_.transparency);
            return finish(out);
        }
        const Rgba color = s_.color, transparency = s_.transparency, opacity = grey(1) - transparency;
        mirror_ = V3(c_.rayDirection) - normal_ * (2 * dot(normal_, c_.rayDirection));
        out.lightThroughput = c_.throughput;
        if (!asks(0x20)) {
            out.lightThroughput = opacity * color * Rgba(c_.throughput);
            if (s_.throughputBoost > 1) out.lightThroughput = out.lightThroughput * s_.throughputBoost;
        }
        const bool components = s_.writePasses != 0;
        if (components) {
            passes_.write(PASS_AMBIENT_MATERIAL_COLOR, opaque(s_.ambientColor));
            passes_.write(PASS_DIFFUSE_MATERIAL_COLOR, opaque(color * s_.diffuse));
            passes_.write(PASS_SPECULAR_MATERIAL_COLOR,
                          c_.material == Material::Lambert ? Rgba{0, 0, 0, 1} : opaque(c_.specularColor));
            passes_.write(PASS_TRANSPARENCY, opaque(transparency));
        }
        passes_.writeNormal(normal_);
        const Rgba ambient = asks(0x1) ? Rgba(s_.ambientColor) * color : Rgba{};

        Sums sums;
        for (const LightCase& light : c_.lights) loopOver(light, sums);

        Rgba refraction, seenThrough = rgbWith(transparency, luminance(transparency));
        if (asks(0x200) && s_.refractionsOn && largest(transparency) > 0) {
            refraction = opaque(transparency) * Rgba(c_.refracted.color);
            passes_.add(c_.refracted, true, opaque(transparency));
            seenThrough = {};
        }
        if (!asks(0x100)) refraction = {};
        Rgba reflection, reflectivity;
        if (c_.material != Material::Lambert) {
            reflectivity = opaque(c_.specularColor) * (c_.reflectivity * facingShare());
            if (asks(0x200) && largest(reflectivity) > 0) {
                reflection = reflectivity * Rgba(c_.reflected.color);
                passes_.add(c_.reflected, false, opaque(reflectivity));
            }
        }
        const Rgba indirect = asks(0x4) ? gathered() : Rgba{};
        const Rgba incandescence = asks(0x2) ? Rgba(s_.incandescence) : Rgba{};

        // The composite.
        out.transparency = seenThrough;
        if (c_.renderMode == 2) {
            out.matteOpacity = grey(sums.light > 0 ? sums.shadow / sums.light : 0);
        } else {
            out.matteOpacity = grey(1) - seenThrough;
            out.opacity = opacity;
            if (asks(0x8)) out.diffuse = sums.of[Diffuse];
            else if (asks(0x10)) out.diffuseUnshadowed = sums.of[DiffuseUnshadowed];
            out.irradiance = indirect;
            const bool unshadowed = asks(0x10) && !asks(0x8);
            if (asks(0x1)) out.ambient = ambient + sums.of[unshadowed ? AmbientUnshadowed : Ambient];
            out.incandescence = incandescence;
            if (asks(0x40)) out.specular = sums.of[Specular];
            else if (asks(0x80)) out.specularUnshadowed = sums.of[SpecularUnshadowed];
            out.refraction = refraction;
            out.reflection = reflection;
            out.color = (out.diffuse + out.diffuseUnshadowed + indirect + out.ambient) * opacity +
                        incandescence + out.specular + out.specularUnshadowed + refraction;
            out.glowColor = out.color * s_.compositeScalarA;
            out.color = out.color + reflection;
        }

        if (components) {
            const double facing = -dot(normal_, c_.rayDirection);
            passes_.write(PASS_REFLECTED_MATERIAL_COLOR, opaque(reflectivity));
            // As the composite has them.
            passes_.write(PASS_REFLECTION, opaque(out.reflection));
            passes_.write(PASS_REFRACTION, opaque(out.refraction));
            passes_.write(PASS_INCANDESCENCE, opaque(out.incandescence));
            passes_.write(PASS_INDIRECT, opaque(out.irradiance));
            passes_.write(PASS_GLOW_SOURCE, opaque(out.glowColor));
            passes_.writeScalar(PASS_FACING_RATIO, facing < 0 ? 1 : facing);
            passes_.write(PASS_AMBIENT, opaque(ambient));
            if (transparency.r < 1 || transparency.g < 1 || transparency.b < 1) {
                const Rgba own = opaque(opacity * out.irradiance + out.incandescence + ambient);
                passes_.write(PASS_BEAUTY, own);
                passes_.write(PASS_BEAUTY_NO_REFLECTION_REFRACTION, own);
            }
        }
        return finish(out);
    }

private:
    static Rgba opaque(Rgba c) { return rgbWith(c, 1); }
    [[nodiscard]] bool asks(unsigned component) const {
        return (modeComponents[c_.renderMode] & component) != 0;
    }
    [[nodiscard]] View view() const { return {c_.rayType, c_.rayDirection}; }

    SurfaceOutcome& finish(SurfaceOutcome& out) const {
        for (const Passes::Record& r : passes_.records) out.held.push_back(r.held);
        return out;
    }

    void loopOver(const LightCase& light, Sums& sums) {
        for (int side = 0; side <= (c_.twoSided ? 1 : 0); ++side) {
            Sums taken, one;
            passes_.beginLoop();
            for (const LightSampleCase& sample : light.samples) takeSample(light, sample, taken);
            const int samples = static_cast<int>(light.samples.size());
            passes_.endLoop(samples);
            one.add(taken, samples > 1 ? 1.0 / samples : 1.0);
            if (s_.writePasses) {
                double sum = one.shadow + one.light;
                for (const auto& [part, component] : {std::pair{Diffuse, 0x8u},
                                                      {DiffuseUnshadowed, 0x10},
                                                      {Specular, 0x40},
                                                      {SpecularUnshadowed, 0x80}})
                    if (asks(component)) sum += luminance(one.of[part]);
                passes_.writeScalar(PASS_LIGHT_SUM, sum);
            }
            sums.add(one, 1);
            if (c_.twoSided) normal_ = normal_ * -1.0;
        }
    }

    void takeSample(const LightCase& light, const LightSampleCase& sample, Sums& sums) {
        const Rgba L = light.color, S = light.shadowColor, t = sample.transmission;
        Rgba arriving = L, unshadowed = L;
        double shadowFraction = 0;
        bool ambient = light.ambient, emitDiffuse = light.emitDiffuse, emitSpecular = light.emitSpecular;
        if (light.foreign) {
            ambient = false;
            emitDiffuse = emitSpecular = true;
            unshadowed = grey(1);
        } else if (modeShadows[c_.renderMode]) {
            arriving = rgbWith((grey(1) - t) * S + t * L, L.a);
            shadowFraction = 1 - (t.r + t.g + t.b) / 3;
        }
        for (std::size_t i = 0; i < passes_.records.size(); ++i) {
            Passes::Record& r = passes_.records[i];
            const bool reached = admits(light.mask, i);
            if (light.foreign) r.light = reached ? L : Rgba{};
            else if (modeShadows[c_.renderMode])
                r.light = delivered(r.flags, reached, L, S, sample.recordTransmission[i]);
            else r.light = reached && !(r.flags & FB_SHADOW_ONLY) ? rgbWith(L, 1) : Rgba{0, 0, 0, 1};
        }

        const Rgba color = s_.color, opacity = grey(1) - Rgba(s_.transparency);
        const bool components = s_.writePasses != 0;
        const double nDotL = dot(normal_, sample.direction);
        Rgba ambientTerm, through, reflected;
        if (ambient) {
            sums.take(Ambient, color, arriving, unshadowed);
            ambientTerm = color;
            passes_.write(PASS_AMBIENT_IRRADIANCE, grey(1), true);
            if (components) passes_.write(PASS_AMBIENT, opaque(color), true);
        }
        if (emitDiffuse) {
            if (nDotL > 0) {
                for (const PassTypeID type :
                     {PASS_DIRECT_IRRADIANCE, PASS_DIRECT_IRRADIANCE_NO_SHADOW, PASS_RAW_SHADOW})
                    passes_.write(type, opaque(grey(nDotL)), true);
                passes_.writeScalar(PASS_RAW_SHADOW_LUMINANCE, nDotL, true);
            }
            if (asks(0x20)) {
                sums.light += luminance(unshadowed);
                if (nDotL > 0) sums.shadow += luminance(unshadowed) * shadowFraction;
            }
            if (s_.translucence != 0) {
                through = color * translucence(c_.rayDirection, sample.direction, nDotL, s_.translucence,
                                               s_.translucenceForward, s_.translucenceWrap);
                sums.take(Diffuse, through, arriving, {});
                if (components)
                    for (const PassTypeID type : {PASS_TRANSLUCENCE, PASS_TRANSLUCENCE_NO_SHADOW})
                        passes_.write(type, opaque(through), true);
            }
            if (nDotL >= 0) {
                reflected = color * (nDotL * s_.diffuse);
                sums.take(Diffuse, reflected, arriving, unshadowed);
                if (components)
                    for (const PassTypeID type : {PASS_DIFFUSE, PASS_DIFFUSE_NO_SHADOW})
                        passes_.write(type, opaque(through + reflected), true);
            }
        }
        Rgba highlight;
        if (emitSpecular && c_.material != Material::Lambert) {
            highlight = Rgba(c_.specularColor) * strength(sample.direction, nDotL);
            sums.take(Specular, highlight, arriving, unshadowed);
            if (components) {
                passes_.write(PASS_SPECULAR, opaque(highlight), true);
                passes_.write(PASS_SPECULAR_NO_SHADOW, opaque(highlight), true);
            }
        }
        if (components) {
            const Rgba total = opaque(opacity * (ambientTerm + through + reflected));
            passes_.write(PASS_SHADOW, total, true);
            passes_.writeScalar(PASS_SHADOW_LUMINANCE, luminance(total), true);
            // Highlights lie on top of what is seen through.
            const Rgba beauty = opaque(total + highlight);
            passes_.write(PASS_BEAUTY, beauty, true);
            passes_.write(PASS_BEAUTY_NO_REFLECTION_REFRACTION, beauty, true);
        }
    }

    [[nodiscard]] double strength(V3 light, double nDotL) const {
        switch (c_.material) {
        case Material::Lambert: return 0;
        case Material::Phong: return phong(mirror_, light, view(), c_.specular[0], nDotL);
        case Material::PhongE: {
            const double v = c_.specular[1];
            const double size = std::abs(v) < epsilon ? 8.1e-7 : std::pow(v * 0.969 + 0.03, 2);
            return phongE(mirror_, c_.specular[2], c_.specular[0], size, nDotL, light, view());
        }
        case Material::Blinn:
            return blinn(light, normal_, view(), std::max(0.0, dot(normal_, light)),
                         -dot(normal_, c_.rayDirection), c_.specular[0], c_.specular[1], nDotL);
        case Material::Anisotropic: break;
        }
        // Equally wide along all tangents, so that any two will do.
        const V3 along = unit(cross(normal_, std::abs(normal_.x) < 0.5 ? V3{1, 0, 0} : V3{0, 1, 0}));
        const double cosine = -dot(unit(light - V3(c_.rayDirection)), c_.rayDirection);
        return anisotropic(normal_, along, cross(normal_, along), c_.specular[0], c_.specular[0], light,
                           c_.rayDirection) *
               fresnel(cosine, c_.specular[1]);
    }

    /// Share of the reflectivity that the angle leaves.
    [[nodiscard]] double facingShare() const {
        if (c_.material != Material::Blinn) return 1;
        const double facing = -dot(normal_, c_.rayDirection);
        const double f = std::pow(1 - std::clamp(facing < 0 ? 1.0 : facing, 0.0, 1.0), 3);
        return f + (1 - f) * c_.specular[1];
    }

    /// Indirect diffuse light. The cases' rays gather with one ray.
    [[nodiscard]] Rgba gathered() const {
        const Rgba w = Rgba(s_.color) * Rgba(s_.irradianceColor) * double{s_.diffuse};
        if (w.r < epsilon && w.g < epsilon && w.b < epsilon) return {};
        const Rgba weight = (grey(1) - Rgba(s_.transparency)) * w * Rgba(c_.throughput) *
                            std::max(1.0, double{s_.throughputBoost});
        if (largest(weight) < c_.throughputCutoff) return {};
        return rgbWith(w * Rgba(c_.gathered), 0);
    }

    const SurfaceCase& c_;
    const SurfaceParameters& s_;
    Passes passes_;
    V3 normal_, mirror_;
};

} // namespace

SurfaceOutcome shade(const SurfaceCase& c) {
    return Shading(c).run();
}

} // namespace reference
