// A store in memory of its own that grows on demand: chunks are gathered in it and then poured into
// another object at once.

#ifndef RIFF_CACHE_OBJECT_H
#define RIFF_CACHE_OBJECT_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "riff/memory_object.h"

namespace RIFF {

class CacheObject final : public MemoryObject {
 public:
  explicit CacheObject(uint64_t capacity);

  // Grows the capacity to its next multiple above newSize, at least doubling it; never gives memory
  // back. std::bad_alloc where there is none, with nothing changed. The bytes won are not cleared.
  void resize(uint64_t newSize) override;

 private:
  void setStorage(std::unique_ptr<std::byte[]> newStorage, uint64_t newCapacity);

  std::unique_ptr<std::byte[]> storage;  // what buffer points to
};

}  // namespace RIFF

#endif
