// The border between the C interface and the C++ behind it: exceptions stop here, and handles turn
// into objects and back.

#ifndef API_BOUNDARY_H
#define API_BOUNDARY_H

#include <concepts>
#include <exception>
#include <type_traits>

#include "riff/group_chunk.h"
#include "riff/object.h"

struct velmor_core_riff_chunk;
struct velmor_core_riff_object;

namespace api {

// Runs body and returns its result; if body throws, the message is dropped, since the C interface
// has no room for it, and `failure` is returned.
//
// Only std::exception is caught, which is all that the library raises. Catching everything would
// also stop the unwinding with which glibc cancels a thread, and glibc aborts when that happens.
template <typename Result, std::invocable Body>
Result guarded(Result failure, Body body) {
  try {
    return body();
  } catch (const std::exception&) {
    return failure;
  }
}

// The chunk behind a handle as a Kind (RIFF::Chunk, DataChunk or GroupChunk); null for a null
// handle and for a chunk of another kind.
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
