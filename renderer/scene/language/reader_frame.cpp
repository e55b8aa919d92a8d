// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

#include <set>

namespace orca::scene {

void Reader::readFrame() {
    frameNumber_ = integer("the frame's number");
    frameTime_ = atNumber() ? next().number : 0.0f;
    inFrame_ = true;
}

OptionsElement& Reader::viewOptions(const SourceLocation& location) {
    if (auto* const known = database_.find<OptionsElement>(viewOptions_)) return *known;
    auto element = std::make_unique<OptionsElement>();
    element->name = "view";
    element->location = location;
    OptionsElement& result = *element;
    viewOptions_ = database_.add(std::move(element));
    return result;
}

/// A camera without a name, with the options of its picture among its statements.
void Reader::readView(const Token& token) {
    auto made = std::make_unique<CameraElement>();
    CameraElement& element = *made;
    element.name = "view";
    element.location = locationOf(token);
    view_ = database_.add(std::move(made));
    OptionsElement& options = viewOptions(element.location);
    miTag data = miNULLTAG;
    while (!endsBlock("view", element.name)) {
        const Token word = next();
        const bool isSwitch = peek().isWord("on") || peek().isWord("off"); // of a class of shaders
        if (word.isWord("framebuffer")) {
            readFramebuffer(element);
        } else if (word.isWord("output") && !isSwitch) {
            element.outputs.push_back(readOutput({"view, output", element.name}, locationOf(word)));
        } else if (word.isWord("data")) {
            readCameraData(element, data);
        } else if (word.kind == Token::Kind::String) {
            readStringOption(options, word);
        } else if (isSwitch || !readCameraStatement(element, word)) {
            readOptionStatement(options, word);
        }
    }
}

/// The instance that places an element where it is defined: in the camera's space.
miTag Reader::placed(const Element& item, const SourceLocation& location) {
    miTag& tag = placed_[item.tag];
    if (tag == miNULLTAG) {
        auto instance = std::make_unique<InstanceElement>();
        instance->name = item.name;
        instance->location = location;
        instance->instance.item = item.tag;
        tag = database_.add(std::move(instance));
    }
    return tag;
}

/// Renders all objects and lights that no instance places, as the view sees them.
void Reader::readFrameEnd(const Token& token) {
    if (!inFrame_) fail(token, "\"end frame\" without a frame");
    inFrame_ = false;
    const SourceLocation location = locationOf(token);
    auto* const camera = database_.find<CameraElement>(view_);
    if (!camera) {
        error(location, "frame {} has no view", frameNumber_);
        return;
    }
    camera->camera.frame = frameNumber_;
    camera->camera.frame_time = frameTime_;
    camera->hasFrame = true;
    ++camera->revision;

    std::set<miTag> placedByScene;
    for (miTag tag = 1; tag < database_.endTag(); ++tag) {
        const auto* instance = database_.find<InstanceElement>(tag);
        if (instance && !placed_.contains(instance->instance.item))
            placedByScene.insert(instance->instance.item);
    }
    auto group = std::make_unique<GroupElement>();
    group->name = fmt::format("frame {}", frameNumber_);
    group->location = location;
    group->members.push_back(placed(*camera, location));
    for (miTag tag = 1, end = database_.endTag(); tag < end; ++tag) {
        const Element* item = database_.get(tag);
        const bool isShown = item && (item->type == miSCENE_OBJECT || item->type == miSCENE_LIGHT) &&
                             database_.named(item->name) == tag;
        if (isShown && !placedByScene.contains(tag)) group->members.push_back(placed(*item, location));
    }
    RenderRequest request;
    request.location = location;
    request.number = ++scene_.renderStatements_;
    request.cameraInstance = group->members.front();
    request.options = viewOptions(location).tag;
    request.group = database_.add(std::move(group));
    request.endsFile = stream_.atEnd();
    requestRender(request);
}

} // namespace orca::scene
