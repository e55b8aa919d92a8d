// SPDX-License-Identifier: Apache-2.0
#include "materials.h"

#include "surface.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace orca::bridge {

namespace {

namespace fs = std::filesystem;

float luminance(const Pixel& pixel) {
    return 0.299f * pixel[0] + 0.587f * pixel[1] + 0.114f * pixel[2];
}

std::string colorText(const aiColor3D& color) {
    return fmt::format("{:.6g} {:.6g} {:.6g} 1", color.r, color.g, color.b);
}

/// Prints the shaders of one material.
class MaterialText {
public:
    MaterialText(SceneText& text, Images& images, Losses& losses, const Surface& surface, int colorSpace,
                 double scale)
        : text_(text),
          images_(images),
          losses_(losses),
          surface_(surface),
          colorSpace_(colorSpace),
          scale_(scale) {}

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
    void setBase(const std::string& parameter, const aiColor3D& color);
    void setDiffuse();
    void setPhong();
    void setMetallic();
    void setNumber(const std::string& parameter, float factor, const std::optional<SurfaceMap>& map,
                   std::size_t channel);
    void setGlass(float share);
    /// An image of what a surface lets pass, or of what it does not.
    std::optional<std::string> opacityImage(bool isInverted);
    std::string setTransparency();
    void setNormal();

