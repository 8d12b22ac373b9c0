// System and memory calls that fail on demand, and a record of the calls on files. If a program
// links faults.cpp and exports its symbols, the library calls these functions instead of the real
// ones.

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

// From now on, the nth call of a kind on this thread, counted from 0, fails in the given way.
void arm(Call call, size_t nth, How how);
// Ends what arm() has begun. Returns whether the nth call was made.
bool disarm();

// Runs attempt(arm) many times: for each kind of call and each way of failing, the first call fails
// in the first run, the second call in the next run, and so on. The attempt calls arm() when all is
// prepared, and returns the result of disarm(). Checks after each run that all memory and
// descriptors have been released. Returns the number of calls that failed.
size_t forAllFaults(const std::function<bool(Call, How, const std::function<void()>&)>& attempt);

// Appends a call on a file to a list such as "s0@3 r4@3 ", where 3 is the descriptor. The letters
// are seek to, 'e' for seek from the end, read or write so many bytes, truncate to, close.
void note(std::string& calls, char what, int file, uint64_t value);

extern std::string fileCalls;  // noted while recording
extern int lastOpenedFile;     // likewise
extern bool recording;

}  // namespace faults

#endif
