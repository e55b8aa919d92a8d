// SPDX-License-Identifier: Apache-2.0
#include "api/guarded.h"
#include "base/active_log.h"
#include "base/memory.h"
#include "scene/active_database.h"
#include "scene/making/scene_maker.h"

#include <shader.h>

#include <string>

using orca::MemoryLedger;
using orca::scene::HairMaker;
using orca::scene::SceneMaker;

namespace {

/// What the body makes; `otherwise`, with an error, outside of geometry shaders.
template <class Result, class Body>
Result make(const char* function, Result otherwise, const Body& body) {
    return orca::api::guarded(function, otherwise, [&]() -> Result {
        if (SceneMaker* const maker = orca::scene::activeSceneMaker()) return body(*maker);
        orca::activeLog().once(std::string("outside: ") + function,
                               {orca::LogLevel::Error,
                                "API",
                                0,
                                std::string(function) + ": only geometry shaders make scene elements",
                                {}});
        return otherwise;
    });
}

/// The text of a name; memory that mi_mem_strdup gave is released.
std::string taken(char* name) {
    std::string text = name ? name : "";
    MemoryLedger::instance().release(name);
    return text;
}

miTag named(const std::string& name) {
    return orca::scene::activeDatabase().named(name);
}

} // namespace

extern "C" {

DLLEXPORT miBoolean mi_geoshader_add_result(miTag* result, miTag item) {
    return make<miBoolean>(__func__, miFALSE,
                           [&](SceneMaker& maker) { return maker.addResult(*result, item); });
}

DLLEXPORT miObject* mi_api_object_begin(char* name) {
    return make<miObject*>(__func__, nullptr,
                           [&](SceneMaker& maker) { return maker.beginObject(taken(name)); });
}

DLLEXPORT miBoolean mi_api_object_group_begin(double) {
    return make<miBoolean>(__func__, miFALSE, [](SceneMaker& maker) { return maker.beginGroup(); });
}

DLLEXPORT miBoolean mi_api_vector_xyz_add(miVector* vector) {
    return make<miBoolean>(__func__, miFALSE, [&](SceneMaker& maker) { return maker.addVector(*vector); });
}

DLLEXPORT miBoolean mi_api_geovector_xyz_add(miGeoVector* vector) {
    return make<miBoolean>(__func__, miFALSE, [&](SceneMaker& maker) {
        return maker.addVector({static_cast<miScalar>(vector->x), static_cast<miScalar>(vector->y),
                                static_cast<miScalar>(vector->z)});
    });
}

DLLEXPORT miBoolean mi_api_vertex_add(int vector) {
    return make<miBoolean>(__func__, miFALSE, [&](SceneMaker& maker) { return maker.addVertex(vector); });
}

DLLEXPORT miBoolean mi_api_vertex_normal_add(int vector) {
    return make<miBoolean>(__func__, miFALSE, [&](SceneMaker& maker) { return maker.setNormal(vector); });
}

DLLEXPORT miBoolean mi_api_vertex_deriv_add(int u, int v) {
    return make<miBoolean>(__func__, miFALSE, [&](SceneMaker& maker) { return maker.setDerivatives(u, v); });
}

DLLEXPORT miBoolean mi_api_vertex_tex_add(int vector, int bumpX, int bumpY) {
    return make<miBoolean>(__func__, miFALSE,
                           [&](SceneMaker& maker) { return maker.addTexture(vector, bumpX, bumpY); });
}

DLLEXPORT miBoolean mi_api_vertex_motion_add(int vector) {
    return make<miBoolean>(__func__, miFALSE, [&](SceneMaker& maker) { return maker.addMotion(vector); });
}

DLLEXPORT miBoolean mi_api_vertex_user_add(int vector) {
    return make<miBoolean>(__func__, miFALSE, [&](SceneMaker& maker) { return maker.addUser(vector); });
}

DLLEXPORT miBoolean mi_api_poly_begin_tag(int convex, miTag material) {
    return make<miBoolean>(__func__, miFALSE,
                           [&](SceneMaker& maker) { return maker.beginPolygon(convex == 1, material); });
}

DLLEXPORT miBoolean mi_api_poly_begin(int convex, char* material) {
    return make<miBoolean>(__func__, miFALSE, [&](SceneMaker& maker) {
        const std::string name = taken(material);
        const miTag tag = named(name);
        if (tag == miNULLTAG && !name.empty())
            maker.error("mi_api_poly_begin: there is no material \"{}\"", name);
        return maker.beginPolygon(convex == 1, tag);
    });
}

DLLEXPORT miBoolean mi_api_poly_index_add(int vertex) {
    return make<miBoolean>(__func__, miFALSE, [&](SceneMaker& maker) { return maker.addCorner(vertex); });
}

DLLEXPORT miBoolean mi_api_poly_hole_add(void) {
    return make<miBoolean>(__func__, miFALSE, [](SceneMaker& maker) { return maker.beginHole(); });
}

DLLEXPORT miBoolean mi_api_poly_end(void) {
    return make<miBoolean>(__func__, miFALSE, [](SceneMaker& maker) { return maker.endPolygon(); });
}

DLLEXPORT miBoolean mi_api_object_group_end(void) {
    return make<miBoolean>(__func__, miFALSE, [](SceneMaker& maker) { return maker.endGroup(); });
}

DLLEXPORT miHair_list* mi_api_hair_begin(void) {
    return make<miHair_list*>(__func__, nullptr, [](SceneMaker& maker) { return maker.beginHair(); });
}

DLLEXPORT miBoolean mi_api_hair_info(int ofVertices, char type, int count) {
    return make<miBoolean>(__func__, miFALSE, [&](SceneMaker& maker) {
        return maker.withHair("mi_api_hair_info",
                              [&](HairMaker& hair) { return hair.addCode(ofVertices != 0, type, count); });
    });
}

DLLEXPORT miScalar* mi_api_hair_scalars_begin(int count) {
    return make<miScalar*>(__func__, nullptr, [&](SceneMaker& maker) {
        miScalar* numbers = nullptr;
        maker.withHair("mi_api_hair_scalars_begin", [&](HairMaker& hair) {
            numbers = hair.beginScalars(count);
            return std::string();
        });
        return numbers;
    });
}

DLLEXPORT miBoolean mi_api_hair_scalars_end(int used) {
    return make<miBoolean>(__func__, miFALSE, [&](SceneMaker& maker) {
        return maker.withHair("mi_api_hair_scalars_end",
                              [&](HairMaker& hair) { return hair.endScalars(used); });
    });
}

DLLEXPORT miGeoIndex* mi_api_hair_hairs_begin(int count) {
    return make<miGeoIndex*>(__func__, nullptr, [&](SceneMaker& maker) {
        miGeoIndex* starts = nullptr;
        maker.withHair("mi_api_hair_hairs_begin", [&](HairMaker& hair) {
            starts = hair.beginHairs(count);
            return std::string();
        });
        return starts;
    });
}

DLLEXPORT miBoolean mi_api_hair_hairs_end(void) {
    return make<miBoolean>(__func__, miFALSE, [](SceneMaker& maker) {
        return maker.withHair("mi_api_hair_hairs_end", [](HairMaker&) { return std::string(); });
    });
}

DLLEXPORT miBoolean mi_api_hair_end(void) {
    return make<miBoolean>(__func__, miFALSE, [](SceneMaker& maker) { return maker.endHair(); });
}

DLLEXPORT miTag mi_api_object_end(void) {
    return make<miTag>(__func__, miNULLTAG, [](SceneMaker& maker) { return maker.endObject(); });
}

DLLEXPORT miInstance* mi_api_instance_begin(char* name) {
    return make<miInstance*>(__func__, nullptr,
                             [&](SceneMaker& maker) { return maker.beginInstance(taken(name)); });
}

DLLEXPORT miTag mi_api_instance_end(char* function, miTag item, miTag userdata) {
    return make<miTag>(__func__, miNULLTAG, [&](SceneMaker& maker) {
        if (const std::string name = taken(function); !name.empty())
            maker.error("mi_api_instance_end: inheritance function \"{}\" is not called; there are none",
                        name);
        return maker.endInstance(item, userdata);
    });
}

DLLEXPORT miBoolean mi_api_instgroup_begin(char* name) {
    return make<miBoolean>(__func__, miFALSE,
                           [&](SceneMaker& maker) { return maker.beginInstanceGroup(taken(name)); });
}

DLLEXPORT miBoolean mi_api_instgroup_additem(char* instance) {
    return make<miBoolean>(__func__, miFALSE, [&](SceneMaker& maker) {
        const std::string name = taken(instance);
        const miTag tag = named(name);
        if (tag == miNULLTAG) maker.error("mi_api_instgroup_additem: there is no instance \"{}\"", name);
        return tag != miNULLTAG && maker.addMember(tag);
    });
}

DLLEXPORT miBoolean mi_api_instgroup_additem_tag(miTag instance) {
    return make<miBoolean>(__func__, miFALSE, [&](SceneMaker& maker) { return maker.addMember(instance); });
}

DLLEXPORT miTag mi_api_instgroup_end(void) {
    return make<miTag>(__func__, miNULLTAG, [](SceneMaker& maker) { return maker.endInstanceGroup(); });
}

DLLEXPORT miTag mi_api_name_lookup(char* name) {
    return orca::api::guarded(__func__, miNULLTAG, [&] { return named(taken(name)); });
}

DLLEXPORT void* mi_scene_edit(miTag tag) {
    return make<void*>(__func__, nullptr, [&](SceneMaker& maker) { return maker.edit(tag); });
}

DLLEXPORT miBoolean mi_scene_edit_end(miTag tag) {
    return make<miBoolean>(__func__, miFALSE, [&](SceneMaker& maker) { return maker.endEdit(tag); });
}

} // extern "C"
