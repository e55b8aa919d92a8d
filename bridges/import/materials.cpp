// SPDX-License-Identifier: Apache-2.0
#include "materials.h"

#include "surface.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace orca::bridge {

namespace {

namespace fs = std::filesystem;

constexpr float dielectricReflectance = 0.04f; // head on, of an index of 1.5
constexpr float smoothestFacets = 0.03f;       // a highlight of this width is still found by samples
/// Beyond, dielectrics reflect too little of anything recognisable to trace it.
constexpr float roughestTracedPlastic = 0.45f;

float decoded(float display) {
    return display <= 0.04045f ? display / 12.92f : std::pow((display + 0.055f) / 1.055f, 2.4f);
}
float encoded(float linear) {
    linear = std::clamp(linear, 0.0f, 1.0f);
    return linear <= 0.0031308f ? 12.92f * linear : 1.055f * std::pow(linear, 1 / 2.4f) - 0.055f;
}

float luminance(const Pixel& pixel) {
    return 0.299f * pixel[0] + 0.587f * pixel[1] + 0.114f * pixel[2];
}

std::string colorText(const aiColor3D& color) {
    return fmt::format("{:.6g} {:.6g} {:.6g} 1", color.r, color.g, color.b);
}

float reflectance(float refractiveIndex) {
    const float root = (refractiveIndex - 1) / (refractiveIndex + 1);
    return root * root;
}

/// Width of the highlight: the slope of facets, whose square root formats call roughness (Burley, Physically
/// based shading at Disney, 2012).
float eccentricityOf(float roughness) {
    return std::max(roughness * roughness, smoothestFacets);
}

/// Prints the shaders of one material.
class MaterialText {
public:
    MaterialText(SceneText& text, Images& images, const Surface& surface, int colorSpace)
        : text_(text), images_(images), surface_(surface), colorSpace_(colorSpace) {}

    /// Returns the name of the scene's material.
    std::string print();

private:
    void set(const std::string& parameter, const std::string& value) {
        parameters_.push_back(fmt::format("\"{}\" {}", parameter, value));
    }
    void setColor(const std::string& parameter, const aiColor3D& color,
                  const std::optional<std::string>& connected) {
        set(parameter, connected ? fmt::format("= \"{}.outColor\"", *connected) : colorText(color));
    }

    /// A shader that looks an image up; its name.
    std::string lookUp(const fs::path& image, const SurfaceMap& map, bool isColor, const aiColor3D& gain);
    std::optional<std::string> lookUp(const std::optional<SurfaceMap>& map, bool isColor,
                                      const aiColor3D& gain = {1, 1, 1});
    void setDiffuse();
    void setPhong();
    void setMetallic();
    void setMetallicImages(const fs::path& base, const fs::path& packed);
    void setReflection(float slope, float metalness);
    std::string setTransparency();
    void setNormal();

