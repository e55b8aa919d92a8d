// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/option_statements.h"
#include "scene/language/token_reader.h"

#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orca::scene {

/// Reads one file and what it includes into a scene. The functions follow the grammar: each reads what it is
/// named after and throws SyntaxError when it cannot continue; other errors are counted
/// and reading goes on.
class Reader : private TokenReader {
public:
    Reader(Scene& scene, const ParserOptions& options, const ParserCallbacks& callbacks);
    /// False when reading was stopped.
    bool read(const std::string& name, std::string text);

private:
    // reader.cpp: the statements of a file, resynchronising after errors
    void readStatement(const Token& token);
    bool readEntity(std::string_view word, const Token& token, bool incremental);
    bool readTextureStart(std::string_view word, const Token& token, bool incremental);
    void resynchronise(bool insidePhenomenon);
    /// Consumes "end <kind>"; false before another statement of the block. Throws at the end of the file and
    /// before what can only be the next entity.
    bool endsBlock(std::string_view kind, const std::string& owner);
    void skipUnknownEntity(const Token& token);
    /// One message for each scene and kind of statement: `word` of `owner` is read and does nothing here.
    void withoutEffect(LogLevel level, const SourceLocation& location, const std::string& owner,
                       std::string_view word, std::string_view reason);

    // reader_names.cpp: names and references
    [[nodiscard]] std::string fullName(std::string_view plain) const;
    [[nodiscard]] miTag lookUp(std::string_view plain) const;
    [[nodiscard]] miTag lookUpDeclaration(std::string_view plain) const;
    miTag reference(const Token& token, std::initializer_list<miScene_type> kinds, std::string_view expected);
    bool isPerhapsInMissingFile();
    miTag lightReference(const Token& token);
    miTag optionalReference(std::initializer_list<miScene_type> kinds, std::string_view expected);
    DeclarationElement* declarationReference(const Token& token);
    std::vector<miTag> referenceList(std::initializer_list<miScene_type> kinds, std::string_view expected);
    miTag dataReference();
    void define(const Token& token, miTag tag);
    /// Names an element once its statement has been read, also when that ends early: references to it then do
    /// not add further errors.
    struct Definition {
        Definition(Reader& owner, const Token& nameOf, miTag named)
            : reader(owner), token(nameOf), tag(named) {}
        ~Definition() { reader.define(token, tag); }
        Definition(const Definition&) = delete;
        Definition& operator=(const Definition&) = delete;
        Reader& reader;
        const Token token;
        const miTag tag;
    };
    /// The element that an entity statement fills: the existing one for incremental changes, else a new one.
    template <class T>
    T& target(const Token& token, miScene_type kind, bool incremental);
    Element* incrementalTarget(const Token& token, miScene_type kind);

    // reader_commands.cpp
    bool readCommand(std::string_view word, const Token& token);
    void readSet();
    void readRegistry();
    void readLink(const Token& file);
    void lookUpRegistry(const std::string& entry, const SourceLocation& location);
    void readVerbose();
    void readVersion(std::string_view comparison);
    void readNamespace();
    void readDelete(const Token& token);
    void readRender(const Token& token);
    /// Hands a complete request to the callback, unless the scene has errors.
    void requestRender(const RenderRequest& request);
    void checkRequirements(const OptionsElement& options);
    void echo(const std::string& text);

    // reader_declarations.cpp
    void readDeclaration(const Token& token);
    void readDeclarationOptions(DeclarationElement& declaration);
    bool readRequirement(DeclarationElement& declaration, std::string_view word);
    std::vector<Parameter> readParameterList(char open, char close);
    Parameter readParameter();
    std::optional<miParam_type> acceptType();
    void keepDeclaration(const Token& nameToken, std::unique_ptr<DeclarationElement> declaration);

    // reader_shaders.cpp
    /// For whom a shader or list is read.
    struct ShaderUse {
        std::string owner;           ///< as messages call it
        std::string name = {};       ///< of its element; parts of phenomena are named below it
        miTag shareFrom = miNULLTAG; ///< "f" () of the same declaration takes this shader's parameters
        miTag existing =
            miNULLTAG; ///< list that an incremental change edits; named members stay as they are ...
        bool editsNamed = false; ///< ... except the first, when the change is of that shader itself
    };
    void readNamedShader(const Token& token, bool incremental);
    bool atShader();
    /// The same, or a list in brackets.
    bool atShaderList();
    miTag readShaderList(const ShaderUse& use, std::vector<miTag>* members = nullptr);
    miTag requiredShaderList(const ShaderUse& use, std::string_view slot);
    miTag readShader(const ShaderUse& use, miTag existing);
    /// Last member of the list that a named shader's statement made; the shader itself where it made none.
    FunctionElement& endOfOwnList(FunctionElement& head);
    void linkShader(miTag& head, miTag& last, miTag shader, const SourceLocation& location);
    /// Reads up to and with the closing mark; values not named keep what they are.
    void readParameters(const std::vector<Parameter>& parameters, std::vector<Value>& values, char close,
                        const ShaderUse& use, const std::string& declarationName);
    void skipValue(char close);

