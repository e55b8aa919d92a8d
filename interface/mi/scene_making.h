// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Making scene elements. Geometry shaders alone may: an instance names them (`geometry`), and they run
/// before each picture, on one thread, while nothing is traced yet. What they make lives until that picture
/// is rendered.
///
/// A wrong call (an index out of range, a polygon without a group) is an error in the log that names the
/// shader; it does nothing and returns miFALSE or a null tag. An element that was not ended is dropped when
/// another of its kind begins. A name may be null; one from mi_mem_strdup is released by the call.

#include "scene.h"
#include "types.h"

miBEGIN_INTERFACE

/// Adds a light, object, camera, instance or instance group to what the shader's instance holds. `result` is
/// the shader's result.
miBoolean mi_geoshader_add_result(miTag* result, miTag item);

/// Begins an object and returns its record, whose flags (visible, shadow, trace ...) are off as in a scene
/// file: set them.
miObject* mi_api_object_begin(char* name);
/// Begins a group of polygons over one list of vectors. `merge` is without effect.
miBoolean mi_api_object_group_begin(double merge);
/// Adds a vector to the group's list: position, normal, texture coordinate ...
miBoolean mi_api_vector_xyz_add(miVector* vector);
miBoolean mi_api_geovector_xyz_add(miGeoVector* vector);
/// Adds a vertex; `vector` is the index of its position. The calls below give the last vertex more, each time
/// of further texture spaces, motion segments and user vectors.
miBoolean mi_api_vertex_add(int vector);
miBoolean mi_api_vertex_normal_add(int vector);
miBoolean mi_api_vertex_deriv_add(int u, int v);
/// `bumpX` and `bumpY` are -1 where the texture space has no bump basis.
miBoolean mi_api_vertex_tex_add(int vector, int bumpX, int bumpY);
miBoolean mi_api_vertex_motion_add(int vector);
miBoolean mi_api_vertex_user_add(int vector);
/// Begins a polygon. `convex` 1 promises a convex one without holes; material 0 is that of the instance.
miBoolean mi_api_poly_begin_tag(int convex, miTag material);
/// As above, the material by name; null: that of the instance.
miBoolean mi_api_poly_begin(int convex, char* material);
/// Adds a vertex, by its number in the group, to the outline or to the hole that was begun last.
miBoolean mi_api_poly_index_add(int vertex);
miBoolean mi_api_poly_hole_add(void);
/// Ends the polygon; one that has a wrong vertex or a loop of fewer than three is dropped.
miBoolean mi_api_poly_end(void);
miBoolean mi_api_object_group_end(void);
miTag mi_api_object_end(void);

/// What hairs have in common.
typedef struct miHair_list {
    miTag material;  ///< 0: that of the instance
    miScalar radius; ///< of hairs and vertices without one, object space units
    int degree;      ///< of the curves, 1 to 3
    int approx; ///< straight pieces of a curved ribbon for each segment, up to 16; 0: the renderer's choice
    miBoolean round; ///< tubes; else ribbons that face the ray
} miHair_list;

/// Begins the hairs of the open object, in place of a group, and returns their record.
miHair_list* mi_api_hair_begin(void);
/// Adds to the data of each hair, or with `ofVertices` 1 of each vertex: 'n' normal, 'r' radius, 't' a
/// texture space or 'u' user data of `count` numbers, 'm' `count` motion vectors (of vertices). Positions
/// come first.
miBoolean mi_api_hair_info(int ofVertices, char type, int count);
/// Memory for all numbers of all hairs: of each, its own data, then its vertices. Valid until the end call,
/// which says how many were filled.
miScalar* mi_api_hair_scalars_begin(int count);
miBoolean mi_api_hair_scalars_end(int used);
/// Memory for where each hair begins in the numbers; one more may say where the last ends.
miGeoIndex* mi_api_hair_hairs_begin(int count);
miBoolean mi_api_hair_hairs_end(void);
/// Ends the hairs. Those whose numbers fit neither the layout nor the degree are left out.
miBoolean mi_api_hair_end(void);

/// Begins an instance and returns its record. Its matrices are the identity: set tf.global_to_local (parent
/// to local); material, motion_transform, label and off are taken over too.
miInstance* mi_api_instance_begin(char* name);
/// Ends it. `function` names an inheritance function, of which there are none; `userdata` may be 0.
miTag mi_api_instance_end(char* function, miTag item, miTag userdata);

/// Instance groups.
miBoolean mi_api_instgroup_begin(char* name);
miBoolean mi_api_instgroup_additem(char* instance);
miBoolean mi_api_instgroup_additem_tag(miTag instance);
miTag mi_api_instgroup_end(void);

/// The tag of a named element of the scene, 0 when there is none.
miTag mi_api_name_lookup(char* name);

/// Opens an element that this shader has made for a change of its record; null for others.
void* mi_scene_edit(miTag tag);
miBoolean mi_scene_edit_end(miTag tag);

miEND_INTERFACE
