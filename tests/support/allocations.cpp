#include "support/allocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local int64_t live = 0;

void* allocate(size_t size, size_t alignment = alignof(std::max_align_t)) noexcept {
  if (faults::strikes(faults::Call::NEW)) return nullptr;
  const size_t rounded = (size + alignment - 1) / alignment * alignment;
  void* block = std::aligned_alloc(alignment, rounded == 0 ? alignment : rounded);
  if (block) ++live;
  return block;
}

void* orThrow(void* block) {
  if (!block) throw std::bad_alloc();
  return block;
}

void release(void* block) noexcept {
  if (block) --live;
  std::free(block);
}

}  // namespace

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

// The forms for arrays come down to these.
void* operator new(size_t size) { return orThrow(allocate(size)); }
void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept { return allocate(size); }
void* operator new(size_t size, std::align_val_t alignment) {
  return orThrow(allocate(size, static_cast<size_t>(alignment)));
}
void operator delete(void* block) noexcept { release(block); }
void operator delete(void* block, size_t /*size*/) noexcept { release(block); }
void operator delete(void* block, std::align_val_t /*alignment*/) noexcept { release(block); }
void operator delete(void* block, size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  release(block);
}
