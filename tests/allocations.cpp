#include "allocations.h"

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr int64_t UNLIMITED = std::numeric_limits<int64_t>::max();

thread_local int64_t granted = UNLIMITED;
thread_local bool ranOut = false;
thread_local int64_t live = 0;

void* allocate(size_t size, size_t alignment) {
  if (granted == 0) {
    ranOut = true;
    throw std::bad_alloc();
  }
  if (granted != UNLIMITED) --granted;
  const size_t rounded = (size + alignment - 1) / alignment * alignment;
  void* block = std::aligned_alloc(alignment, rounded == 0 ? alignment : rounded);
  if (!block) throw std::bad_alloc();
  ++live;
  return block;
}

void release(void* block) noexcept {
  if (block) --live;
  std::free(block);
}

}  // namespace

LimitedMemory::LimitedMemory(int64_t count) {
  granted = count;
  ranOut = false;
}
LimitedMemory::~LimitedMemory() { granted = UNLIMITED; }
bool LimitedMemory::hasRunOut() const { return ranOut; }

// Called as the library calls it: by address, so that nothing here is inlined.
bool LimitedMemory::isInForce() {
  void* (*volatile allocateBlock)(size_t) = operator new;
  const int64_t before = live;
  void* block = allocateBlock(1);
  const bool counted = live == before + 1;
  operator delete(block);
  return counted;
}

int64_t countLiveAllocations() { return live; }

void* operator new(size_t size) { return allocate(size, alignof(std::max_align_t)); }
void* operator new(size_t size, std::align_val_t alignment) {
  return allocate(size, static_cast<size_t>(alignment));
}
void operator delete(void* block) noexcept { release(block); }
void operator delete(void* block, size_t /*size*/) noexcept { release(block); }
void operator delete(void* block, std::align_val_t /*alignment*/) noexcept { release(block); }
void operator delete(void* block, size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  release(block);
}
