// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "scene/database.h"
#include "scene/elements/elements.h"
#include "scene/making/hair_maker.h"

#include <shader.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orca::scene {

/// Adds elements to a database call by call, as a geometry shader makes them. A call that does not fit is an
/// error that names the owner; it does nothing and returns false, null or a null tag. What is still open when
/// another of its kind begins is dropped, with an error. One thread uses it.
class SceneMaker {
public:
    SceneMaker(Database& database, Log& log) : database_(database), log_(log) {}
    /// Removes all that was made, its names included.
    ~SceneMaker();
    SceneMaker(const SceneMaker&) = delete;
    SceneMaker& operator=(const SceneMaker&) = delete;

    /// Whose calls follow: "geometry shader \"grow\" of instance \"lawn\"".
    void setOwner(std::string owner, const SourceLocation& location);
    /// Drops what was left open, with an error.
    void finishOwner();

    miObject* beginObject(const std::string& name);
    bool beginGroup();
    bool addVector(const miVector& vector);
    bool addVertex(int position);
    bool setNormal(int vector);
    bool setDerivatives(int u, int v);
    /// @param bumpX, bumpY -1: none
    bool addTexture(int coordinate, int bumpX, int bumpY);
    bool addMotion(int vector);
    bool addUser(int vector);
    bool beginPolygon(bool convex, miTag material);
    bool addCorner(int vertex);
    bool beginHole();
    bool endPolygon();
    bool endGroup();
    miHair_list* beginHair();
    /// What the body does to the open hairs; it returns what is wrong, empty for nothing.
    template <class Body>
    bool withHair(const char* function, const Body& body) {
        const std::string fault = hair_ ? body(*hair_) : "no hairs are open";
        if (!fault.empty()) error("{}: {}", function, fault);
        return fault.empty();
    }
    bool endHair();
    miTag endObject();

    miInstance* beginInstance(const std::string& name);
    miTag endInstance(miTag item, miTag userdata);

    bool beginInstanceGroup(const std::string& name);
    bool addMember(miTag instance);
    miTag endInstanceGroup();

    /// The record of an element that was made here.
    void* edit(miTag tag);
    bool endEdit(miTag tag);

    /// Adds an element to a group that is made for the first one; what is no instance gets one.
    bool addResult(miTag& group, miTag item);

    template <class... Arguments>
    void error(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        log_.errorAt(location_, "GEOM", "{}: {}", owner_,
                     fmt::format(format, std::forward<Arguments>(arguments)...));
    }

private:
    struct OpenPolygon {
        PolygonGroup::Polygon polygon;
        std::size_t firstCorner; ///< of the polygon
        std::uint32_t loopStart;
        bool isWhole = true;
    };

    miTag add(std::unique_ptr<Element> element);
    template <class ElementOpen>
    void drop(std::unique_ptr<ElementOpen>& open);
    void dropObject();
    /// The last vertex of the open group, for a part with this vector; null, with an error, when there is no
    /// vertex or no such vector.
    PolygonGroup* vertexFor(const char* function, int vector, bool mayLack = false);
    [[nodiscard]] std::size_t lastVertex() const { return group_->position.size() - 1; }
    bool endLoop();
    /// Takes what the shader wrote into an instance's record.
    void takeRecord(InstanceElement& instance);

    Database& database_;
    Log& log_;
    std::string owner_;
    SourceLocation location_;
    std::vector<miTag> made_;
    std::unique_ptr<ObjectElement> object_;
    std::unique_ptr<PolygonGroup> group_;
    std::unique_ptr<HairMaker> hair_;
    std::optional<OpenPolygon> polygon_;
    std::unique_ptr<InstanceElement> instance_;
    std::unique_ptr<GroupElement> instanceGroup_;
    // Of the last vertex.
    std::size_t textures_ = 0, motions_ = 0, users_ = 0;
};

/// The maker that this thread's calls of the interface act on; null outside of geometry shaders.
[[nodiscard]] SceneMaker*& activeSceneMaker();

} // namespace orca::scene
