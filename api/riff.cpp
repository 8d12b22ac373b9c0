// The C functions of the riff family: objects, walking, data, editing.

#include <velmor_core/riff.h>

#include <memory>
#include <utility>

#include "api/boundary.h"
#include "api/riff_handles.h"
#include "riff/cache_object.h"
#include "riff/file_object.h"

using api::chunkAs;
using api::guarded;
using api::toHandle;
using api::toObject;

namespace {

template <typename Kind, typename... Arguments>
int32_t open(velmor_core_riff_object_t** object, Arguments... arguments) {
  return guarded(VELMOR_CORE_FAILURE, [&] {
    *object = toHandle(std::make_unique<Kind>(arguments...).release());
    return VELMOR_CORE_SUCCESS;
  });
}

// Runs an edit that adds a chunk; null if it fails.
template <typename Body>
velmor_core_riff_chunk_t* adding(Body body) {
  return guarded<velmor_core_riff_chunk_t*>(nullptr, [&] { return toHandle(body()); });
}

}  // namespace

int32_t velmor_core_riff_open_file(const char* path, int32_t mode,
                                   velmor_core_riff_object_t** object) {
  if (!path) return VELMOR_CORE_FAILURE;
  return open<RIFF::FileObject>(object, path, mode);
}

int32_t velmor_core_riff_open_buffer_ro(const void* buffer, uint64_t size,
                                        velmor_core_riff_object_t** object) {
  return open<RIFF::MemoryObject>(object, buffer, size);
}

int32_t velmor_core_riff_open_buffer_rw(void* buffer, uint64_t size, uint64_t capacity,
                                        velmor_core_riff_object_t** object) {
  return open<RIFF::MemoryObject>(object, buffer, size, capacity);
}

int32_t velmor_core_riff_open_asset(const char* /*path*/, velmor_core_riff_object_t** /*object*/) {
  return VELMOR_CORE_FAILURE;
}

int32_t velmor_core_riff_open_cache(uint64_t capacity, velmor_core_riff_object_t** object) {
  return open<RIFF::CacheObject>(object, capacity);
}

void velmor_core_riff_close(velmor_core_riff_object_t* object) {
  const std::unique_ptr<RIFF::Object> closed(toObject(object));
}

velmor_core_riff_chunk_t* velmor_core_riff_object_get_root_chunk(
    velmor_core_riff_object_t* object) {
  return toHandle(toObject(object)->getRootChunk());
}

velmor_core_riff_chunk_t* velmor_core_riff_object_get_virtual_root_chunk(
    velmor_core_riff_object_t* object) {
  return toHandle(toObject(object)->getVirtualRootChunk());
}

uint64_t velmor_core_riff_cache_get_capacity(velmor_core_riff_object_t* object) {
  const auto* memory = dynamic_cast<RIFF::MemoryObject*>(toObject(object));
  return memory ? memory->getCapacity() : 0;
}

uint64_t velmor_core_riff_cache_get_size(velmor_core_riff_object_t* object) {
  return toObject(object)->getSize();
}

void velmor_core_riff_cache_clear(velmor_core_riff_object_t* object) { toObject(object)->clear(); }

uint32_t velmor_core_riff_chunk_get_id(velmor_core_riff_chunk_t* chunk) {
  return chunkAs<RIFF::Chunk>(chunk)->getId().value;
}

uint32_t velmor_core_riff_chunk_get_group_id(velmor_core_riff_chunk_t* chunk) {
  const auto* group = chunkAs<RIFF::GroupChunk>(chunk);
  return group ? group->getGroupId().value : 0;
}

velmor_core_riff_chunk_t* velmor_core_riff_chunk_get_parent(velmor_core_riff_chunk_t* chunk) {
  return toHandle(chunkAs<RIFF::Chunk>(chunk)->getParent());
}

velmor_core_riff_chunk_t* velmor_core_riff_chunk_get_next(velmor_core_riff_chunk_t* chunk) {
  return toHandle(chunkAs<RIFF::Chunk>(chunk)->getNext());
}

uint32_t velmor_core_riff_chunk_get_child_count(velmor_core_riff_chunk_t* chunk) {
  const auto* group = chunkAs<RIFF::GroupChunk>(chunk);
  return group ? group->getChildCount() : 0;
}

velmor_core_riff_chunk_t* velmor_core_riff_chunk_get_child(velmor_core_riff_chunk_t* chunk,
                                                           uint32_t index) {
  const auto* group = chunkAs<RIFF::GroupChunk>(chunk);
  return group ? toHandle(group->getChild(index)) : nullptr;
}

