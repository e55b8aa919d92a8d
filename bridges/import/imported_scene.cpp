// SPDX-License-Identifier: Apache-2.0
#include "imported_scene.h"

#include "cameras.h"
#include "images.h"
#include "lights.h"
#include "materials.h"
#include "morph_targets.h"
#include "node_poses.h"
#include "placement.h"
#include "studio.h"
#include "triangle_mesh.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace orca::bridge {

namespace {

/// The animation that the options ask for; null where they ask for no frames.
const aiAnimation* animationOf(const ModelFile& model, const ImportOptions& options) {
    const aiScene& scene = model.scene();
    if (!options.frames) return nullptr;
    if (scene.mNumAnimations == 0)
        throw ImportError(fmt::format("\"{}\": there is no animation, so there are no frames", model.path()));
    if (options.animation < 1 || static_cast<unsigned>(options.animation) > scene.mNumAnimations)
        throw ImportError(fmt::format("\"{}\": there is no animation {}; there are {}", model.path(),
                                      options.animation, scene.mNumAnimations));
    return scene.mAnimations[options.animation - 1];
}

/// Prints one scene.
class SceneImport {
public:
    SceneImport(const ModelFile& model, const ImportOptions& options, const std::string& scenePath)
        : model_(model),
          scene_(model.scene()),
          options_(options),
          text_(scenePath),
          images_(model, scenePath, text_, losses_),
          scale_(model.metresPerUnit() * model.rootScale() * options.scale),
          materials_(model, text_, images_, losses_, scale_),
          poses_(scene_, animationOf(model, options)),
          morphs_(scene_, animationOf(model, options)),
          world_(worldOf(model, options)),
          bounds_(boundsOf(scene_, poses_, morphs_, world_, firstMoment())) {
        if (bounds_.isEmpty()) bounds_.low = {-1, -1, -1}, bounds_.high = {1, 1, 1};
    }

    ImportSummary write();

private:
    /// Something with a place of its own: printed once, and again in each frame in which it moves.
    struct Placed {
        std::string instance;
        const aiNode* node;
        const aiLight* light = nullptr;
        const aiCamera* camera = nullptr; ///< neither: the node's own place in its parent
    };

    [[nodiscard]] Moment firstMoment() const {
        if (!options_.frames) return {};
        return options_.frames->first / options_.framesPerSecond;
    }
    [[nodiscard]] bool blurs() const { return options_.shutter > 0 && options_.frames; }
    [[nodiscard]] Moment afterFrame(Moment moment) const { return *moment + 1 / options_.framesPerSecond; }
    [[nodiscard]] Matrix placement(const Placed& placed, Moment moment) const;
    [[nodiscard]] bool moves(const Placed& placed) const;

    [[nodiscard]] MeshPose poseOf(unsigned mesh, Moment moment) const;
    /// Whether the points of a mesh move, besides the nodes that it is placed by.
    [[nodiscard]] bool changes(unsigned mesh) const {
        return scene_.mMeshes[mesh]->HasBones() || morphs_.moves(mesh);
    }
    void chooseCamera();
    void printHead();
    void printObject(unsigned mesh, bool again, Moment moment);
    void printObjects();
    void printPlace(const Placed& placed, Moment moment);
    [[nodiscard]] std::string printNode(const aiNode& node);
    void printInstance(const Placed& placed, const std::string& element, const std::string& material);
    void printGeometry();
    void printLights();
    void printCameras();
    void printCamera(const std::string& name, const View& view);
    void printFrames();
    void noteLosses();

    const ModelFile& model_;
    const aiScene& scene_;
    const ImportOptions& options_;
    Losses losses_;
    SceneText text_;
    Images images_;
    double scale_; ///< of lengths from the file to the scene
    Materials materials_;
    NodePoses poses_;
    MorphTargets morphs_;
    Matrix world_;
    Box bounds_; ///< of everything in the first frame
    ImportSummary summary_;

