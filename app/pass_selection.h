// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "pass_preset_text.h"
#include "pass_request.h"

#include "scene/elements/elements.h"
#include "scene/language/scene_file.h"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orca::app {

/// Names of the links that `--passes` gives to instances begin so.
inline constexpr std::string_view selectionLinksName = "passes:links";

/// Which lights and objects of a scene feed which layers of `--passes`, told to shaders by links on the
/// instances (orcaPassLinks).
class PassSelection {
public:
    explicit PassSelection(scene::Scene& scene) : scene_(scene) {}

    /// Looks at what is below the group, adds the layers that requests ask for by light and by object, and
    /// notes whose each layer is. False, with errors, when a pattern fits nothing.
    bool resolve(PassRequests& requests, miTag group);

    /// Gives links to the instances that layers leave out, unless they have them. False with messages.
    bool give(const scene::ParserOptions& options, const scene::ParserCallbacks& callbacks,
              PassPresetText& text);

private:
    /// An instance of a light or an object.
    struct Leaf {
        std::string name;
        std::set<std::string> members; ///< of the scene's group, that it is below of
        std::set<std::string> without; ///< layers that leave it out
    };
    using Leaves = std::map<miTag, Leaf>;

    void collect(miTag group, const std::string& member, std::set<miTag>& path);
    [[nodiscard]] std::string memberName(const scene::GroupElement& group,
                                         const scene::InstanceElement& instance) const;
    /// True where a camera or a material has a volume shader.
    [[nodiscard]] bool hasVolumes() const;
    void addVolumes(PassRequests& requests);
    void addLights(PassRequests& requests);
    bool addObjects(PassRequests& requests);
    bool leaveOut(Leaves& leaves, const PassRequest& request, const std::vector<std::string>& patterns,
                  const char* kind);
    [[nodiscard]] bool hasLinks(const scene::InstanceElement& instance) const;

    scene::Scene& scene_;
    Leaves lights_, objects_;
    std::map<std::pair<std::set<std::string>, miTag>, std::string>
        links_; ///< names, by layers and what follows
};

} // namespace orca::app
