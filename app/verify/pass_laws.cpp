// SPDX-License-Identifier: Apache-2.0
#include "verify/pass_laws.h"

#include "verify/pass_settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <numeric>
#include <optional>
#include <set>
#include <sstream>
#include <utility>

namespace orca::app {

namespace {

using Names = std::set<std::string>;

constexpr std::array lightOfTheFirstLevel = {"ambient",  "diffuse",    "specular",  "incandescence",
                                             "indirect", "reflection", "refraction"};
constexpr std::array lightOfVolumes = {"lightVolume", "sceneVolume", "objectVolume"};
constexpr std::array withoutRecord = {"environment", "lamps"}; // what the library's lens shader writes
constexpr std::array weightedByOpacity = {"ambient", "diffuse", "indirect"};
/// Shadowed layer, shadow, unshadowed layer.
constexpr std::array<std::array<const char*, 3>, 2> shadowTypes = {
    {{"diffuse", "shadow", "diffuseNoShadow"},
     {"directIrradiance", "rawShadow", "directIrradianceNoShadow"}}};
/// Types that are light, a sum over the lights and over the surfaces that it comes from.
constexpr std::array lightTypes = {"diffuse",          "diffuseNoShadow", "specular",
                                   "specularNoShadow", "translucence",    "directIrradiance",
                                   "shadow",           "rawShadow",       "directIrradianceNoShadow"};

LawSides sumsUp(std::span<const float* const> values, int channel) {
    double sum = 0.0;
    for (const float* const value : values.first(values.size() - 1)) sum += double{value[channel]};
    return {sum, double{values.back()[channel]}};
}

bool isOneOf(const auto& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// Finds the laws of one picture.
class Laws {
public:
    explicit Laws(const PictureView& picture)
        : picture_(picture), lights_(namesOf("lights")), objects_(namesOf("objects")) {
        for (const LayerView& layer : picture.layers)
            settings_.push_back(settingsOf(layer, lights_, objects_));
    }

    PassLaws find() {
        if (textOf("additivePasses") == "on") {
            findPicture();
            findShadows();
            findParts("lights", lights_, &PassSettings::lights, &PassSettings::objects);
            findParts("objects", objects_, &PassSettings::objects, &PassSettings::lights);
            findLevels();
        } else if (std::any_of(settings_.begin(), settings_.end(),
                               [](const auto& s) { return s.has_value(); })) {
            laws_.exempt.push_back(
                {"sums", "\"additivePasses\" of velaBaseState is off, so the layers are not made to add up"});
        }
        findNormals();
        findCoverage();
        findDepth();
        return std::move(laws_);
    }

private:
    [[nodiscard]] std::string textOf(const char* key) const {
        const auto found = picture_.metadata.find(key);
        return found == picture_.metadata.end() ? std::string() : found->second;
    }
    [[nodiscard]] std::optional<Names> namesOf(const char* key) const {
        const auto found = picture_.metadata.find(key);
        return found == picture_.metadata.end() ? std::nullopt : namesIn(found->second);
    }
    [[nodiscard]] std::optional<std::size_t> layerNamed(const std::string& name) const {
        for (std::size_t i = 0; i < picture_.layers.size(); ++i)
            if (picture_.layers[i].name == name) return i;
        return {};
    }
    [[nodiscard]] const std::string& nameOf(std::size_t layer) const { return picture_.layers[layer].name; }
    [[nodiscard]] bool areFiltered(const std::vector<std::size_t>& layers) const {
        return std::all_of(layers.begin(), layers.end(),
                           [&](std::size_t i) { return picture_.layers[i].isFiltered; });
    }

    /// The law that the terms add up to the total, unless samples were picked rather than added.
    void addSum(const std::vector<std::size_t>& terms, std::size_t total) {
        std::vector<std::string> names;
        for (const std::size_t term : terms) names.push_back(nameOf(term));
        const std::string text = fmt::format("{} = {}", fmt::join(names, " + "), nameOf(total));
        std::vector<std::size_t> layers = terms;
        layers.push_back(total);
        int channels = 3; // alphas are coverages, which do not add up
        for (const std::size_t layer : layers) channels = std::min(channels, picture_.layers[layer].channels);
        if (areFiltered(layers)) laws_.holding.push_back({text, layers, channels, sumsUp});
        else laws_.exempt.push_back({text, "a layer is not filtered, so its pixels are single samples"});
    }

    /// The first layer of a type for which `fits` holds.
    [[nodiscard]] std::optional<std::size_t> layerOfType(const std::string& type, const auto& fits) const {
        for (std::size_t i = 0; i < settings_.size(); ++i)
            if (settings_[i] && settings_[i]->type == type && settings_[i]->subtracts.empty() &&
                fits(*settings_[i]))
                return i;
        return {};
    }

    /// Takes all that rays bring in a scene of such trace depths.
    [[nodiscard]] bool takesAllLevels(const PassSettings& s) const {
        int reflections = 0, refractions = 0;
        std::istringstream(textOf("traceDepth")) >> reflections >> refractions;
        return s.has("includeReflection") && s.has("includeRefraction") && s.has("shadowed") &&
               s.reflection.least == 0 && s.refraction.least == 0 && s.reflection.most >= reflections &&
               s.refraction.most >= refractions;
    }

    /// The whole beauty is the picture, and so is the sum of its components.
    void findPicture() {
        const std::optional<std::size_t> primary = layerNamed(picture_.primary);
        if (!primary) return;
        const auto beauty = layerOfType("beauty", [&](const PassSettings& s) {
            return takesAllLevels(s) && s.lights.isAll && s.objects.isAll;
        });
        if (beauty && beauty != primary) addSum({*beauty}, *primary);

        std::vector<std::size_t> terms;
        for (const char* const type : lightOfTheFirstLevel) {
            const bool weighted = isOneOf(weightedByOpacity, type);
            const auto layer = layerOfType(type, [&](const PassSettings& s) {
                return s.isDirect() && s.lights.isAll && s.objects.isAll &&
                       s.has("weightByOpacity") == weighted && !s.has("includeReflection") &&
                       !s.has("includeRefraction");
            });
            if (!layer) return;
            terms.push_back(*layer);
        }
        // Layers of what is in the air; a scene without any needs none.
        for (const char* const type : lightOfVolumes)
            if (const auto layer = layerOfType(type, [](const PassSettings& s) {
                    return s.isDirect() && s.lights.isAll && s.objects.isAll;
                }))
                terms.push_back(*layer);
        for (const char* const name : withoutRecord) {
            const std::optional<std::size_t> layer = layerNamed(name);
            if (!layer) return;
            terms.push_back(*layer);
        }
        addSum(terms, *primary);
    }

    /// All settings alike but the type and whether shadows count.
    static bool isSameLight(const PassSettings& a, const PassSettings& b) {
        const auto rest = [](PassSettings s) {
            s.flags.erase("shadowed");
            return s.flags;
        };
        return rest(a) == rest(b) && a.reflection == b.reflection && a.refraction == b.refraction &&
               a.lights == b.lights && a.objects == b.objects;
    }

    void findShadows() {
        for (const auto& [shadowed, shadow, unshadowed] : shadowTypes)
            for (std::size_t i = 0; i < settings_.size(); ++i) {
                if (!settings_[i] || settings_[i]->type != shadow) continue;
                const auto isLike = [&](const PassSettings& s) { return isSameLight(s, *settings_[i]); };
                const auto lit = layerOfType(
                    shadowed, [&](const PassSettings& s) { return isLike(s) && s.has("shadowed"); });
                const auto bright = layerOfType(
                    unshadowed, [&](const PassSettings& s) { return isLike(s) && !s.has("shadowed"); });
                if (lit && bright) {
                    addSum({*lit, i}, *bright);
                    continue;
                }
                const auto any = [](const PassSettings&) { return true; };
                if (layerOfType(shadowed, any) && layerOfType(unshadowed, any))
                    laws_.exempt.push_back(
                        {fmt::format("{} + {} = {}", shadowed, nameOf(i), unshadowed),
                         "their flags, levels, lights or objects differ, so they are not of the same light"});
            }
    }

    /// Layers that are alike but for the lights or objects that take part, if these make up all of them.
    void findParts(const char* what, const std::optional<Names>& all, Members PassSettings::*members,
                   Members PassSettings::*others) {
        if (!all || all->empty()) return;
        std::set<std::size_t> seen;
        for (std::size_t i = 0; i < settings_.size(); ++i) {
            if (!settings_[i] || seen.contains(i) || !areParts(*settings_[i], what)) continue;
            std::vector<std::size_t> parts;
            std::optional<std::size_t> total;
            Names covered;
            for (std::size_t k = i; k < settings_.size(); ++k) {
                if (!settings_[k] || !areAlike(*settings_[i], *settings_[k], others)) continue;
                seen.insert(k);
                const Members& own = (*settings_[k]).*members;
                const bool isPart = !own.isAll || !settings_[k]->subtracts.empty();
                if (!isPart) {
                    if (!total) total = k;
                } else if (own.names && !own.names->empty() && isApart(*own.names, covered)) {
                    covered.insert(own.names->begin(), own.names->end());
                    parts.push_back(k);
                }
            }
            if (parts.empty() || covered != *all) continue;
            if (settings_[i]->type == "beauty") {
                // What no light owns is in each of them, unless it has been taken out.
                const std::string& rest = settings_[parts.front()]->subtracts;
                const std::optional<std::size_t> restLayer = layerNamed(rest);
                const bool areAllWithout = std::all_of(parts.begin(), parts.end(), [&](std::size_t part) {
                    return settings_[part]->subtracts == rest;
                });
                if (!restLayer || !areAllWithout) continue;
                parts.push_back(*restLayer);
                if (takesAllLevels(*settings_[i]) && ((*settings_[i]).*others).isAll)
                    total = layerNamed(picture_.primary);
            }
            if (total && parts.size() > 1) addSum(parts, *total);
        }
    }
    /// True for a type whose layers by light, or by object, add up.
    [[nodiscard]] static bool areParts(const PassSettings& s, const std::string& what) {
        const bool isLight = isOneOf(lightTypes, s.type);
        if (what == "lights") return isLight || s.type == "beauty";
        // A layer without an object lacks what mirrors show of it, too.
        return isLight && s.isDirect();
    }
    [[nodiscard]] static bool areAlike(const PassSettings& a, const PassSettings& b,
                                       Members PassSettings::*others) {
        return a.type == b.type && a.flags == b.flags && a.reflection == b.reflection &&
               a.refraction == b.refraction && a.*others == b.*others;
    }
    [[nodiscard]] static bool isApart(const Names& names, const Names& from) {
        return std::none_of(names.begin(), names.end(),
                            [&](const std::string& name) { return from.contains(name); });
    }

    /// Layers whose ranges of levels follow one another make up the layer of them all.
    void findLevels() {
        findLevels(&PassSettings::reflection, &PassSettings::refraction);
        findLevels(&PassSettings::refraction, &PassSettings::reflection);
    }
    void findLevels(LevelRange PassSettings::*along, LevelRange PassSettings::*across) {
        for (std::size_t total = 0; total < settings_.size(); ++total) {
            if (!settings_[total] ||
                !(isOneOf(lightTypes, settings_[total]->type) || settings_[total]->type == "beauty"))
                continue;
            const PassSettings& whole = *settings_[total];
            std::vector<std::size_t> parts;
            for (int next = (whole.*along).least; next <= (whole.*along).most;) {
                const auto part = layerOfType(whole.type, [&](const PassSettings& s) {
                    return s.flags == whole.flags && s.lights == whole.lights && s.objects == whole.objects &&
                           s.*across == whole.*across && (s.*along).least == next &&
                           (s.*along).most <= (whole.*along).most && s.*along != whole.*along;
                });
                if (!part) {
                    parts.clear();
                    break;
                }
                parts.push_back(*part);
                next = ((*settings_[*part]).*along).most + 1;
            }
            if (parts.size() > 1) addSum(parts, total);
        }
    }

    /// The mean of unit vectors is no longer than one of them.
    void findNormals() {
        for (std::size_t i = 0; i < settings_.size(); ++i)
            if (settings_[i] && settings_[i]->type == "normal" && picture_.layers[i].channels >= 3)
                laws_.holding.push_back(
                    {fmt::format("length of {} <= 1", nameOf(i)),
                     {i},
                     1,
                     [](std::span<const float* const> values, int) -> LawSides {
                         const float* const n = values[0];
                         return {std::hypot(double{n[0]}, double{n[1]}, double{n[2]}), 1.0, true};
                     }});
    }

    void findCoverage() {
        const std::optional<std::size_t> primary = layerNamed(picture_.primary);
        if (!primary || picture_.layers[*primary].channels < 4) return;
        laws_.holding.push_back({fmt::format("alpha of {} <= 1", nameOf(*primary)),
                                 {*primary},
                                 1,
                                 [](std::span<const float* const> values, int) -> LawSides {
                                     return {double{values[0][3]}, 1.0, true};
                                 }});
    }

    /// Position and depth along the view axis are of the same point, where a pixel is one sample: of several,
    /// depths are those of the nearest, positions of the most central one.
    void findDepth() {
        const std::optional<std::size_t> depth = layerNamed("planarDepth"), position = layerNamed("position");
        int fewest = 0, most = 0;
        std::istringstream(textOf("samples")) >> fewest >> most;
        std::array<double, 16> m{};
        std::istringstream matrix(textOf("worldToCamera"));
        if (!depth || !position || most > 0 || picture_.layers[*position].channels < 3 ||
            !std::all_of(m.begin(), m.end(), [&](double& number) { return bool(matrix >> number); }))
            return;
        laws_.holding.push_back(
            {fmt::format("depth of {} = {}", nameOf(*position), nameOf(*depth)),
             {*position, *depth},
             1,
             [m](std::span<const float* const> values, int) -> LawSides {
                 const float *const p = values[0], z = values[1][0];
                 const bool isNothing = p[0] == 0.0f && p[1] == 0.0f && p[2] == 0.0f;
                 if (isNothing) return {0.0, 0.0};
                 return {-(double{p[0]} * m[2] + double{p[1]} * m[6] + double{p[2]} * m[10] + m[14]),
                         double{z}};
             }});
    }

    const PictureView& picture_;
    std::optional<Names> lights_, objects_; ///< all of the scene
    std::vector<std::optional<PassSettings>> settings_;
    PassLaws laws_;
};

} // namespace

PassLaws lawsOf(const PictureView& picture) {
    return Laws(picture).find();
}

} // namespace orca::app
