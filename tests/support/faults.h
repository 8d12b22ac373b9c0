// Makes allocations and system calls fail on demand. Linked into a program of its own, whose
// definitions of operator new, open, lseek, read, write, ftruncate and getrandom the library calls
// in place of the C library's.

#ifndef TESTS_SUPPORT_FAULTS_H
#define TESTS_SUPPORT_FAULTS_H

#include <cstddef>

namespace faults {

enum class Call { NEW, REALLOC, OPEN, LSEEK, READ, WRITE, FTRUNCATE, GETRANDOM, SYSCONF, SYSINFO };
constexpr Call ALL_CALLS[] = {Call::NEW,  Call::REALLOC, Call::OPEN,      Call::LSEEK,
                              Call::READ, Call::WRITE,   Call::FTRUNCATE, Call::GETRANDOM};

enum class How {
  FAIL_ONCE,
  FAIL_FROM_HERE_ON,
  RETURN_ZERO,     // read, write and getrandom: nothing transferred
  SHORT_COUNTS,    // the same: one byte at a time
  INTERRUPT_ONCE,  // EINTR
  END_PROCESS      // before the call is made
};

// From now on the nth call of this kind, from 0, fails in this way.
void arm(Call call, size_t nth, How how);
// Ends that; tells whether the nth call came.
bool disarm();

// What operator new has handed out and not got back, and how many descriptors are open.
size_t liveAllocations();
size_t openDescriptors();

}  // namespace faults

#endif