uint32_t velmor_core_riff_chunk_get_data_size(velmor_core_riff_chunk_t* chunk) {
  return chunkAs<RIFF::Chunk>(chunk)->getDataSize();
}

int32_t velmor_core_riff_chunk_get_data(velmor_core_riff_chunk_t* chunk, void* buffer,
                                        uint32_t size, uint32_t offset) {
  const auto* data = chunkAs<RIFF::DataChunk>(chunk);
  if (!data) return VELMOR_CORE_BAD_HANDLE;
  return guarded(VELMOR_CORE_FAILURE, [&] {
    data->getData(buffer, size, offset);
    return VELMOR_CORE_SUCCESS;
  });
}

int32_t velmor_core_riff_chunk_set_data(velmor_core_riff_chunk_t* chunk, const void* buffer,
                                        uint32_t size, uint32_t offset) {
  auto* data = chunkAs<RIFF::DataChunk>(chunk);
  if (!data) return VELMOR_CORE_BAD_HANDLE;
  return guarded(VELMOR_CORE_FAILURE, [&] {
    data->setData(buffer, size, offset);
    return VELMOR_CORE_SUCCESS;
  });
}

int32_t velmor_core_riff_chunk_set_data_size(velmor_core_riff_chunk_t* chunk, uint32_t data_size) {
  auto* data = chunkAs<RIFF::DataChunk>(chunk);
  if (!data) return VELMOR_CORE_BAD_HANDLE;
  return guarded(VELMOR_CORE_FAILURE, [&] {
    data->setDataSize(data_size);
    return VELMOR_CORE_SUCCESS;
  });
}

velmor_core_riff_chunk_t* velmor_core_riff_chunk_add_chunk(velmor_core_riff_chunk_t* group,
                                                           velmor_core_riff_chunk_t* chunk) {
  auto* target = chunkAs<RIFF::GroupChunk>(group);
  auto* source = chunkAs<RIFF::Chunk>(chunk);
  if (!target || !source) return nullptr;
  return adding([&] { return &target->addChunk(*source); });
}

velmor_core_riff_chunk_t* velmor_core_riff_chunk_add_cache(velmor_core_riff_chunk_t* group,
                                                           velmor_core_riff_object_t* cache) {
  auto* target = chunkAs<RIFF::GroupChunk>(group);
  auto* source = dynamic_cast<RIFF::MemoryObject*>(toObject(cache));
  if (!target || !source) return nullptr;
  return adding([&] { return target->addCache(*source); });
}

velmor_core_riff_chunk_t* velmor_core_riff_chunk_add_data_chunk(velmor_core_riff_chunk_t* group,
                                                                uint32_t id, const void* data,
                                                                uint32_t data_size) {
  auto* target = chunkAs<RIFF::GroupChunk>(group);
  if (!target) return nullptr;
  return adding([&] { return &target->addDataChunk(RIFF::FourCC(id), data, data_size); });
}

velmor_core_riff_chunk_t* velmor_core_riff_chunk_add_group_chunk(velmor_core_riff_chunk_t* group,
                                                                 uint32_t id, uint32_t group_id) {
  auto* target = chunkAs<RIFF::GroupChunk>(group);
  if (!target) return nullptr;
  return adding([&] { return &target->addGroupChunk(RIFF::FourCC(id), RIFF::FourCC(group_id)); });
}

int32_t velmor_core_riff_chunk_recycle(velmor_core_riff_chunk_t** chunk) {
  if (!chunk || !*chunk) return VELMOR_CORE_BAD_HANDLE;
  auto* recycled = chunkAs<RIFF::Chunk>(*chunk);
  auto* group = recycled->getParent();
  if (!group) return VELMOR_CORE_FAILURE;
  return guarded(VELMOR_CORE_FAILURE, [&] {
    *chunk = toHandle(&group->recycle(*recycled));
    return VELMOR_CORE_SUCCESS;
  });
}

int32_t velmor_core_riff_chunk_remove(velmor_core_riff_chunk_t* chunk) {
  auto* removed = chunkAs<RIFF::Chunk>(chunk);
  if (!removed) return VELMOR_CORE_BAD_HANDLE;
  auto* group = removed->getParent();
  if (!group) return VELMOR_CORE_FAILURE;
  return guarded(VELMOR_CORE_FAILURE, [&] {
    group->remove(*removed);
    return VELMOR_CORE_SUCCESS;
  });
}
