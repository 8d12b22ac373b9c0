// A store in memory of its own that grows on demand: chunks are gathered in it and then poured into
// another object at once.

#ifndef RIFF_CACHE_OBJECT_H
#define RIFF_CACHE_OBJECT_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "riff/memory_object.h"

namespace RIFF {

class CacheObject final : public MemoryObject {
 public:
  explicit CacheObject(uint64_t capacity);

  // Grows the capacity to its next multiple above newSize, at least doubling it; never gives memory
  // back. std::bad_alloc where there is none, with nothing changed.
  void resize(uint64_t newSize) override;

 private:
  struct Free {
    void operator()(std::byte* bytes) const { std::free(bytes); }
  };

  void reallocate(uint64_t newCapacity);

  // What buffer points to; from malloc, so that a growth may extend it where it lies.
  std::unique_ptr<std::byte[], Free> storage;
};

}  // namespace RIFF

#endif
