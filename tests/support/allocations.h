// Memory that runs out on demand: this program's operator new, the library's and the standard
// library's calls of it included, counts and fails as a test wishes.

#ifndef TESTS_ALLOCATIONS_H
#define TESTS_ALLOCATIONS_H

#include <cstdint>

#include "support/faults.h"

// From construction to destruction `count` allocations of this thread succeed and all later ones
// fail.
class LimitedMemory {
 public:
  explicit LimitedMemory(int64_t count) {
    faults::arm(faults::Call::NEW, static_cast<size_t>(count), faults::How::FAIL_FROM_HERE_ON);
  }
  ~LimitedMemory() { faults::disarm(); }
  LimitedMemory(const LimitedMemory&) = delete;
  LimitedMemory& operator=(const LimitedMemory&) = delete;

  bool hasRunOut() const { return faults::armed.fired; }

  // False where something else has put its operator new before this one, as valgrind does.
  static bool isInForce();
};

// Blocks that this thread has allocated and not freed.
int64_t countLiveAllocations();

#endif
