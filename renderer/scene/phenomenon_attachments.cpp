// SPDX-License-Identifier: Apache-2.0
#include "scene/phenomenon_attachments.h"

#include <algorithm>

namespace orca::scene {

namespace {

/// Elements that others refer to, directly or through further ones.
class Reach {
public:
    explicit Reach(const Database& database) : database_(database), reached_(database.endTag(), false) {}

    [[nodiscard]] bool holds(miTag tag) const { return tag < reached_.size() && reached_[tag]; }
    void extend(miTag from) {
        enter(from);
        while (!waiting_.empty()) {
            const Element* const element = database_.get(waiting_.back());
            waiting_.pop_back();
            if (element) element->visitReferences([this](miTag tag) { enter(tag); });
        }
    }

private:
    void enter(miTag tag) {
        if (tag >= reached_.size() || reached_[tag]) return;
        reached_[tag] = true;
        waiting_.push_back(tag);
    }

    const Database& database_;
    std::vector<bool> reached_;
    std::vector<miTag> waiting_;
};

} // namespace

PhenomenonAttachments attachmentsTo(const Database& database, std::initializer_list<miTag> rendered) {
    std::vector<const PhenomenonUseElement*> uses;
    for (miTag tag = 1; tag < database.endTag(); ++tag) {
        const auto* const use = database.find<PhenomenonUseElement>(tag);
        if (use && !use->attached.empty()) uses.push_back(use);
    }
    PhenomenonAttachments result;
    if (uses.empty()) return result;

    Reach reach(database);
    for (const miTag tag : rendered) reach.extend(tag);
    const auto counts = [&](const PhenomenonUseElement* use) {
        return use->root ? reach.holds(use->root) : database.named(use->name) == use->tag;
    };
    // What one use attaches may bring in another.
    for (;;) {
        const auto found = std::find_if(uses.begin(), uses.end(), counts);
        if (found == uses.end()) return result;
        const PhenomenonUseElement* const use = *found;
        uses.erase(found);
        result.append(use->attached);
        use->visitReferences([&](miTag tag) { reach.extend(tag); });
    }
}

} // namespace orca::scene