    SceneText& text_;
    Images& images_;
    const Surface& surface_;
    int colorSpace_;
    std::vector<std::string> parameters_;
};

std::string MaterialText::lookUp(const fs::path& image, const SurfaceMap& map, bool isColor,
                                 const aiColor3D& gain) {
    const std::string element = images_.element(image, isColor);
    std::string coordinate;
    const auto connect = [&](const char* node, const std::string& parameters) {
        const std::string place = text_.name(surface_.name + " place");
        text_.print("shader \"{}\" \"{}\" ( {}{} )\n", place, node, parameters, coordinate);
        coordinate = fmt::format(", \"coordinate\" = \"{}\"", place);
    };
    if (map.space > 0) connect("velaTextureCoordinate", fmt::format("\"space\" {}", map.space));
    const std::string repeat =
        fmt::format("\"repeatU\" {:.6g}, \"repeatV\" {:.6g}", map.repeat.x, map.repeat.y);
    const std::string offset =
        fmt::format("\"offsetU\" {:.6g}, \"offsetV\" {:.6g}", map.offset.x, map.offset.y);
    if (map.rotateDegrees != 0) {
        connect("velaPlace2d", repeat);
        connect("velaPlace2d", fmt::format("\"rotateUV\" {:.6g}, {}", map.rotateDegrees, offset));
    } else if (map.isPlaced) {
        connect("velaPlace2d", fmt::format("{}, {}", repeat, offset));
    }
    const std::string name = text_.name(surface_.name + " image");
    text_.print("shader \"{}\" \"velaFileTexture\" ( \"texture\" \"{}\"{}", name, element, coordinate);
    if (map.wrapU || map.wrapV) text_.print(", \"wrapU\" {}, \"wrapV\" {}", map.wrapU, map.wrapV);
    if (!(gain == aiColor3D(1, 1, 1))) text_.print(", \"gain\" {}", colorText(gain));
    text_.print(" )\n");
    return name;
}

std::optional<std::string> MaterialText::lookUp(const std::optional<SurfaceMap>& map, bool isColor,
                                                const aiColor3D& gain) {
    const std::optional<fs::path> image = map ? images_.file(map->texture) : std::nullopt;
    if (!image) return {};
    return lookUp(*image, *map, isColor, gain);
}

void MaterialText::setDiffuse() {
    const float kept = (1 - surface_.metalness) * (1 - surface_.transmission);
    const aiColor3D color = surface_.base * kept;
    set("diffuse", "1");
    if (const auto image = lookUp(surface_.baseMap, true, color)) {
        setColor("color", color, image);
    } else if (colorSpace_ >= 0) {
        const std::string name = text_.name(surface_.name + " vertex colour");
        text_.print("shader \"{}\" \"velaVertexColor\" ( \"space\" {}, \"gain\" {} )\n", name, colorSpace_,
                    colorText(color));
        set("color", fmt::format("= \"{}\"", name));
    } else {
        setColor("color", color, {});
    }
}

void MaterialText::setPhong() {
    setDiffuse();
    set("specularColor", colorText(surface_.specular));
    set("cosinePower", fmt::format("{:.6g}", std::min(surface_.exponent, 1000.0f)));
    set("reflectivity", fmt::format("{:.6g}", surface_.reflectivity));
}

void MaterialText::setReflection(float slope, float metalness) {
    const bool traced = metalness > 0 || slope < roughestTracedPlastic;
    set("reflectivity", traced ? "1" : "0");
    constexpr float sharp = 0.05f;
    if (!traced || slope < sharp) return;
    // A mirrored direction turns by twice the angle of the facet.
    set("reflectionBlur", fmt::format("{:.4g}", std::min(2 * std::atan(slope), 1.2f)));
    set("reflectionBlurSamples", "8");
}

void MaterialText::setMetallic() {
    const std::optional<fs::path> base =
        surface_.baseMap ? images_.file(surface_.baseMap->texture) : std::nullopt;
    const std::optional<fs::path> packed =
        surface_.isPackedMap ? images_.file(surface_.metalnessMap->texture) : std::nullopt;
    if (packed && colorSpace_ < 0) return setMetallicImages(base.value_or(*packed), *packed);
    setDiffuse();
    const float metal = surface_.metalness;
    const aiColor3D tint = aiColor3D(1, 1, 1) * (1 - metal) + surface_.base * metal;
    const auto image = metal > 0 ? lookUp(surface_.baseMap, true, tint) : std::nullopt;
    setColor("specularColor", tint, image);
    const float slope = eccentricityOf(surface_.roughness);
    if (const auto rough = surface_.isPackedMap ? std::nullopt : lookUp(surface_.roughnessMap, false))
        set("eccentricity", fmt::format("= \"{}.outLuminance\"", *rough));
    else set("eccentricity", fmt::format("{:.6g}", slope));
    const float plastic = reflectance(surface_.refractiveIndex);
    set("specularRollOff", fmt::format("{:.6g}", plastic + (1 - plastic) * metal));
    setReflection(slope, metal);
}

/// Metalness and roughness by the pixel: the parameters that follow from them are images, too.
void MaterialText::setMetallicImages(const fs::path& base, const fs::path& packed) {
    const Surface& s = surface_;
    const SurfaceMap& map = s.baseMap ? *s.baseMap : *s.metalnessMap;
    const auto baseOf = [&](const Pixel& pixel) {
        return s.baseMap ? aiColor3D(decoded(pixel[0]), decoded(pixel[1]), decoded(pixel[2])) * s.base
                         : s.base;
    };
    const auto metalOf = [&](const Pixel& pixel) { return std::clamp(pixel[2] * s.metalness, 0.0f, 1.0f); };
    const auto shown = [](const aiColor3D& c) { return Pixel{encoded(c.r), encoded(c.g), encoded(c.b), 1}; };
    const auto connect = [&](const char* parameter, const char* name, bool isColor, auto compute) {
        const std::string key = fmt::format("{}_{}", surface_.name, name);
        if (const auto image = images_.derive(key, base, packed, compute))
            set(parameter, fmt::format("= \"{}.{}\"", lookUp(*image, map, isColor, {1, 1, 1}),
                                       isColor ? "outColor" : "outLuminance"));
    };
    float metalSum = 0, slopeSum = 0, count = 0;
    set("diffuse", "1");
    connect("color", "diffuse", true, [&](const Pixel& a, const Pixel& b) {
        metalSum += metalOf(b);
        slopeSum += eccentricityOf(b[1] * s.roughness);
        ++count;
        return shown(baseOf(a) * ((1 - metalOf(b)) * (1 - s.transmission)));
    });
    const float plastic = reflectance(s.refractiveIndex);
    if (metalSum > 0) {
        connect("specularColor", "specular", true, [&](const Pixel& a, const Pixel& b) {
            return shown(aiColor3D(1, 1, 1) * (1 - metalOf(b)) + baseOf(a) * metalOf(b));
        });
        connect("specularRollOff", "reflectance", false, [&](const Pixel&, const Pixel& b) {
            const float r = plastic + (1 - plastic) * metalOf(b);
            return Pixel{r, r, r, 1};
        });
    } else {
        set("specularColor", "1 1 1 1");
        set("specularRollOff", fmt::format("{:.6g}", plastic));
    }
    connect("eccentricity", "slope", false, [&](const Pixel&, const Pixel& b) {
        const float e = eccentricityOf(b[1] * s.roughness);
        return Pixel{e, e, e, 1};
    });
    count = std::max(count, 1.0f);
    setReflection(slopeSum / count, metalSum / count);
}

/// Returns the shadow shader.
std::string MaterialText::setTransparency() {
    const Surface& s = surface_;
    const std::optional<fs::path> image = s.opacityMap ? images_.file(s.opacityMap->texture) : std::nullopt;
    std::string value;
    if (image) {
        const auto hole = images_.derive(fmt::format("{}_holes", s.name), *image, *image,
                                         [&](const Pixel& pixel, const Pixel&) {
                                             float opacity = s.opacity * (s.opacityIsAlpha ? pixel[3]
                                                                          : pixel[3] < 1   ? pixel[3]
                                                                                         : luminance(pixel));
                                             if (s.cutoff > 0) opacity = opacity >= s.cutoff ? 1.0f : 0.0f;
                                             return Pixel{1 - opacity, 1 - opacity, 1 - opacity, 1};
                                         });
        if (hole) value = fmt::format("= \"{}.outColor\"", lookUp(*hole, *s.opacityMap, false, {1, 1, 1}));
    } else if (s.transmission > 0) {
        value = colorText(s.base * s.transmission);
    } else if (s.opacity < 1) {
        const float through = 1 - s.opacity;
        value = colorText({through, through, through});
    }
    if (value.empty()) return "shadow \"orcaVelaFastShadow\" ( )";
    set("transparency", value);
    if (s.refracts) {
        set("refractionsOn", "on");
        set("refractiveIndex", fmt::format("{:.6g}", s.refractiveIndex));
        set("refractionLimit", "10");
    }
    return fmt::format("shadow \"orcaVelaShadow\" ( \"transparency\" {} )", value);
}

void MaterialText::setNormal() {
    const bool isHeight = !surface_.normalMap && surface_.bumpMap;
    const auto image = lookUp(isHeight ? surface_.bumpMap : surface_.normalMap, false);
    if (!image) return;
    const std::string name = text_.name(surface_.name + " relief");
    if (isHeight) {
        constexpr float depth = 0.01f; // formats do not say how high white is
        text_.print("shader \"{}\" \"velaBump2d\" ( \"height\" = \"{}.outLuminance\", \"depth\" {} )\n", name,
                    *image, depth);
    } else {
        text_.print("shader \"{}\" \"velaNormalMap\" ( \"map\" = \"{}.outColor\", \"strength\" {:.6g} )\n",
                    name, *image, surface_.normalStrength);
    }
    set("bumpNormal", fmt::format("= \"{}\"", name));
}

std::string MaterialText::print() {
    const char* shader = "orcaVelaLambert";
    if (surface_.isUnlit) { // shown as it is, by no light
        set("diffuse", "0");
        const auto image = lookUp(surface_.baseMap, true, surface_.base);
        setColor("incandescence", surface_.base, image);
    } else if (surface_.model == Surface::Model::Metallic) {
        shader = "orcaVelaBlinn";
        setMetallic();
    } else if (surface_.model == Surface::Model::Phong) {
        shader = "orcaVelaPhong";
        setPhong();
    } else {
        setDiffuse();
    }
    const bool emits = surface_.emission.r + surface_.emission.g + surface_.emission.b > 0;
    if (emits && !surface_.isUnlit)
        setColor("incandescence", surface_.emission, lookUp(surface_.emissionMap, true, surface_.emission));
    const std::string shadow = setTransparency();
    setNormal();

    const std::string name = text_.name(surface_.name), material = text_.name(surface_.name + " material");
    text_.print("shader \"{}\" \"{}\" (\n    {} )\n", name, shader, fmt::join(parameters_, ",\n    "));
    const bool isOpaque = shadow.find("FastShadow") != std::string::npos;
    text_.print("material \"{}\"{}\n    \"orcaVelaShadingEngine\" ( \"surfaceShader\" \"{}\" )\n    {}\nend "
                "material\n\n",
                material, isOpaque ? " opaque" : "", name, shadow);
    return material;
}

} // namespace

const std::string& Materials::nameFor(const aiMesh& mesh) {
    // triangleMesh puts vertex colours after the texture spaces.
    const int colorSpace =
        mesh.HasVertexColors(0) ? static_cast<int>(std::min(mesh.GetNumUVChannels(), 4u)) : -1;
    std::string& name = names_[{mesh.mMaterialIndex, colorSpace}];
    if (name.empty()) {
        const aiScene& scene = model_.scene();
        const aiMaterial none;
        const aiMaterial& material =
            mesh.mMaterialIndex < scene.mNumMaterials ? *scene.mMaterials[mesh.mMaterialIndex] : none;
        const Surface surface = surfaceOf(material, model_, losses_);
        if (surface.baseMap && colorSpace >= 0)
            losses_.add("colours of vertices under an image", surface.name);
        name = MaterialText(text_, images_, surface, colorSpace).print();
    }
    return name;
}

} // namespace orca::bridge