    std::map<unsigned, std::string> objects_; ///< names, by mesh; empty for meshes without triangles
    std::vector<Placed> placed_;              ///< all that may move
    std::vector<std::string> root_;           ///< members of the root group
    const aiCamera* chosen_ = nullptr;        ///< null: one that frames the scene
    int width_ = 960, height_ = 540;
    double light_ = 0; ///< what a white surface in the middle shows of the file's lights
    bool hasStudio_ = false;
    std::string cameraName_, cameraInstance_;
    std::string rootName_ = "world", optionsName_ = "options", environmentName_ = "environment";
};

Matrix SceneImport::placement(const Placed& placed, Moment moment) const {
    if (!placed.light && !placed.camera) return poses_.local(*placed.node, moment);
    const Matrix matrix = world_ * poses_.global(*placed.node, moment);
    if (placed.light) return lightPlacement(*placed.light, matrix, scale_);
    return cameraPlacement(*placed.camera, matrix, model_);
}

bool SceneImport::moves(const Placed& placed) const {
    return placed.light || placed.camera ? poses_.isCarried(*placed.node) : poses_.moves(*placed.node);
}

void SceneImport::chooseCamera() {
    for (unsigned i = 0; i < scene_.mNumCameras && !chosen_; ++i)
        if (options_.camera.empty() || options_.camera == scene_.mCameras[i]->mName.C_Str())
            chosen_ = scene_.mCameras[i];
    if (!chosen_ && !options_.camera.empty()) {
        std::string names;
        for (unsigned i = 0; i < scene_.mNumCameras; ++i)
            names += fmt::format("{}\"{}\"", i ? ", " : "", scene_.mCameras[i]->mName.C_Str());
        throw ImportError(fmt::format("\"{}\": there is no camera \"{}\"; {}", model_.path(), options_.camera,
                                      names.empty() ? "it has none" : "there are " + names));
    }
    if (options_.size) {
        std::tie(width_, height_) = *options_.size;
    } else if (chosen_ && chosen_->mAspect > 0) {
        constexpr int mostHigh = 8192;
        height_ = std::clamp(static_cast<int>(std::lround(static_cast<float>(width_) / chosen_->mAspect)), 1,
                             mostHigh);
    }
}

void SceneImport::printHead() {
    text_.print("# Imported by {} from {} ({}).\n", options_.program, printable(model_.path()),
                model_.format());
    text_.print(R"(
link "velabase.so"
link "orca.so"
$include <velabase.mi>
$include <orca.mi>

options "{}"
    object space
    samples 0 2  contrast 0.05 0.05 0.05 0.05  filter gauss 3 3
    trace on  trace depth 3 6 8  shadow on
)",
                optionsName_);
    if (blurs()) text_.print("    motion on  motion steps 4  shutter 0 {:.6g}\n", options_.shutter);
    text_.print(R"(    state "velaBaseState" ( "additivePasses" on )
          "orcaFrameBufferState" ( )
end options

)");
}

/// Between its morph targets, then bent by its bones.
MeshPose SceneImport::poseOf(unsigned index, Moment moment) const {
    const aiMesh& mesh = *scene_.mMeshes[index];
    MeshPose pose = morphs_.at(index, moment);
    return mesh.HasBones() ? bent(mesh, pose, poses_, moment) : pose;
}

/// @param again as a change of the object, for a mesh whose points move
void SceneImport::printObject(unsigned index, bool again, Moment moment) {
    const aiMesh& mesh = *scene_.mMeshes[index];
    MeshPoints points = pointsOf(mesh);
    MeshPose now, later;
    if (mesh.HasBones() || morphs_.has(index)) {
        now = poseOf(index, moment);
        points.positions = now.positions;
        points.normals = now.normals;
        if (blurs() && changes(index)) later = poseOf(index, afterFrame(moment));
        points.later = later.positions;
    }
    const TriangleMesh triangles = triangleMesh(mesh, points, options_.creaseDegrees);
    if (triangles.dropped > 0)
        losses_.add("triangles with vertices that are missing or not finite", mesh.mName.C_Str());
    if (triangles.indices.empty()) return;
    std::string& name = objects_[index];
    if (!again) {
        name = text_.name(mesh.mName.C_Str());
        ++summary_.objects;
        summary_.triangles += triangles.indices.size() / 3;
    }
    text_.print("{}object \"{}\"\n    visible on  shadow on  trace on\n    group\n",
                again ? "incremental " : "", name);
    print(text_, triangles, {});
    text_.print("    end group\nend object\n\n");
}

