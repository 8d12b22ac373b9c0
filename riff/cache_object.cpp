#include "riff/cache_object.h"

#include <cstring>
#include <new>
#include <utility>

namespace RIFF {

namespace {

// The smallest multiple of capacity above n. A capacity of 0 has no multiples: it becomes n.
uint64_t nextCapacity(uint64_t capacity, uint64_t n) {
  if (capacity == 0) return n;
  uint64_t grown = 0;
  if (__builtin_mul_overflow(n / capacity + 1, capacity, &grown)) throw std::bad_alloc();
  return grown;
}

}  // namespace

CacheObject::CacheObject(uint64_t capacity) : MemoryObject(nullptr, 0, 0) {
  setStorage(std::make_unique_for_overwrite<std::byte[]>(capacity), capacity);
}

void CacheObject::resize(uint64_t newSize) {
  if (newSize > capacity) {
    const uint64_t newCapacity = nextCapacity(capacity, newSize);
    auto grown = std::make_unique_for_overwrite<std::byte[]>(newCapacity);
    if (capacity > 0) std::memcpy(grown.get(), buffer, capacity);
    setStorage(std::move(grown), newCapacity);
  }
  size = newSize;
}

void CacheObject::setStorage(std::unique_ptr<std::byte[]> newStorage, uint64_t newCapacity) {
  storage = std::move(newStorage);
  buffer = storage.get();
  capacity = newCapacity;
}

}  // namespace RIFF
