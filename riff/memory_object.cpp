// resize(), read(), write() and move() on a buffer, each with its range check.

#include "riff/memory_object.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace RIFF {

namespace {

// Subtracts, because the sum of offset and length may pass 2^64.
bool fits(uint64_t offset, uint64_t length, uint64_t limit) {
  return length <= limit && offset <= limit - length;
}

// Overlap-safe for every length. Most copies are header fields, and a memmove() of a constant 4
// bytes compiles to one load and one store. A length of 0 may come with null pointers, which
// memmove() does not allow.
void copyBytes(std::byte* destination, const std::byte* source, uint64_t length) {
  if (length == sizeof(uint32_t)) {
    std::memmove(destination, source, sizeof(uint32_t));
  } else if (length > 0) {
    std::memmove(destination, source, length);
  }
}

}  // namespace

MemoryObject::MemoryObject(const void* buffer, uint64_t size)
    : buffer(static_cast<std::byte*>(const_cast<void*>(buffer))), capacity(0) {
  this->size = size;
  loadChunks(this->buffer);
}

MemoryObject::MemoryObject(void* buffer, uint64_t size, uint64_t capacity)
    : buffer(static_cast<std::byte*>(buffer)), capacity(capacity) {
  this->size = size;
  loadChunks(this->buffer);
}

void MemoryObject::resize(uint64_t newSize) {
  if (newSize > capacity) throw std::runtime_error("out of space");
  size = newSize;
}

void MemoryObject::read(uint64_t offset, std::byte* destination, uint64_t length) {
  if (!fits(offset, length, size)) throw std::runtime_error("invalid read");
  copyBytes(destination, buffer + offset, length);
}

void MemoryObject::write(uint64_t offset, const std::byte* source, uint64_t length) {
  if (!fits(offset, length, capacity)) throw std::runtime_error("invalid write");
  copyBytes(buffer + offset, source, length);
  size = std::max(size, offset + length);
}

void MemoryObject::move(uint64_t source, uint64_t destination, uint64_t length) {
  if (!fits(destination, length, capacity)) throw std::runtime_error("invalid write");
  if (length > 0 && !fits(source, length, capacity)) throw std::runtime_error("invalid read");
  copyBytes(buffer + destination, buffer + source, length);
}

}  // namespace RIFF