void SceneImport::printObjects() {
    for (const PlacedMesh& placed : placedMeshes(scene_)) {
        if (!objects_.try_emplace(placed.mesh).second) continue;
        printObject(placed.mesh, false, firstMoment());
        if (!objects_[placed.mesh].empty())
            static_cast<void>(materials_.nameFor(*scene_.mMeshes[placed.mesh])); // printed ahead of its use
    }
    if (summary_.objects == 0 && scene_.mNumLights == 0 && scene_.mNumCameras == 0)
        throw ImportError(fmt::format("\"{}\": it holds no triangles, lights or cameras", model_.path()));
}

/// Flat placements, by which formats hide things, have no inverse.
void SceneImport::printPlace(const Placed& placed, Moment moment) {
    const Matrix now = placement(placed, moment);
    const bool shown = isInvertible(now);
    const bool moving = moves(placed);
    if (!shown) text_.print("    hide on\n");
    else if (moving) text_.print("    hide off\n");
    if (shown) text_.printTransform("transform", now);
    if (!moving || !blurs() || placed.light || !shown) return;
    const Matrix later = placement(placed, afterFrame(moment));
    text_.printTransform("motion transform", isInvertible(later) ? later : now);
}

void SceneImport::printInstance(const Placed& placed, const std::string& element,
                                const std::string& material) {
    text_.print("instance \"{}\" \"{}\"\n", placed.instance, element);
    if (!material.empty()) text_.print("    material \"{}\"\n", material);
    printPlace(placed, firstMoment());
    text_.print("end instance\n");
    placed_.push_back(placed);
    ++summary_.instances;
}

/// Prints what is below a node, and the instance that places all of it; returns this one's name, or nothing
/// for an empty node.
std::string SceneImport::printNode(const aiNode& node) {
    std::vector<std::string> members;
    std::string onlyObject, onlyMaterial;
    for (unsigned i = 0; i < node.mNumMeshes; ++i) {
        const auto object = objects_.find(node.mMeshes[i]);
        if (object == objects_.end() || object->second.empty()) continue;
        const aiMesh& mesh = *scene_.mMeshes[node.mMeshes[i]];
        const std::string material = materials_.nameFor(mesh);
        if (!mesh.HasBones() && node.mNumMeshes == 1 && node.mNumChildren == 0) {
            onlyObject = object->second;
            onlyMaterial = material;
            continue;
        }
        const std::string name = text_.name(fmt::format("{} here", object->second));
        text_.print("instance \"{}\" \"{}\" material \"{}\" end instance\n", name, object->second, material);
        ++summary_.instances;
        // A mesh with bones is where these are, wherever its node is.
        if (mesh.HasBones()) root_.push_back(name);
        else members.push_back(name);
    }
    for (unsigned i = 0; i < node.mNumChildren; ++i)
        if (std::string child = printNode(*node.mChildren[i]); !child.empty())
            members.push_back(std::move(child));
    if (onlyObject.empty() && members.empty()) return {};
    const Placed placed{text_.name(fmt::format("{} place", node.mName.C_Str())), &node};
    if (!onlyObject.empty()) {
        printInstance(placed, onlyObject, onlyMaterial);
        return placed.instance;
    }
    const std::string group = text_.name(fmt::format("{} group", node.mName.C_Str()));
    text_.print("instgroup \"{}\"", group);
    for (const std::string& member : members) text_.print("\n    \"{}\"", member);
    text_.print("\nend instgroup\n");
    printInstance(placed, group, {});
    return placed.instance;
}

