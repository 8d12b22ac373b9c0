// An object whose bytes lie in a buffer of its own, which grows on demand. Callers build chunks in
// it and then add them all to another object at once.

#ifndef RIFF_CACHE_OBJECT_H
#define RIFF_CACHE_OBJECT_H

#include <cstdint>

#include "riff/memory_object.h"

namespace RIFF {

// Owns the buffer of its base. calloc() allocates the buffer, and realloc() lengthens it, at times
// without a copy.
class CacheObject final : public MemoryObject {
 public:
  explicit CacheObject(uint64_t capacity);

  // If newSize exceeds the capacity, the new capacity is the smallest multiple of the old one that
  // is above newSize. So the capacity at least doubles. A capacity of 0 becomes newSize. Never
  // gives memory back. Throws std::bad_alloc and changes nothing if memory runs out.
  void resize(uint64_t newSize) override;
  ~CacheObject() override;

 private:
  void reallocate(uint64_t newCapacity);
};

}  // namespace RIFF

#endif
