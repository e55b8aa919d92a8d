// SPDX-License-Identifier: Apache-2.0
#include "orcaFrameBufferRecords.h"
#include "orcaImagePlane.h"
#include "orcaImagePlanes.h"
#include "orcaIrradiance.h"
#include "orcaLambertMaterial.h"
#include "orcaLayeredShader.h"
#include "orcaOceanParameters.h"
#include "orcaOceanTexture.h"
#include "orcaShadingMap.h"
#include "orcaSpecularMaterials.h"
#include "orcaSurfaceShader.h"
#include "orcaUseBackground.h"
#include "orcaVelaDirectionalLight.h"
#include "orcaVelaPointLight.h"
#include "orcaVelaShadingEngine.h"
#include "orcaVelaShadow.h"
#include "velaBaseState.h"
#include "velaBump2d.h"
#include "velaChecker.h"
#include "velaEnvironmentLatLong.h"
#include "velaFileTexture.h"
#include "velaNormalMap.h"
#include "velaPlace2d.h"
#include "velaThinLens.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <regex>
#include <sstream>

// The records hold nothing but four-byte members, so their offsets are sure even where a record derives from
// another.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace {

struct Field {
    std::string type, name;
    std::size_t offset;
    bool operator==(const Field&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Field& f) {
    return out << f.type << ' ' << f.name << " @" << f.offset;
}

std::string textOf(const std::string& file) {
    std::ifstream in(ORCA_DECLARATIONS_DIR "/" + file);
    std::stringstream text;
    text << in.rdbuf();
    return std::regex_replace(text.str(), std::regex("#[^\n]*"), "");
}

std::size_t sizeOf(const std::string& type) {
    return type == "color" ? 16 : type == "vector" ? 12 : 4;
}

/// Lays out the parameters that follow a declaration's name, by the rules of parameter blocks: members in
/// order, an array as start, count and room for one element.
std::vector<Field> declaredFields(const std::string& file, const std::string& shader) {
    const std::string text = textOf(file);
    std::size_t at = text.find('"' + shader + '"');
    EXPECT_NE(at, std::string::npos) << shader;
    at = text.find('(', at);
    const std::string list = text.substr(at, text.find("end declare", at) - at);
    static const std::regex parameter("(array )?\\s*(boolean|integer|scalar|color "
                                      "texture|color|vector|string|shader|lightprofile|geometry|struct) "
                                      "+\"(\\w+)\"|(\\})");
    std::vector<Field> fields;
    std::size_t offset = 0;
    for (std::sregex_iterator i(list.begin(), list.end(), parameter), end; i != end; ++i) {
        const std::smatch& m = *i;
        if (m[4].matched) continue;
        if (m[1].matched) offset += 8;
        fields.push_back({m[2], m[3], offset});
        if (m[2] != "struct") offset += sizeOf(m[2]);
    }
    return fields;
}

template <class T>
constexpr const char* typeName = nullptr;
template <>
constexpr const char* typeName<miInteger> = "integer";
template <>
constexpr const char* typeName<miScalar> = "scalar";
template <>
constexpr const char* typeName<miColor> = "color";
template <>
constexpr const char* typeName<miVector> = "vector";
template <>
constexpr const char* typeName<miTag> = "tag";

/// C++ cannot tell a boolean from an integer, nor one kind of tag from another.
std::string storedAs(const std::string& declared) {
    if (declared == "boolean") return "integer";
    if (declared == "shader" || declared == "string" || declared == "lightprofile" ||
        declared == "color texture" || declared == "geometry")
        return "tag";
    return declared;
}

#define FIELD(Record, member)                                                                                \
    Field {                                                                                                  \
        typeName<decltype(Record::member)>, #member, offsetof(Record, member)                                \
    }

/// What every standard material begins with.
template <class P>
std::vector<Field> surfaceFields() {
#define S(member) FIELD(P, member)
    return {S(passWriteMode),       S(passWriteFlags),    S(passWriteScale),   S(color),
            S(transparency),        S(writePasses),       S(compositeScalarA), S(throughputBoost),
            S(refractiveIndex),     S(lightAbsorbance),   S(refractionsOn),    S(diffuse),
            S(ambientColor),        S(incandescence),     S(translucence),     S(translucenceForward),
            S(translucenceWrap),    S(shadowTransmitAll), S(refractionLimit),  S(bumpNormal),
            S(irradianceColor),     S(irradiance),        S(refractionBlur),   S(refractionBlurSamples),
            S(chromaticAberration), S(surfaceThickness),  S(scatterColor),     S(scatterRadius),
            S(scatterSamples)};
#undef S
}

/// A material with highlights: its own fields stand between the highlight's colour and the reflections.
template <class P>
std::vector<Field> specularFields(std::vector<Field> own) {
    std::vector<Field> fields = surfaceFields<P>();
    fields.push_back(FIELD(P, specularColor));
    fields.insert(fields.end(), own.begin(), own.end());
    for (const Field& field : {FIELD(P, reflectivity), FIELD(P, reflectedColor), FIELD(P, reflectionLimit),
                               FIELD(P, reflectionBlur), FIELD(P, reflectionBlurSamples)})
        fields.push_back(field);
    return fields;
}

/// A ramp: the fields of its entries follow its own.
std::vector<Field> rampFields(const char* name, std::size_t offset, const char* value) {
    const std::size_t valueSize = sizeOf(value);
    return {{"struct", name, offset},
            {"scalar", "position", offset},
            {value, "value", offset + 4},
            {"integer", "interpolation", offset + 4 + valueSize}};
}

std::vector<Field> oceanFields() {
    using P = OceanShaderParameters;
    std::vector<Field> fields = surfaceFields<P>();
    const auto append = [&fields](const std::vector<Field>& more) {
        fields.insert(fields.end(), more.begin(), more.end());
    };
#define O(member) FIELD(P, member)
    append({O(timeValue), O(patternScale), O(windVector), O(driftFactor), O(spreadFactor), O(octaveCount),
            O(minWavelength), O(maxWavelength)});
    append(rampFields("heightRamp", offsetof(P, heightRamp), "scalar"));
    append(rampFields("turbulenceRamp", offsetof(P, turbulenceRamp), "scalar"));
    append(rampFields("peakingRamp", offsetof(P, peakingRamp), "scalar"));
    append({O(heightInput), O(foamRate), O(foamCutoff), O(foamBias), O(normalBlur), O(speedScale),
            O(filterScale), O(displaced), O(foamColor), O(crestScatter), O(crestSoftness), O(crestHeight),
            O(crestRange), O(specularColor), O(specularStrength), O(eccentricity), O(specularReduction),
            O(reflectionColor), O(reflectivity)});
    append(rampFields("environmentRamp", offsetof(P, environmentRamp), "color"));
    append({O(reflectionLimit), O(reflectionBlur), O(reflectionBlurSamples), O(absorptionColor)});
#undef O
    return fields;
}

struct Layout {
    std::string file, shader;
    std::vector<Field> fields;
};
class DeclaredLayout : public ::testing::TestWithParam<Layout> {};

TEST_P(DeclaredLayout, IsTheRecords) {
    auto declared = declaredFields(GetParam().file, GetParam().shader);
    for (Field& field : declared) field.type = storedAs(field.type);
    EXPECT_EQ(declared, GetParam().fields);
}

#define A(member) FIELD(AnisotropicParameters, member)
#define L(member) FIELD(PointLightParameters, member)
#define D(member) FIELD(DirectionalLightParameters, member)
#define B(member) FIELD(BaseStateParameters, member)
#define G(member) FIELD(GatherSettings, member)
#define E(member) FIELD(ShadingEngineParameters, member)
#define V(member) FIELD(VelaShadowParameters, member)
#define T(member) FIELD(VelaFileTextureParameters, member)
#define W(member) FIELD(VelaPlace2dParameters, member)
#define C(member) FIELD(VelaCheckerParameters, member)
#define N(member) FIELD(VelaEnvironmentLatLongParameters, member)
#define H(member) FIELD(VelaThinLensParameters, member)
// clang-format off
INSTANTIATE_TEST_SUITE_P(Shaders, DeclaredLayout, ::testing::Values(
    Layout{"orca.mi", "orcaVelaLambert", surfaceFields<LambertParameters>()},
    Layout{"orca.mi", "orcaVelaPhong",
           specularFields<PhongParameters>({FIELD(PhongParameters, cosinePower)})},
    Layout{"orca.mi", "orcaVelaPhongE",
           specularFields<PhongEParameters>({FIELD(PhongEParameters, roughness), FIELD(PhongEParameters, highlightSize),
                                             FIELD(PhongEParameters, whiteness)})},
    Layout{"orca.mi", "orcaVelaOceanShader", oceanFields()},
    Layout{"orca.mi", "orcaVelaBlinn",
           specularFields<BlinnParameters>({FIELD(BlinnParameters, eccentricity),
                                            FIELD(BlinnParameters, specularRollOff)})},
    Layout{"orca.mi", "orcaVelaAnisotropic",
           specularFields<AnisotropicParameters>({A(roughness), A(spreadX), A(spreadY), A(angle), A(fresnelIndex),
                                                  A(anisotropicReflectivity)})},
    Layout{"orca.mi", "orcaVelaPointLight",
           {L(lightRadius), L(decayRate), L(useDepthMapShadows), L(emitDiffuse), L(emitSpecular), L(color),
            L(intensity), L(useRayTraceShadows), L(shadowColor), L(shadowRays), L(rayDepthLimit), L(fogRadius),
            L(fogType), L(fogIntensity), L(lightProfile)}},
    Layout{"orca.mi", "orcaVelaDirectionalLight",
           {D(useLightPosition), D(lightAngle), D(useDepthMapShadows), D(emitDiffuse), D(emitSpecular), D(color),
            D(intensity), D(useRayTraceShadows), D(shadowColor),
            Field{"integer", "shadowRays", offsetof(DirectionalLightParameters, shadowRays)}, D(rayDepthLimit)}},
    Layout{"orca.mi", "orcaVelaShadow", {V(transparency), V(attenuation), V(transparencyDepth)}},
    Layout{"orca.mi", "orcaVelaShadingEngine",
           {E(surfaceShader), E(evaluatedScalar), E(mode),
            Field{"color", "extraOutputs", offsetof(ShadingEngineParameters, extraOutputs)}}},
    Layout{"orca.mi", "orcaGatherSettings",
           {G(magic), G(kind), Field{"integer", "rays", offsetof(GatherSettings, rays)}, G(maxRadius), G(minRadius),
            G(view), G(filter)}},
    Layout{"orca.mi", "orcaReferenceObject",
           {FIELD(ReferenceObjectData, magic), FIELD(ReferenceObjectData, kind)}},
    Layout{"velabase.mi", "velaBaseState",
           {B(transparencyThreshold), B(throughputCutoff), B(throughputUpper), B(filterTextures), B(filterBase),
            B(fixedFilterSize), B(renderMode), B(maxTraceDepth), B(continueRay), B(depthOutput)}},
    Layout{"velabase.mi", "velaFileTexture",
           {T(texture), T(coordinate), T(wrapU), T(wrapV), T(filter), T(smooth), T(gain), T(offset), T(defaultColor),
            T(alphaFromLuminance)}},
    Layout{"velabase.mi", "velaPlace2d",
           {W(coordinate), W(coverageU), W(coverageV), W(translateFrameU), W(translateFrameV), W(rotateFrame),
            W(wrapU), W(wrapV), W(repeatU), W(repeatV), W(offsetU), W(offsetV), W(rotateUV), W(mirrorU), W(mirrorV),
            W(stagger)}},
    Layout{"velabase.mi", "velaChecker",
           {C(color1), C(color2), C(contrast), C(coordinate), C(filter), C(defaultColor)}},
    Layout{"velabase.mi", "velaBump2d",
           {FIELD(VelaBump2dParameters, height), FIELD(VelaBump2dParameters, depth),
            FIELD(VelaBump2dParameters, filter), FIELD(VelaBump2dParameters, normal)}},
    Layout{"velabase.mi", "velaNormalMap",
           {FIELD(VelaNormalMapParameters, map), FIELD(VelaNormalMapParameters, strength),
            FIELD(VelaNormalMapParameters, flipGreen), FIELD(VelaNormalMapParameters, normal)}},
    Layout{"velabase.mi", "velaEnvironmentLatLong",
           {N(texture), N(zenith), N(horizon), N(ground), N(gain), N(rotation), N(blur), N(gatherBlur)}},
    Layout{"velabase.mi", "velaThinLens",
           {H(focusDistance), H(fStop), H(lensScale), H(apertureRadius), H(blades), H(bladeRotation)}}),
    [](const auto& layout) { return layout.param.shader; });
// clang-format on

#define M(member) FIELD(ShadingMapParameters, member)
#define U(member) FIELD(UseBackgroundParameters, member)
#define I(member) FIELD(ImagePlaneParameters, member)
#define F(member) FIELD(SurfaceShaderParameters, member)
#define Y(member) FIELD(LayeredShaderParameters, member)
// clang-format off
INSTANTIATE_TEST_SUITE_P(LayersAndBackgrounds, DeclaredLayout, ::testing::Values(
    Layout{"orca.mi", "orcaVelaLayeredShader",
           {Y(passWriteMode), Y(passWriteFlags), Y(passWriteScale), Y(compositingMode),
            Field{"struct", "layers", offsetof(LayeredShaderParameters, layers)},
            Field{"color", "color", offsetof(LayeredShaderParameters, layers[0].color)},
            Field{"color", "transparency", offsetof(LayeredShaderParameters, layers[0].transparency)},
            Field{"color", "glowColor", offsetof(LayeredShaderParameters, layers[0].glowColor)},
            Y(matteMode), Y(matteOpacity)}},
    Layout{"orca.mi", "orcaVelaSurfaceShader",
           {F(passWriteMode), F(passWriteFlags), F(passWriteScale), F(color), F(glowColor), F(matteOpacity),
            F(transparency), F(ambient), F(incandescence), F(irradiance), F(diffuse), F(diffuseUnshadowed), F(specular),
            F(specularUnshadowed), F(reflection), F(refraction), F(scatter), F(translucence), F(opacity)}},
    Layout{"orca.mi", "orcaVelaShadingMap",
           {M(passWriteMode), M(passWriteFlags), M(passWriteScale), M(inputColor), M(inputTransparency), M(matteMode),
            M(matteOpacity), M(glowColor), M(mapColor), M(uChannel), M(vChannel)}},
    Layout{"orca.mi", "orcaVelaUseBackground",
           {U(passWriteMode), U(passWriteFlags), U(passWriteScale), U(specularColor), U(reflectivity),
            U(reflectionLimit), U(reflectionBlur), U(reflectionBlurSamples), U(shadowMask), U(ambientColor),
            U(matteMode), U(matteOpacity), U(shadowBuffer)}},
    Layout{"orca.mi", "orcaVelaImagePlane",
           {I(passWriteMode), I(passWriteFlags), I(passWriteScale), I(sourceKind), I(imageTexture), I(imageColor),
            I(displayMode), I(colorGain), I(colorOffset), I(alphaGain), I(reflectionVisible), I(refractionVisible)}},
    Layout{"orca.mi", "orcaImagePlanes",
           {FIELD(ImagePlanesData, magic), Field{"tag", "planes", offsetof(ImagePlanesData, planes)}}}),
    [](const auto& layout) { return layout.param.shader; });
// clang-format on

TEST(DeclaredLayout, OfTheFrameBufferDataBlockIsTheRecords) {
    const auto fields = declaredFields("orca.mi", "orcaFrameBufferData");
    const auto offsetOfField = [&](const std::string& name) {
        for (const Field& field : fields)
            if (field.name == name) return field.offset;
        return std::size_t(-1);
    };
    constexpr std::size_t record = offsetof(FrameBufferData, frameBufferInfo);
    EXPECT_EQ(offsetOfField("nonMaterialFrameBuffers"), offsetof(FrameBufferData, nonMaterialFrameBuffers));
    EXPECT_EQ(offsetOfField("frameBufferName"), record + offsetof(FrameBufferDataRecord, frameBufferName));
    EXPECT_EQ(offsetOfField("userFlag0"), record + offsetof(FrameBufferDataRecord, flags));
    EXPECT_EQ(offsetOfField("ignoreObjectLinks"), record + offsetof(FrameBufferDataRecord, flags) + 8 * 4);
    EXPECT_EQ(offsetOfField("minReflectionLevel"),
              record + offsetof(FrameBufferDataRecord, minReflectionLevel));
    EXPECT_EQ(offsetOfField("userWord4"), record + offsetof(FrameBufferDataRecord, userWord4));
    EXPECT_EQ(offsetOfField("FrameBufferTypeCounts"), offsetof(FrameBufferData, FrameBufferTypeCounts));
}

} // namespace