/// All of the file's objects, under one instance that turns and scales them.
void SceneImport::printGeometry() {
    const std::string top = printNode(*scene_.mRootNode);
    std::vector<std::string> members = std::move(root_); // those with bones
    root_.clear();
    if (!top.empty()) members.push_back(top);
    if (members.empty()) return;
    const std::string group = text_.name("model"), instance = text_.name("model here");
    text_.print("instgroup \"{}\"", group);
    for (const std::string& member : members) text_.print("\n    \"{}\"", member);
    text_.print("\nend instgroup\ninstance \"{}\" \"{}\"\n", instance, group);
    text_.printTransform("transform", world_);
    text_.print("end instance\n\n");
    root_.push_back(instance);
}

void SceneImport::printLights() {
    for (unsigned i = 0; i < scene_.mNumLights; ++i) {
        const aiLight& light = *scene_.mLights[i];
        const aiNode* const node = poses_.node(light.mName);
        const auto name = printLight(text_, light, model_, scale_, losses_);
        if (!name) continue;
        const Placed placed{text_.name(*name + " here"), node ? node : scene_.mRootNode, &light};
        printInstance(placed, *name, {});
        root_.push_back(placed.instance);
        ++summary_.lights;
        light_ += brightnessAt(light, placement(placed, firstMoment()), bounds_.centre(), model_, scale_);
    }
    hasStudio_ = options_.studio.value_or(summary_.lights == 0);
    if (!hasStudio_) return;
    for (std::string& instance : printStudio(text_, environmentName_)) root_.push_back(std::move(instance));
}

void SceneImport::printCamera(const std::string& name, const View& view) {
    text_.print("\ncamera \"{}\"\n    framebuffer \"main\" datatype \"rgba_fp\" filtering on primary on\n",
                name);
    text_.print("    resolution {} {}  aspect {:.7g}  clip {:.6g} {:.6g}\n", width_, height_,
                static_cast<double>(width_) / height_, view.nearest, view.farthest);
    if (view.isParallel) text_.print("    focal infinity  aperture {:.7g}\n", view.width);
    else text_.print("    focal {:.7g}  aperture 1\n", view.focal / view.width);
    if (options_.frames) text_.print("    frame {}\n", options_.frames->first);
    text_.print("    lens ");
    // Lights in candela may be thousands of times as bright as a picture.
    constexpr double wanted = 0.7;
    const double stops = light_ > 0 ? std::log2(wanted / light_) : 0;
    if (std::abs(stops) >= 1) text_.print("\"velaExposure\" ( \"exposure\" {:.1f} ) ", stops);
    text_.print("\"orcaFrameBufferLens\" ( )\n");
    if (hasStudio_) text_.print("    environment = \"{}\"\n", environmentName_);
    text_.print("end camera\n");
}

void SceneImport::printCameras() {
    const double aspect = static_cast<double>(width_) / height_;
    for (unsigned i = 0; i < scene_.mNumCameras; ++i) {
        const aiCamera& camera = *scene_.mCameras[i];
        const std::string name = text_.name(camera.mName.length > 0 ? camera.mName.C_Str() : "camera");
        printCamera(name, viewOf(camera, model_, aspect, scale_));
        const aiNode* const node = poses_.node(camera.mName);
        const Placed placed{text_.name(name + " here"), node ? node : scene_.mRootNode, nullptr, &camera};
        printInstance(placed, name, {});
        root_.push_back(placed.instance);
        ++summary_.cameras;
        if (&camera != chosen_) continue;
        cameraName_ = name;
        cameraInstance_ = placed.instance;
    }
    if (chosen_) return;
    const FramingCamera camera = framing(bounds_, aspect);
    cameraName_ = text_.name("camera");
    cameraInstance_ = text_.name("camera here");
    printCamera(cameraName_, camera.view);
    text_.print("instance \"{}\" \"{}\"\n", cameraInstance_, cameraName_);
    text_.printTransform("transform", camera.placement);
    text_.print("end instance\n");
    root_.push_back(cameraInstance_);
}

