// Calls that fail on demand, or that are listened to. A test program links allocations.cpp
// (operator new), faults.cpp (functions of the C library) or both, with its symbols exported: the
// library then calls those in place of the real ones.

#ifndef TESTS_SUPPORT_FAULTS_H
#define TESTS_SUPPORT_FAULTS_H

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace faults {

enum class Call {
  NEW,
  REALLOC,
  OPEN,
  LSEEK,
  READ,
  WRITE,
  FTRUNCATE,
  FALLOCATE,
  GETRANDOM,
  SYSCONF,
  SYSINFO
};
constexpr Call ALL_CALLS[] = {Call::NEW,       Call::REALLOC,   Call::OPEN,
                              Call::LSEEK,     Call::READ,      Call::WRITE,
                              Call::FTRUNCATE, Call::FALLOCATE, Call::GETRANDOM};

enum class How {
  FAIL_ONCE,
  FAIL_FROM_HERE_ON,
  RETURN_ZERO,   // read, write and getrandom: nothing transferred
  SHORT_COUNTS,  // the same: one byte at a time
  END_PROCESS    // before the call is made
};

// What is to go wrong on this thread.
struct Armed {
  bool on = false;
  bool fired = false;
  Call call = Call::NEW;
  size_t remaining = 0;
  How how = How::FAIL_ONCE;
};
constinit inline thread_local Armed armed = {};

// From now on the nth call of this kind, from 0, fails in this way.
inline void arm(Call call, size_t nth, How how) { armed = {true, false, call, nth, how}; }
// Ends that; tells whether the nth call came.
inline bool disarm() {
  armed.on = false;
  return armed.fired;
}

// Whether this call is to go wrong.
inline bool strikes(Call call) {
  if (!armed.on || armed.call != call) return false;
  if (armed.remaining > 0) {
    --armed.remaining;
    return false;
  }
  if (armed.how == How::END_PROCESS) _exit(0);
  const bool first = !armed.fired;
  armed.fired = true;
  return first || armed.how == How::FAIL_FROM_HERE_ON || armed.how == How::SHORT_COUNTS;
}

// Adds a call on a file to a list such as "s0@3 r4@3 ", where 3 is the descriptor: 's' seek to, 'e'
// seek from the end, 'r' read, 'w' write so many bytes, 't' truncate to, 'c' close.
void note(std::string& calls, char what, int file, uint64_t value);

extern std::string fileCalls;  // made while recording
extern int lastOpenedFile;     // likewise
extern bool recording;

}  // namespace faults

#endif
