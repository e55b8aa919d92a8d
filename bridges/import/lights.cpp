// SPDX-License-Identifier: Apache-2.0
#include "lights.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orca::bridge {

namespace {

constexpr double degrees = 180 / std::numbers::pi;

/// How a light falls off, and what its shader's `intensity` is.
struct Strength {
    int decay = 0;
    int units = 0;        ///< of the shader: 0 the picture's, 2 candela, 3 lux
    double intensity = 1; ///< of white; the light's colour multiplies
};

/// glTF states candela and lux. Other formats state what a white surface shows at the distance of 1, which is
/// pi candela. The fall-off is that of the highest power of the distance.
Strength strengthOf(const aiLight& light, const ModelFile& model, double scale) {
    const bool isPhotometric = model.isGltf();
    const double shown = isPhotometric ? 1 : std::numbers::pi;
    if (light.mType == aiLightSource_DIRECTIONAL) return {0, isPhotometric ? 3 : 0, 1};
    if (light.mType == aiLightSource_AMBIENT) return {0, 0, 1};
    const double quadratic = isPhotometric ? 1 : light.mAttenuationQuadratic;
    if (quadratic > 0 || light.mType == aiLightSource_AREA)
        return {2, 2, shown * scale * scale / (quadratic > 0 ? quadratic : 1)};
    if (light.mAttenuationLinear > 0) return {1, 0, scale / light.mAttenuationLinear};
    return {0, 0, 1};
}

double largest(const aiColor3D& color) {
    return std::max({color.r, color.g, color.b});
}

/// The colour with its largest part at 1, and the intensity that this takes.
std::string colorAndIntensity(const aiLight& light, double intensity) {
    const aiColor3D& c = light.mColorDiffuse;
    const double most = largest(c);
    if (!(most > 0)) return "\"color\" 0 0 0 1, \"intensity\" 0";
    return fmt::format("\"color\" {:.6g} {:.6g} {:.6g} 1, \"intensity\" {:.6g}", c.r / most, c.g / most,
                       c.b / most, most * intensity);
}

/// Half angles in radians.
struct Cone {
    double inner, outer;
};
Cone coneOf(const aiLight& light, const ModelFile& model) {
    constexpr double widest = 0.98 * std::numbers::pi / 2;
    const double half = model.isGltf() ? 1 : 0.5; // glTF counts from the axis, others give whole cones
    const double outer = std::clamp(half * light.mAngleOuterCone, 0.02, widest);
    return {std::clamp(half * light.mAngleInnerCone, 0.0, outer), outer};
}

} // namespace

std::optional<std::string> printLight(SceneText& text, const aiLight& light, const ModelFile& model,
                                      double scale, Losses& losses) {
    const Strength strength = strengthOf(light, model, scale);
    const std::string color = colorAndIntensity(light, strength.intensity);
    const std::string units = fmt::format("{}, \"units\" {}", color, strength.units);
    const auto begin = [&](const char* shader) {
        const std::string name = text.name(light.mName.C_Str());
        text.print("light \"{}\" \"{}\" ( ", name, shader);
        return name;
    };
    switch (light.mType) {
    case aiLightSource_POINT: {
        const std::string name = begin("orcaVelaPointLight");
        text.print("{}, \"decayRate\" {} )\n    origin 0 0 0 end light\n", units, strength.decay);
        return name;
    }
    case aiLightSource_DIRECTIONAL: {
        const std::string name = begin("orcaVelaDirectionalLight");
        text.print("{} )\n    direction 0 0 -1 end light\n", units);
        return name;
    }
    case aiLightSource_SPOT: {
        const Cone cone = coneOf(light, model);
        const std::string name = begin("orcaVelaSpotLight");
        text.print(
            "{}, \"decayRate\" {},\n    \"coneAngle\" {:.6g}, \"penumbraAngle\" {:.6g} )\n    origin 0 0 0  "
            "direction 0 0 -1  spread {:.6g} end light\n",
            units, strength.decay, 2 * cone.outer * degrees, (cone.inner - cone.outer) * degrees,
            std::cos(cone.outer));
        return name;
    }
    case aiLightSource_AREA: {
        const std::string name = begin("orcaVelaAreaLight");
        text.print("{} )\n    origin 0 0 0  rectangle 0 2 0  2 0 0  1 1  visible end light\n", units);
        return name;
    }
    case aiLightSource_AMBIENT: {
        const std::string name = begin("orcaVelaAmbientLight");
        text.print("{}, \"ambientShade\" 0 )\n    origin 0 0 0 end light\n", color);
        return name;
    }
    default: losses.add("lights of unknown kinds", light.mName.C_Str()); return {};
    }
}

Matrix lightPlacement(const aiLight& light, const Matrix& matrix, double scale) {
    Matrix placement = rigid(matrix, light.mPosition, light.mDirection, light.mUp);
    if (light.mType != aiLightSource_AREA) return placement;
    const auto half = [&](float size) { return size > 0 ? 0.5 * scale * size : 0.5 * scale; };
    Matrix stretch;
    Matrix::Scaling({half(light.mSize.x), half(light.mSize.y), 1}, stretch);
    return placement * stretch;
}

double brightnessAt(const aiLight& light, const Matrix& placement, const aiVector3t<double>& point,
                    const ModelFile& model, double scale) {
    const Strength strength = strengthOf(light, model, scale);
    const double distance = std::max((point - placeOf(placement)).Length(), 1e-6);
    const double shown = strength.units == 0 ? 1 : 1 / std::numbers::pi;
    const double away = strength.decay == 0 ? 1 : std::pow(distance, strength.decay);
    return largest(light.mColorDiffuse) * strength.intensity * shown / away;
}

} // namespace orca::bridge
