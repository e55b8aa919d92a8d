// SPDX-License-Identifier: Apache-2.0
#include "scene/database.h"

#include "scene/elements/string_element.h"

#include <map>
#include <stdexcept>

namespace orca::scene {

namespace {

std::atomic<std::uint64_t> databasesMade{0};

/// The account that this thread used last. Threads work on one database at a time, so one entry is enough.
struct AccountCache {
    std::uint64_t database = 0;
    void* account = nullptr;
};
thread_local AccountCache accountCache;

/// A number that no other thread of the process ever has, unlike std::thread::id.
std::uint64_t threadNumber() {
    static std::atomic<std::uint64_t> threads{0};
    thread_local const std::uint64_t number = ++threads;
    return number;
}

} // namespace

Database::Database() : identity_(++databasesMade) {
}

Database::~Database() {
    for (auto& slot : segments_) {
        Segment* segment = slot.load();
        if (!segment) continue;
        for (auto& element : *segment) delete element.load();
        delete segment;
    }
}

miTag Database::add(std::unique_ptr<Element> element) {
    const std::lock_guard lock(mutex_);
    const miTag tag = next_.load(std::memory_order_relaxed);
    const std::uint32_t number = tag / segmentSize;
    if (number >= segmentCount) throw std::length_error("the scene has more elements than tags exist");
    Segment* segment = segments_[number].load(std::memory_order_relaxed);
    if (!segment) {
        segment = new Segment{};
        segments_[number].store(segment, std::memory_order_release);
    }
    element->tag = tag;
    (*segment)[tag % segmentSize].store(element.release(), std::memory_order_release);
    next_.store(tag + 1, std::memory_order_release);
    return tag;
}

void Database::remove(miTag tag) {
    const std::lock_guard lock(mutex_);
    const std::uint32_t number = tag / segmentSize;
    if (number >= segmentCount) return;
    Segment* segment = segments_[number].load(std::memory_order_relaxed);
    if (segment) delete (*segment)[tag % segmentSize].exchange(nullptr);
}

Database::PinAccount::~PinAccount() {
    for (auto& segment : segments) delete segment.load();
}

void Database::PinAccount::change(miTag tag, int by) {
    PinSegment* segment = segments[tag / segmentSize].load(std::memory_order_relaxed);
    if (!segment) {
        segment = new PinSegment{};
        segments[tag / segmentSize].store(segment, std::memory_order_release);
    }
    // Only this thread writes, so a load and a store do; readers see some recent value.
    std::atomic<int>& pins = (*segment)[tag % segmentSize];
    pins.store(pins.load(std::memory_order_relaxed) + by, std::memory_order_relaxed);
}

Database::PinAccount& Database::openAccount() {
    const std::lock_guard lock(mutex_);
    std::unique_ptr<PinAccount>& account = accounts_[threadNumber()];
    if (!account) account = std::make_unique<PinAccount>();
    accountCache = {identity_, account.get()};
    return *account;
}

Database::PinAccount& Database::pinsOfThisThread() {
    if (accountCache.database == identity_) [[likely]]
        return *static_cast<PinAccount*>(accountCache.account);
    return openAccount();
}

void* Database::access(miTag tag) {
    Element* element = get(tag);
    void* record = element ? element->record() : nullptr;
    if (record) pinsOfThisThread().change(tag, 1);
    return record;
}

void Database::unpin(miTag tag) {
    if (get(tag)) pinsOfThisThread().change(tag, -1);
}

std::vector<Database::Unbalanced> Database::unbalancedPins() const {
    std::map<miTag, int> pins;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& [thread, account] : accounts_) {
            for (std::uint32_t s = 0; s < segmentCount; ++s) {
                const PinSegment* segment = account->segments[s].load(std::memory_order_acquire);
                if (!segment) continue;
                for (std::uint32_t i = 0; i < segmentSize; ++i) {
                    const int held = (*segment)[i].load(std::memory_order_relaxed);
                    if (held != 0) pins[s * segmentSize + i] += held;
                }
            }
        }
    }
    std::vector<Unbalanced> result;
    for (const auto& [tag, held] : pins) {
        if (held == 0) continue;
        const Element* element = get(tag);
        std::string name = element ? element->name : std::string("deleted element");
        if (name.empty()) name = fmt::format("unnamed {}", kindName(element->type));
        result.push_back({tag, std::move(name), held});
    }
    return result;
}

