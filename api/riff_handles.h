// Casts between the handles of the riff family and the objects and chunks that they stand for.

#ifndef API_RIFF_HANDLES_H
#define API_RIFF_HANDLES_H

#include <type_traits>

#include "riff/group_chunk.h"
#include "riff/object.h"

struct velmor_core_riff_chunk;
struct velmor_core_riff_object;

namespace api {

// The chunk of a handle as a Kind (RIFF::Chunk, DataChunk or GroupChunk). Null for a null handle
// and for a chunk of another kind.
template <typename Kind>
Kind* chunkAs(velmor_core_riff_chunk* handle) {
  auto* chunk = reinterpret_cast<RIFF::Chunk*>(handle);
  if constexpr (std::is_same_v<Kind, RIFF::GroupChunk>) {
    return RIFF::asGroup(chunk);
  } else if constexpr (std::is_same_v<Kind, RIFF::DataChunk>) {
    return chunk && RIFF::isDataChunk(*chunk) ? static_cast<RIFF::DataChunk*>(chunk) : nullptr;
  } else {
    return chunk;
  }
}

inline velmor_core_riff_chunk* toHandle(RIFF::Chunk* chunk) {
  return reinterpret_cast<velmor_core_riff_chunk*>(chunk);
}

inline RIFF::Object* toObject(velmor_core_riff_object* handle) {
  return reinterpret_cast<RIFF::Object*>(handle);
}

inline velmor_core_riff_object* toHandle(RIFF::Object* object) {
  return reinterpret_cast<velmor_core_riff_object*>(object);
}

}  // namespace api

#endif