    // reader_phenomenon.cpp
    bool readPhenomenonPart(DeclarationElement& declaration, const Token& word);
    void readPhenomenonRoot(DeclarationElement& declaration);
    void addPart(std::string name, miTag tag);
    void checkPhenomenonRoot(DeclarationElement& declaration, const SourceLocation& location);
    /// The declaration when a use of a phenomenon follows, as in "name" ( ... ); else null.
    DeclarationElement* atPhenomenon();
    /// Reads a use. Returns its result, a shader list or a material; where the phenomenon has none, the use
    /// itself.
    miTag readPhenomenonUse(const ShaderUse& use);

    // reader_values.cpp
    Value readValue(const Parameter& parameter, const ShaderUse& use, const std::string& declarationName);
    Value readElement(const Parameter& parameter, const ShaderUse& use, const std::string& declarationName);
    Value readArray(const Parameter& parameter, const ShaderUse& use, const std::string& declarationName);
    Value readLiteral(const Parameter& parameter);
    Value readConnection(const Parameter& parameter, const ShaderUse& use);
    Value readInterfaceReference(const Parameter& parameter);
    miTag readTagLiteral(miParam_type type);
    const Parameter* memberOf(const Parameter& result, std::string_view path, int& offset) const;

    // reader_options.cpp
    void readOptions(const Token& token, bool incremental);
    void readOptionStatement(OptionsElement& element, const Token& word);
    void readStringOption(OptionsElement& element, const Token& option);
    const OptionStatement* readOptionWords(const Token& firstWord);
    std::string readOptionValues(const OptionStatement& statement, OptionValues& values);
    void ignoredOption(const OptionsElement& element, const Token& first, std::string_view reason);
    bool atOption();
    void readOwnOption(OptionsElement& element, const OptionStatement& statement,
                       const SourceLocation& location);
    bool skipOptionRest();
    miTag& readContourPart(miTag& store, miTag& contrast);
    void readFramebufferOption(OptionsElement& element, const SourceLocation& location);
    void skipToOption();

    // reader_camera.cpp
    void readCamera(const Token& token, bool incremental);
    void readCameraData(CameraElement& element, miTag& before);
    void readFramebuffer(CameraElement& element);
    OutputStatement readOutput(const ShaderUse& use, const SourceLocation& location);
    bool atCameraStatement();
    bool readCameraStatement(CameraElement& element, const Token& word);

    // reader_frame.cpp: scenes in which a frame and a view stand for camera, options, instances and render
    void readFrame();
    void readFrameEnd(const Token& token);
    void readView(const Token& token);
    OptionsElement& viewOptions(const SourceLocation& location);
    miTag placed(const Element& item, const SourceLocation& location);
    int frameNumber_ = 0;
    float frameTime_ = 0.0f;
    bool inFrame_ = false;
    miTag view_ = miNULLTAG, viewOptions_ = miNULLTAG;
    std::map<miTag, miTag> placed_; // instances by the camera, object or light that they place

    // reader_lights.cpp: materials, lights, textures, light profiles
    void readMaterial(const Token& token, bool incremental);
    const MaterialElement* readMaterialBase(const ShaderUse& use);
    void readLight(const Token& token, bool incremental);
    bool readLightStatement(LightElement& element, const Token& word);
    bool readLightArea(LightElement& element, std::string_view word);
    void readAreaSampling(LightElement& element);
    void readShadowMap(LightElement& element, const SourceLocation& location);
    void finishLight(LightElement& element);

    // reader_textures.cpp
    void readTexture(const Token& token, std::string_view firstWord, bool incremental);
    void readWritableFile(TextureElement& element);
    void readTextureSize(TextureElement& element, std::string_view before);
    void readInlinePixels(TextureElement& element, const SourceLocation& location);
    /// A built-in profile, or a colour space of the configuration.
    struct Profile {
        ColorProfile builtIn = ColorProfile::Linear;
        const ColorSpaces* spaces = nullptr; ///< null: the built-in one
        std::string space{};
    };
    Profile readColorProfileName();
    void readLightProfile(const Token& token, bool incremental);
    void readOther(const Token& token, std::string_view kind);

    // reader_data.cpp
    void readData(const Token& token, bool incremental);
    bool endsData();
    std::string readDataFile(const std::string& file, const SourceLocation& location,
                             const std::string& owner);
    void readRawData(UserdataElement& element, const SourceLocation& location);

