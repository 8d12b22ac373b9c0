// An object whose bytes lie in a buffer of its own, which grows on demand. Callers build chunks in
// it and then add them all to another object at once.

#ifndef RIFF_CACHE_OBJECT_H
#define RIFF_CACHE_OBJECT_H

#include <cstdint>

#include "riff/memory_object.h"

namespace RIFF {

// Owns the buffer of its base. The buffer comes from malloc(), so that realloc() may extend it
// where it lies.
class CacheObject final : public MemoryObject {
 public:
  explicit CacheObject(uint64_t capacity);

  // Past the capacity, grows it to the smallest of its multiples above newSize, which at least
  // doubles it. Never gives memory back. Without memory it throws std::bad_alloc and changes
  // nothing.
  void resize(uint64_t newSize) override;
  ~CacheObject() override;

 private:
  void reallocate(uint64_t newCapacity);
};

}  // namespace RIFF

#endif
