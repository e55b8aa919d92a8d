// SPDX-License-Identifier: Apache-2.0
#include "scene/making/scene_maker.h"

#include <cmath>

namespace orca::scene {

SceneMaker*& activeSceneMaker() {
    static thread_local SceneMaker* active = nullptr;
    return active;
}

SceneMaker::~SceneMaker() {
    for (auto made = made_.rbegin(); made != made_.rend(); ++made) {
        const Element& element = *database_.get(*made);
        if (!element.name.empty() && database_.named(element.name) == *made)
            database_.eraseName(element.name);
        database_.remove(*made);
    }
}

void SceneMaker::setOwner(std::string owner, const SourceLocation& location) {
    owner_ = std::move(owner);
    location_ = location;
}

void SceneMaker::finishOwner() {
    dropObject();
    drop(instance_);
    drop(instanceGroup_);
}

template <class ElementOpen>
void SceneMaker::drop(std::unique_ptr<ElementOpen>& open) {
    if (open) error("the {} \"{}\" was not ended and is left out", kindName(open->type), open->name);
    open.reset();
}

void SceneMaker::dropObject() {
    polygon_.reset();
    group_.reset();
    hair_.reset();
    drop(object_);
}

miTag SceneMaker::add(std::unique_ptr<Element> element) {
    element->location = location_;
    const std::string name = element->name;
    const miTag tag = database_.add(std::move(element));
    made_.push_back(tag);
    if (name.empty()) return tag;
    if (database_.named(name) == miNULLTAG) database_.setName(name, tag);
    else error("there is an element \"{}\" already; the new one is known by its tag alone", name);
    return tag;
}

miObject* SceneMaker::beginObject(const std::string& name) {
    dropObject();
    object_ = std::make_unique<ObjectElement>();
    object_->name = name;
    return &object_->object;
}

bool SceneMaker::beginGroup() {
    if (!object_ || group_) {
        error("mi_api_object_group_begin: {}", group_ ? "a group is still open" : "no object is open");
        return false;
    }
    group_ = std::make_unique<PolygonGroup>();
    return true;
}

bool SceneMaker::addVector(const miVector& vector) {
    if (!group_) {
        error("mi_api_vector_xyz_add: no group is open");
        return false;
    }
    const bool isFinite = std::isfinite(vector.x) && std::isfinite(vector.y) && std::isfinite(vector.z);
    if (!isFinite) error("vector {} of object \"{}\" is not finite", group_->vectors.size(), object_->name);
    group_->vectors.push_back(isFinite ? vector : miVector{0.0f, 0.0f, 0.0f});
    return isFinite;
}

miHair_list* SceneMaker::beginHair() {
    if (!object_ || group_ || hair_ || object_->hair) {
        error("mi_api_hair_begin: {}", !object_        ? "no object is open"
                                       : object_->hair ? "the object has hairs already"
                                                       : "a group or hairs are still open");
        return nullptr;
    }
    hair_ = std::make_unique<HairMaker>();
    return &hair_->record;
}

bool SceneMaker::endHair() {
    HairList made;
    const bool good = withHair("mi_api_hair_end", [&](HairMaker& hair) { return hair.end(made); });
    if (hair_ && !made.hairs.empty()) object_->hair = std::move(made);
    hair_.reset();
    return good;
}

PolygonGroup* SceneMaker::vertexFor(const char* function, int vector, bool mayLack) {
    if (!group_ || group_->position.empty()) {
        error("{}: {}", function, group_ ? "the group has no vertex" : "no group is open");
        return nullptr;
    }
    if ((mayLack && vector == -1) ||
        (vector >= 0 && static_cast<std::size_t>(vector) < group_->vectors.size()))
        return group_.get();
    error("{}: there is no vector {}: object \"{}\" has {}, counted from 0", function, vector, object_->name,
          group_->vectors.size());
    return nullptr;
}

bool SceneMaker::addVertex(int position) {
    if (group_) group_->position.push_back(0);
    textures_ = motions_ = users_ = 0;
    PolygonGroup* const group = vertexFor("mi_api_vertex_add", position);
    if (!group) return false; // the vertex keeps its number
    group->position.back() = position;
    return true;
}

bool SceneMaker::setNormal(int vector) {
    PolygonGroup* const group = vertexFor("mi_api_vertex_normal_add", vector);
    if (group) PolygonGroup::setPart(group->normal, lastVertex(), vector);
    return group != nullptr;
}

bool SceneMaker::setDerivatives(int u, int v) {
    PolygonGroup* const group = vertexFor("mi_api_vertex_deriv_add", u);
    if (!group || !vertexFor("mi_api_vertex_deriv_add", v)) return false;
    PolygonGroup::setPart(group->derivU, lastVertex(), u);
    PolygonGroup::setPart(group->derivV, lastVertex(), v);
    return true;
}

bool SceneMaker::addTexture(int coordinate, int bumpX, int bumpY) {
    PolygonGroup* const group = vertexFor("mi_api_vertex_tex_add", coordinate);
    if (!group || !vertexFor("mi_api_vertex_tex_add", bumpX, true) ||
        !vertexFor("mi_api_vertex_tex_add", bumpY, true))
        return false;
    const std::size_t space = textures_++;
    if (group->textures.size() <= space) group->textures.emplace_back();
    PolygonGroup::TextureSpace& texture = group->textures[space];
    PolygonGroup::setPart(texture.coordinate, lastVertex(), coordinate);
    if (bumpX < 0 || bumpY < 0) return true;
    PolygonGroup::setPart(texture.bumpX, lastVertex(), bumpX);
    PolygonGroup::setPart(texture.bumpY, lastVertex(), bumpY);
    return true;
}

bool SceneMaker::addMotion(int vector) {
    PolygonGroup* const group = vertexFor("mi_api_vertex_motion_add", vector);
    if (!group) return false;
    const std::size_t segment = motions_++;
    if (group->motions.size() <= segment) group->motions.emplace_back();
    PolygonGroup::setPart(group->motions[segment], lastVertex(), vector);
    return true;
}

bool SceneMaker::addUser(int vector) {
    PolygonGroup* const group = vertexFor("mi_api_vertex_user_add", vector);
    if (!group) return false;
    const std::size_t user = users_++;
    if (group->users.size() <= user) group->users.emplace_back();
    PolygonGroup::setPart(group->users[user], lastVertex(), vector);
    return true;
}

bool SceneMaker::beginPolygon(bool convex, miTag material) {
    if (!group_ || polygon_) {
        error("mi_api_poly_begin: {}", polygon_ ? "a polygon is still open" : "no group is open");
        return false;
    }
    if (material != miNULLTAG && !database_.find<MaterialElement>(material)) {
        error("mi_api_poly_begin: tag {} is no material; that of the instance is taken", material);
        material = miNULLTAG;
    }
    PolygonGroup::Polygon polygon{};
    polygon.firstLoop = static_cast<std::uint32_t>(group_->loops.size());
    polygon.material = material;
    polygon.label = -1;
    polygon.convex = convex;
    const auto corners = static_cast<std::uint32_t>(group_->corners.size());
    polygon_ = {polygon, corners, corners};
    return true;
}

bool SceneMaker::addCorner(int vertex) {
    if (!polygon_) {
        error("mi_api_poly_index_add: no polygon is open");
        return false;
    }
    if (vertex < 0 || static_cast<std::size_t>(vertex) >= group_->position.size()) {
        if (polygon_->isWhole)
            error("polygon {} of object \"{}\" takes vertex {}, but there are {}, counted from 0",
                  group_->polygons.size(), object_->name, vertex, group_->position.size());
        polygon_->isWhole = false;
        return false;
    }
    group_->corners.push_back(static_cast<std::uint32_t>(vertex));
    return true;
}

bool SceneMaker::endLoop() {
    const auto end = static_cast<std::uint32_t>(group_->corners.size());
    const std::uint32_t count = end - polygon_->loopStart;
    if (count < 3 && polygon_->isWhole) {
        error("a loop of polygon {} of object \"{}\" has {} vertices; at least 3 are needed",
              group_->polygons.size(), object_->name, count);
        polygon_->isWhole = false;
    }
    group_->loops.push_back({polygon_->loopStart, count});
    polygon_->loopStart = end;
    return polygon_->isWhole;
}

bool SceneMaker::beginHole() {
    if (polygon_) return endLoop();
    error("mi_api_poly_hole_add: no polygon is open");
    return false;
}

bool SceneMaker::endPolygon() {
    if (!polygon_) {
        error("mi_api_poly_end: no polygon is open");
        return false;
    }
    const bool isWhole = endLoop();
    const OpenPolygon open = *polygon_;
    polygon_.reset();
    PolygonGroup::Polygon polygon = open.polygon;
    if (!isWhole) {
        group_->loops.resize(polygon.firstLoop);
        group_->corners.resize(open.firstCorner);
        return false;
    }
    polygon.loopCount = static_cast<std::uint32_t>(group_->loops.size()) - polygon.firstLoop;
    if (polygon.loopCount > 1) polygon.convex = false;
    group_->polygons.push_back(polygon);
    return true;
}

bool SceneMaker::endGroup() {
    if (!group_ || polygon_) {
        error("mi_api_object_group_end: {}", polygon_ ? "a polygon is still open" : "no group is open");
        return false;
    }
    group_->completeParts();
    if (!group_->polygons.empty()) object_->groups.push_back(std::move(*group_));
    group_.reset();
    return true;
}

miTag SceneMaker::endObject() {
    if (!object_ || group_ || hair_) {
        error("mi_api_object_end: {}", object_ ? "a group or hairs are still open" : "no object is open");
        return miNULLTAG;
    }
    const miObject& record = object_->object;
    if (!record.visible && !record.shadow && !record.trace)
        log_.warningAt(location_, "GEOM",
                       "{}: object \"{}\" has none of visible, shadow and trace on; it is seen only where an "
                       "instance switches them on",
                       owner_, object_->name);
    object_->updateRecord();
    return add(std::move(object_));
}

miInstance* SceneMaker::beginInstance(const std::string& name) {
    drop(instance_);
    instance_ = std::make_unique<InstanceElement>();
    instance_->name = name;
    return &instance_->instance;
}

void SceneMaker::takeRecord(InstanceElement& instance) {
    miInstance& record = instance.instance;
    InstanceElement::Matrix given;
    mi_matrix_copy(given.data(), record.tf.global_to_local);
    if (!instance.setTransform(given))
        error("the transformation of instance \"{}\" cannot be inverted; the identity is taken",
              instance.name);
    mi_matrix_copy(instance.motionTransform.data(), record.motion_transform);
    instance.motion = mi_matrix_isident(record.motion_transform) ? InstanceElement::Motion::Inherited
                                                                 : InstanceElement::Motion::Given;
    instance.materials.clear();
    if (record.material != miNULLTAG) instance.materials.push_back(record.material);
    instance.hidden = record.off != miFALSE;
}

miTag SceneMaker::endInstance(miTag item, miTag userdata) {
    if (!instance_) {
        error("mi_api_instance_end: no instance is open");
        return miNULLTAG;
    }
    std::unique_ptr<InstanceElement> instance = std::move(instance_);
    const Element* const element = database_.get(item);
    if (!element) {
        error("mi_api_instance_end: instance \"{}\" places tag {}, which is no element", instance->name,
              item);
        return miNULLTAG;
    }
    takeRecord(*instance);
    instance->instance.item = item;
    instance->instance.userdata = userdata;
    return add(std::move(instance));
}

bool SceneMaker::beginInstanceGroup(const std::string& name) {
    drop(instanceGroup_);
    instanceGroup_ = std::make_unique<GroupElement>();
    instanceGroup_->name = name;
    return true;
}

bool SceneMaker::addMember(miTag instance) {
    if (instanceGroup_ && database_.find<InstanceElement>(instance)) {
        instanceGroup_->members.push_back(instance);
        return true;
    }
    error("mi_api_instgroup_additem: {}",
          instanceGroup_ ? fmt::format("tag {} is no instance", instance) : "no instance group is open");
    return false;
}

miTag SceneMaker::endInstanceGroup() {
    if (instanceGroup_) return add(std::move(instanceGroup_));
    error("mi_api_instgroup_end: no instance group is open");
    return miNULLTAG;
}

void* SceneMaker::edit(miTag tag) {
    Element* const element = database_.get(tag);
    for (const miTag made : made_)
        if (made == tag && element->record()) return element->record();
    error("mi_scene_edit: tag {} ({}) was not made by a geometry shader of this picture", tag,
          element ? kindName(element->type) : "no element");
    return nullptr;
}

bool SceneMaker::endEdit(miTag tag) {
    if (!edit(tag)) return false;
    if (auto* const instance = database_.find<InstanceElement>(tag)) takeRecord(*instance);
    return true;
}

bool SceneMaker::addResult(miTag& group, miTag item) {
    const Element* const element = database_.get(item);
    const miScene_type type = element ? element->type : miSCENE_NONE;
    switch (type) {
    case miSCENE_OBJECT:
    case miSCENE_LIGHT:
    case miSCENE_CAMERA:
    case miSCENE_GROUP: {
        auto instance = std::make_unique<InstanceElement>();
        instance->instance.item = item;
        item = add(std::move(instance));
        break;
    }
    case miSCENE_INSTANCE: break;
    default:
        error("mi_geoshader_add_result: tag {} is {}, no object, light, camera, instance or instance group",
              item, element ? withArticle(kindName(type)) : "no element");
        return false;
    }
    if (group == miNULLTAG) group = add(std::make_unique<GroupElement>());
    auto* const members = database_.find<GroupElement>(group);
    if (!members) {
        error("mi_geoshader_add_result: the result is tag {}, which is no instance group", group);
        return false;
    }
    members->members.push_back(item);
    return true;
}

} // namespace orca::scene