    // reader_objects.cpp
    void readObject(const Token& token, bool incremental);
    bool readObjectFlag(ObjectElement& element, const Token& word);
    bool readObjectStatement(ObjectElement& element, const Token& word);
    void readGroup(ObjectElement& element);
    void readMeshFile(const ObjectElement& element);
    void skipSpaceCurve(ObjectElement& element, const SourceLocation& location);
    void skipGeometry(ObjectElement& element, const SourceLocation& location, std::string_view kind,
                      std::string_view until);

    ObjectElement* placeholder_ = nullptr; ///< that the next object of this file fills

    // reader_polygons.cpp
    void readVectors(PolygonGroup& group);
    void readVertices(PolygonGroup& group, const ObjectElement& element);
    void readPolygon(PolygonGroup& group, const ObjectElement& element, const Token& word);
    bool readLoop(PolygonGroup& group, const ObjectElement& element, const Token& word);
    void readMaterialOrLabel(const ObjectElement& element, std::string_view of, miTag& material,
                             std::int32_t& label);
    std::string lastMaterialName_; // neighbours mostly share their material
    miTag lastMaterial_ = miNULLTAG;

    // reader_approximation.cpp
    ApproximateStatement readApproximation();
    [[nodiscard]] static std::optional<Approximation> ofPolygons(const ApproximateStatement& statement);
    void readObjectApproximation(ObjectElement& element);

    // reader_subdivision.cpp
    void readSubdivisionSurface(const PolygonGroup& group, ObjectElement& element, const Token& word);

    // reader_freeform.cpp
    void readBasis();
    void readCurve(const PolygonGroup& group, ObjectElement& element, const Token& word);
    void readSurface(const PolygonGroup& group, ObjectElement& element, const Token& word);
    void readConnection(ObjectElement& element, const Token& word);
    SplineDirection readDirection(const std::string& owner, bool forCurve, bool verticesFollow);
    ControlNet readControlNet(const PolygonGroup& group, const std::string& owner, bool rational,
                              std::size_t count, std::vector<std::int32_t>* vertices = nullptr);
    void readTrimLoop(const ObjectElement& element, FreeformSurface& surface, const std::string& owner,
                      const Token& word);
    FreeformSurface::CurvePart readCurvePart(const ObjectElement& element, const std::string& owner);
    std::map<std::string, Basis, std::less<>> bases_; // of the object that is being read

    // reader_trilist.cpp
    void readTriangleList(ObjectElement& element, const Token& token);
    void checkTriangles(const ObjectElement& element, TriangleList& list, const SourceLocation& location);
    /// @param known the codes that the vertices may have, of n d d2 b m r t u
    void readVertexCodes(VertexLayout& layout, const ObjectElement& element,
                         std::span<const std::string_view> known);
    template <class T>
    void readNumberList(std::vector<T>& values, std::size_t count, std::string_view binaryWord,
                        const std::string& what, std::size_t otherCount);
    template <class T>
    void readNumberList(std::vector<T>& values, std::size_t count, std::string_view binaryWord,
                        const std::string& what) {
        readNumberList(values, count, binaryWord, what, count);
    }

    // reader_hair.cpp
    void readHair(ObjectElement& element, const Token& word);

    // reader_instances.cpp
    void readInstance(const Token& token, bool incremental);
    bool readInstanceStatement(InstanceElement& element, const Token& word);
    bool readInstanceFlag(InstanceElement& element, const Token& word);
    void readLightLinks(InstanceElement& element);
    void readGroupEntity(const Token& token, bool incremental);

    // reader_assembly.cpp
    void readAssembly(const Token& token);
    bool readFileOf(Reader& inner, const Element& element, const std::string& file);
    int fileDepth_ = 0;               // of assemblies and objects whose files this one is in
    std::size_t outerNamespaces_ = 0; // that do not end in this file
    miTag assemblyRoot_ = miNULLTAG;  // the group that this file's root statement names

    const ParserCallbacks& callbacks_;
    Database& database_;
    std::string block_;                                    // keyword of the entity that is being read
    std::vector<std::string> namespaces_;                  // full names, innermost last
    bool connectionsAllowed_ = true;                       // not in data blocks and defaults
    int nesting_ = 0;                                      // of structs that are being declared
    DeclarationElement* phenomenon_ = nullptr;             // whose body is being read
    std::map<std::string, miTag, std::less<>> innerNames_; // of that phenomenon
};

template <class T>
T& Reader::target(const Token& token, miScene_type kind, bool incremental) {
    if (incremental) {
        if (auto* existing = dynamic_cast<T*>(incrementalTarget(token, kind))) {
            ++existing->revision;
            return *existing;
        }
    }
    auto element = std::make_unique<T>();
    element->name = fullName(token.text);
    element->location = locationOf(token);
    T& result = *element;
    const miTag tag = database_.add(std::move(element));
    if (phenomenon_) addPart(std::string(token.text), tag);
    return result;
}

} // namespace orca::scene
