// SPDX-License-Identifier: Apache-2.0
/// mi_* functions of the scene database, memory, messages and frame buffers.
#include "scripted_renderer.h"

#include <stdexcept>

namespace {

void write(char level, const char* format) {
    ScriptedRenderer::current().log.push_back({level, format});
}

class ScriptedInterface final : public mi::shader::Interface {
public:
    void release() override { --ScriptedRenderer::current().interfacesHeld; }
    const mi::shader::Framebuffer* getFramebuffers(miTag collection) override {
        return editFramebuffers(collection);
    }
    mi::shader::Framebuffer* editFramebuffers(miTag collection) override {
        ScriptedRenderer& renderer = enter("getFramebuffers");
        if (collection == miNULLTAG || collection != renderer.camera.buffertag) return nullptr;
        ++renderer.collectionsHeld;
        return &renderer.frameBuffers;
    }
    void releaseFramebuffers(const mi::shader::Framebuffer*) override {
        --ScriptedRenderer::current().collectionsHeld;
    }
    miTag createFramebuffer() override { return miNULLTAG; }
    const mi::shader::Options* getOptions(miTag) override { return nullptr; }
    void releaseOptions(const mi::shader::Options*) override {}
};

ScriptedInterface theInterface;

} // namespace

struct miLockRecord {
    bool held = false;
};

extern "C" {

int mi_db_type(miTag tag) {
    return enter("mi_db_type").database.type(tag);
}
void* mi_db_access(miTag tag) {
    return enter("mi_db_access").database.access(tag);
}
// Not through enter: a pin must come back even from a test that throws on every call.
void mi_db_unpin(miTag tag) {
    ScriptedRenderer::current().database.unpin(tag);
}

miBoolean mi_query(miQ_type query, miState* state, miTag tag, void* result, ...) {
    return enter("mi_query").query(query, state, tag, result);
}

void* mi_mem_int_allocate(const char* file, int line, int size) {
    return enter("mi_mem_int_allocate").memory.allocate(file, line, size);
}
void mi_mem_int_release(const char*, int, void* memory) {
    ScriptedRenderer::current().memory.release(memory);
}
miMemblk* mi_mem_int_blkcreate(const char*, int, int size) {
    return enter("mi_mem_int_blkcreate").memory.createArena(size);
}
void mi_mem_blkdelete(miMemblk* arena) {
    enter("mi_mem_blkdelete").memory.deleteArena(arena);
}
void* mi_mem_blkfallocate(miMemblk* arena) {
    return enter("mi_mem_blkfallocate").memory.allocateBlock(arena);
}
void mi_mem_blkfrelease(miMemblk* arena, void* block) {
    enter("mi_mem_blkfrelease").memory.releaseBlock(arena, block);
}

void mi_init_lock(miLock* lock) {
    *lock = new miLockRecord;
}
void mi_delete_lock(miLock* lock) {
    delete *lock;
    *lock = nullptr;
}
void mi_lock(miLock lock) {
    if (lock->held) throw std::logic_error("a lock was taken twice");
    lock->held = true;
    ++enter("mi_lock").locksHeld;
}
void mi_unlock(miLock lock) {
    lock->held = false;
    --ScriptedRenderer::current().locksHeld;
}

void mi_fatal(const char* format, ...) {
    write('f', format);
}
void mi_error(const char* format, ...) {
    write('e', format);
}
void mi_warning(const char* format, ...) {
    write('w', format);
}
void mi_info(const char* format, ...) {
    write('i', format);
}

miBoolean mi_fb_put(miState*, int buffer, const void* value) {
    return enter("mi_fb_put").frameBuffers.put(buffer, value);
}
miBoolean mi_fb_get(miState*, int buffer, void* value) {
    return enter("mi_fb_get").frameBuffers.fetch(buffer, value);
}
void mi_opacity_set(miState*, const miColor* opacity) {
    enter("mi_opacity_set").opacity = *opacity;
}
miBoolean mi_opacity_get(miState*, miColor* opacity) {
    const ScriptedRenderer& renderer = enter("mi_opacity_get");
    *opacity = renderer.opacity.value_or(*opacity);
    return renderer.opacity.has_value();
}

mi::shader_v3::Interface* mi_get_shader_interface(int) {
    ++enter("mi_get_shader_interface").interfacesHeld;
    return &theInterface;
}

} // extern "C"
