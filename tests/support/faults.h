// System and memory calls that fail on demand, and a record of the calls on files. A program that
// links faults.cpp and exports its symbols makes the library call these in place of the real ones.

#ifndef TESTS_SUPPORT_FAULTS_H
#define TESTS_SUPPORT_FAULTS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace faults {

enum class Call { NEW, REALLOC, OPEN, LSEEK, READ, WRITE, FTRUNCATE, FALLOCATE, GETRANDOM };

enum class How {
  FAIL_ONCE,          // getrandom is interrupted
  FAIL_FROM_HERE_ON,  // getrandom has no random source
  RETURN_ZERO,        // a transfer moves no byte, once
  SHORT_COUNTS        // transfers move one byte each from here on
};

// From now on the nth call of this kind on this thread, counted from 0, fails in this way.
void arm(Call call, size_t nth, How how);
// Ends that. Returns whether the nth call came.
bool disarm();

// Runs attempt(arm) with each call failing in each way, the first time it comes, the second, and so
// on. The attempt arms the fault when all is prepared, and returns what disarm() returns. After it,
// all memory and descriptors have to be given back. Returns the number of faults that came.
size_t forAllFaults(const std::function<bool(Call, How, const std::function<void()>&)>& attempt);

// Appends a call on a file to a list such as "s0@3 r4@3 ", where 3 is the descriptor: seek to, 'e'
// seek from the end, read, write so many bytes, truncate to, close.
void note(std::string& calls, char what, int file, uint64_t value);

extern std::string fileCalls;  // noted while recording
extern int lastOpenedFile;     // likewise
extern bool recording;

}  // namespace faults

#endif
