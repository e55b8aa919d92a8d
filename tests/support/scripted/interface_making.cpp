// SPDX-License-Identifier: Apache-2.0
/// mi_* functions of geometry shaders: outside of a renderer nothing is read and nothing made.
#include <shader.h>

extern "C" {

miMesh* mi_mesh_open(miTag) {
    return nullptr;
}
void mi_mesh_close(miMesh*) {
}
int mi_mesh_triangles(const miMesh*) {
    return 0;
}
int mi_mesh_texture_spaces(const miMesh*) {
    return 0;
}
miBoolean mi_mesh_triangle(const miMesh*, int, miVector*, miVector*) {
    return miFALSE;
}
miBoolean mi_mesh_motion(const miMesh*, int, miVector*) {
    return miFALSE;
}
miBoolean mi_mesh_texture(const miMesh*, int, int, miVector*) {
    return miFALSE;
}
miObject* mi_api_object_begin(char*) {
    return nullptr;
}
miTag mi_api_object_end(void) {
    return miNULLTAG;
}
miHair_list* mi_api_hair_begin(void) {
    return nullptr;
}
miBoolean mi_api_hair_info(int, char, int) {
    return miFALSE;
}
miScalar* mi_api_hair_scalars_begin(int) {
    return nullptr;
}
miBoolean mi_api_hair_scalars_end(int) {
    return miFALSE;
}
miGeoIndex* mi_api_hair_hairs_begin(int) {
    return nullptr;
}
miBoolean mi_api_hair_hairs_end(void) {
    return miFALSE;
}
miBoolean mi_api_hair_end(void) {
    return miFALSE;
}
miBoolean mi_geoshader_add_result(miTag*, miTag) {
    return miFALSE;
}

} // extern "C"