int Database::pinsHeld() const {
    int sum = 0;
    for (const Unbalanced& element : unbalancedPins()) sum += element.pins;
    return sum;
}

miTag Database::internString(std::string_view text) {
    {
        const std::lock_guard lock(mutex_);
        if (const auto found = strings_.find(text); found != strings_.end()) return found->second;
    }
    const miTag tag = add(std::make_unique<StringElement>(std::string(text)));
    const std::lock_guard lock(mutex_);
    // Another thread may have been faster; then its tag is kept and this element stays unused.
    return strings_.try_emplace(std::string(text), tag).first->second;
}

miTag Database::named(std::string_view name) const {
    const auto found = names_.find(name);
    return found == names_.end() ? miNULLTAG : found->second;
}

void Database::setName(const std::string& name, miTag tag) {
    names_[name] = tag;
}

void Database::eraseName(const std::string& name) {
    names_.erase(name);
}

miTag Database::declaration(std::string_view name) const {
    const auto found = declarations_.find(name);
    return found == declarations_.end() ? miNULLTAG : found->second;
}

void Database::setDeclaration(const std::string& name, miTag tag) {
    declarations_[name] = tag;
}

namespace {

template <class Table, class Visit>
void visitInTagOrder(const Table& table, const Visit& visit) {
    std::map<miTag, const std::string*> ordered;
    for (const auto& [name, tag] : table) ordered[tag] = &name;
    for (const auto& [tag, name] : ordered) visit(*name, tag);
}

} // namespace

void Database::visitNamed(const std::function<void(const std::string&, miTag)>& visit) const {
    visitInTagOrder(names_, visit);
}

void Database::visitDeclarations(const std::function<void(const std::string&, miTag)>& visit) const {
    visitInTagOrder(declarations_, visit);
}

const Element* Database::userOf(miTag tag) const {
    for (miTag other = 1; other < endTag(); ++other) {
        const Element* element = get(other);
        if (!element || other == tag) continue;
        bool uses = false;
        element->visitReferences([&](miTag used) { uses = uses || used == tag; });
        if (uses) return element;
    }
    return nullptr;
}

bool Database::isInCycle(miTag tag) const {
    std::vector<miTag> waiting{tag};
    std::vector<bool> seen(endTag(), false);
    bool found = false;
    while (!waiting.empty() && !found) {
        const Element* element = get(waiting.back());
        waiting.pop_back();
        if (!element) continue;
        element->visitReferences([&](miTag used) {
            found = found || used == tag;
            if (used >= seen.size() || seen[used]) return;
            seen[used] = true;
            waiting.push_back(used);
        });
    }
    return found;
}

std::string_view kindName(miScene_type type) {
    switch (type) {
    case miSCENE_NONE: return "nothing";
    case miSCENE_STRING: return "string";
    case miSCENE_FUNCTION_DECL: return "shader declaration";
    case miSCENE_FUNCTION: return "shader";
    case miSCENE_OPTIONS: return "options block";
    case miSCENE_CAMERA: return "camera";
    case miSCENE_MATERIAL: return "material";
    case miSCENE_OBJECT: return "object";
    case miSCENE_LIGHT: return "light";
    case miSCENE_GROUP: return "instance group";
    case miSCENE_INSTANCE: return "instance";
    case miSCENE_TEXTURE: return "texture";
    case miSCENE_LIGHTPROFILE: return "light profile";
    case miSCENE_FRAMEBUFFERS: return "frame-buffer collection";
    case miSCENE_PHENOMENON_DECL: return "phenomenon declaration";
    case miSCENE_OTHER: return "other element";
    case miSCENE_USERDATA: return "data block";
    }
    return "element";
}

std::string withArticle(std::string_view noun) {
    const bool vowel = !noun.empty() && std::string_view("aeiou").find(noun[0]) != std::string_view::npos;
    return fmt::format("{} {}", vowel ? "an" : "a", noun);
}

} // namespace orca::scene