void SceneImport::printFrames() {
    const std::string render =
        fmt::format("\nrender \"{}\" \"{}\" \"{}\"\n", rootName_, cameraInstance_, optionsName_);
    text_.print("{}", render);
    summary_.frames = 1;
    if (!options_.frames) return;
    for (int frame = options_.frames->first + 1; frame <= options_.frames->second; ++frame) {
        const Moment moment = frame / options_.framesPerSecond;
        text_.print("\n");
        for (const auto& [mesh, name] : objects_)
            if (!name.empty() && changes(mesh)) printObject(mesh, true, moment);
        for (const Placed& placed : placed_) {
            if (!moves(placed)) continue;
            text_.print("incremental instance \"{}\"\n", placed.instance);
            printPlace(placed, moment);
            text_.print("end instance\n");
        }
        text_.print("incremental camera \"{}\" frame {} end camera{}", cameraName_, frame, render);
        ++summary_.frames;
    }
}

void SceneImport::noteLosses() {
    for (unsigned i = 0; i < scene_.mNumMeshes; ++i) {
        const aiMesh& mesh = *scene_.mMeshes[i];
        const std::string name = mesh.mName.C_Str();
        if (mesh.mPrimitiveTypes & (aiPrimitiveType_POINT | aiPrimitiveType_LINE))
            losses_.add("points and lines", name);
        if (mesh.GetNumUVChannels() > 4) losses_.add("texture spaces beyond the fourth", name);
    }
    for (unsigned i = 0; i < scene_.mNumAnimations; ++i) {
        const aiAnimation& animation = *scene_.mAnimations[i];
        if (!options_.frames || static_cast<int>(i) + 1 != options_.animation)
            losses_.add("animations that --frames and --animation do not ask for",
                        animation.mName.length > 0 ? animation.mName.C_Str() : fmt::format("{}", i + 1));
    }
}

ImportSummary SceneImport::write() {
    for (std::string* const name : {&rootName_, &optionsName_, &environmentName_})
        *name = text_.name(*name); // before the file's own elements take them
    chooseCamera();
    printHead();
    printObjects();
    printGeometry();
    printLights();
    if (options_.ground) root_.push_back(printGround(text_, bounds_));
    printCameras();
    text_.print("\ninstgroup \"{}\"", rootName_);
    for (const std::string& member : root_) text_.print("\n    \"{}\"", member);
    text_.print("\nend instgroup\n");
    printFrames();
    noteLosses();
    text_.close();
    summary_.materials = materials_.count();
    summary_.losses = losses_.lines();
    return summary_;
}

} // namespace

ImportSummary writeScene(const ModelFile& model, const ImportOptions& options, const std::string& scenePath) {
    return SceneImport(model, options, scenePath).write();
}

void writeGeometry(const ModelFile& model, const ImportOptions& options, bool tagged,
                   const std::string& path) {
    SceneText text(path);
    bool isEmpty = true;
    for (const std::string& file : model.files()) text.print("#: reads \"{}\"\n", file);
    const aiScene& scene = model.scene();
    const NodePoses poses(scene, nullptr);
    const MorphTargets morphs(scene, nullptr);
    const Matrix world = worldOf(model, options);
    for (const PlacedMesh& placed : placedMeshes(scene)) {
        const aiMesh& mesh = *scene.mMeshes[placed.mesh];
        MeshPose own = morphs.at(placed.mesh, {});
        if (mesh.HasBones()) own = bent(mesh, own, poses, {});
        const Matrix matrix = mesh.HasBones() ? world : world * poses.global(*placed.node, {});
        if (!isInvertible(matrix)) continue;
        const aiMatrix4x4 toObject(matrix);
        aiMatrix3x3 turn{aiMatrix3x3(toObject)};
        turn.Inverse().Transpose();
        for (aiVector3D& point : own.positions) point = toObject * point;
        for (aiVector3D& normal : own.normals) normal = (turn * normal).NormalizeSafe();
        const TriangleMesh triangles =
            triangleMesh(mesh, {own.positions, own.normals, {}}, options.creaseDegrees);
        if (triangles.indices.empty()) continue;
        isEmpty = false;
        print(text, triangles,
              tagged ? std::optional(static_cast<std::int32_t>(mesh.mMaterialIndex)) : std::nullopt);
    }
    if (isEmpty) throw ImportError(fmt::format("\"{}\": it holds no triangles", model.path()));
    text.close();
}

} // namespace orca::bridge