    SceneText& text_;
    Images& images_;
    Losses& losses_;
    const Surface& surface_;
    int colorSpace_;
    double scale_; ///< scene units in a unit of the file
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

/// The base colour, from an image or from vertices where there are any, times `color`.
void MaterialText::setBase(const std::string& parameter, const aiColor3D& color) {
    if (const auto image = lookUp(surface_.baseMap, true, color)) {
        setColor(parameter, color, image);
    } else if (colorSpace_ >= 0) {
        const std::string name = text_.name(surface_.name + " vertex colour");
        text_.print("shader \"{}\" \"velaVertexColor\" ( \"space\" {}, \"gain\" {} )\n", name, colorSpace_,
                    colorText(color));
        set(parameter, fmt::format("= \"{}\"", name));
    } else {
        setColor(parameter, color, {});
    }
}

void MaterialText::setDiffuse() {
    set("diffuse", "1");
    setBase("color", surface_.base * (1 - surface_.transmission));
}

void MaterialText::setPhong() {
    setDiffuse();
    set("specularColor", colorText(surface_.specular));
    set("cosinePower", fmt::format("{:.6g}", std::min(surface_.exponent, 1000.0f)));
    set("reflectivity", fmt::format("{:.6g}", surface_.reflectivity));
}

/// A number, or a factor on the channel of an image that holds two of them.
void MaterialText::setNumber(const std::string& parameter, float factor, const std::optional<SurfaceMap>& map,
                             std::size_t channel) {
    std::optional<fs::path> image = map ? images_.file(map->texture) : std::nullopt;
    if (image && surface_.isPackedMap)
        image = images_.derive(fmt::format("{}_{}", surface_.name, parameter), *image, *image,
                               [&](const Pixel& pixel, const Pixel&) {
                                   const float number = pixel[channel] * factor;
                                   return Pixel{number, number, number, 1};
                               });
    if (image) set(parameter, fmt::format("= \"{}.outLuminance\"", lookUp(*image, *map, false, {1, 1, 1})));
    else set(parameter, fmt::format("{:.6g}", factor));
}

void MaterialText::setMetallic() {
    const Surface& s = surface_;
    setBase("baseColor", s.base);
    constexpr std::size_t green = 1, blue = 2;
    setNumber("metalness", s.metalness, s.metalnessMap, blue);
    setNumber("roughness", s.roughness, s.roughnessMap, green);
    set("specularIndex", fmt::format("{:.6g}", s.refractiveIndex));
    const bool isClear = s.refracts && s.transmission <= 0; // formats that call it opacity
    if (const float share = isClear ? 1 - s.opacity : s.transmission; share > 0) setGlass(share);
    if (s.anisotropy > 0) set("anisotropy", fmt::format("{:.6g}", s.anisotropy));
    if (s.coat > 0) {
        set("coat", fmt::format("{:.6g}", s.coat));
        set("coatRoughness", fmt::format("{:.6g}", s.coatRoughness));
    }
    if (std::max({s.sheen.r, s.sheen.g, s.sheen.b}) > 0) {
        set("sheen", "1");
        set("sheenColor", colorText(s.sheen));
        constexpr float leastSlopes = 0.25f; // of velaSurfaceX
        set("sheenRoughness",
            fmt::format("{:.6g}", std::max(s.sheenRoughness * s.sheenRoughness, leastSlopes)));
    }
}

/// @param share of the light that is not reflected and passes
void MaterialText::setGlass(float share) {
    set("transmission", fmt::format("{:.6g}", share));
    if (!surface_.refracts) set("thinWalled", "on");
    if (surface_.refracts && surface_.insideDistance > 0) {
        if (surface_.baseMap || !(surface_.base == aiColor3D(1, 1, 1)))
            losses_.add("colours of the boundary of bodies that absorb light", surface_.name);
        set("transmissionColor", colorText(surface_.inside));
        set("transmissionDepth", fmt::format("{:.6g}", surface_.insideDistance * scale_));
    } else if (surface_.transmission > 0) {
        setBase("transmissionColor", surface_.base);
    }
}

std::optional<std::string> MaterialText::opacityImage(bool isInverted) {
    const Surface& s = surface_;
    const std::optional<fs::path> image = s.opacityMap ? images_.file(s.opacityMap->texture) : std::nullopt;
    if (!image) return {};
    const auto derived = images_.derive(fmt::format("{}_{}", s.name, isInverted ? "holes" : "opacity"),
                                        *image, *image, [&](const Pixel& pixel, const Pixel&) {
                                            float opacity = s.opacity * (s.opacityIsAlpha ? pixel[3]
                                                                         : pixel[3] < 1   ? pixel[3]
                                                                                          : luminance(pixel));
                                            if (s.cutoff > 0) opacity = opacity >= s.cutoff ? 1.0f : 0.0f;
                                            const float value = isInverted ? 1 - opacity : opacity;
                                            return Pixel{value, value, value, 1};
                                        });
    if (!derived) return {};
    return fmt::format("= \"{}.outColor\"", lookUp(*derived, *s.opacityMap, false, {1, 1, 1}));
}

/// Returns the shadow shader.
std::string MaterialText::setTransparency() {
    const Surface& s = surface_;
    const bool isLayered = s.isLayered();
    const auto even = [](float share) { return colorText({share, share, share}); };
    std::string value;
    if (const auto holes = opacityImage(true)) {
        value = *holes;
        if (isLayered) set("opacity", opacityImage(false).value_or("1 1 1 1"));
    } else if (s.transmission > 0) {
        value = colorText(s.base * s.transmission);
    } else if (s.opacity < 1) {
        value = even(1 - s.opacity);
        if (isLayered && !s.refracts) set("opacity", even(s.opacity));
    }
    if (value.empty()) return "shadow \"orcaVelaFastShadow\" ( )";
    if (!isLayered) {
        set("transparency", value);
        if (s.refracts) {
            set("refractionsOn", "on");
            set("refractiveIndex", fmt::format("{:.6g}", s.refractiveIndex));
            set("refractionLimit", "10");
        }
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
    } else if (surface_.isLayered()) {
        shader = "velaSurfaceX";
        setMetallic();
    } else if (surface_.model == Surface::Model::Phong) {
        shader = "orcaVelaPhong";
        setPhong();
    } else {
        setDiffuse();
    }
    const bool emits = surface_.emission.r + surface_.emission.g + surface_.emission.b > 0;
    if (emits && !surface_.isUnlit) {
        if (surface_.isLayered()) set("emission", "1");
        setColor(surface_.isLayered() ? "emissionColor" : "incandescence", surface_.emission,
                 lookUp(surface_.emissionMap, true, surface_.emission));
    }
    const std::string shadow = setTransparency();
    setNormal();

    std::string name = text_.name(surface_.name);
    const std::string material = text_.name(surface_.name + " material");
    text_.print("shader \"{}\" \"{}\" (\n    {} )\n", name, shader, fmt::join(parameters_, ",\n    "));
    if (surface_.isLayered()) {
        const std::string passes = text_.name(surface_.name + " passes");
        text_.print("shader \"{}\" \"orcaVelaMiaMaterialXAdapter\" ( \"material\" \"{}\" )\n", passes, name);
        name = passes;
    }
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
        if (surface.isLayered() && !std::exchange(hasLibrary_, true))
            text_.print("link \"velamaterials.so\"\n$include <velamaterials.mi>\n\n");
        name = MaterialText(text_, images_, losses_, surface, colorSpace, scale_).print();
    }
    return name;
}

} // namespace orca::bridge
