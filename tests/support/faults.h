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
  FAIL_ONCE,          // one call fails; a getrandom call as if a signal had interrupted it
  FAIL_FROM_HERE_ON,  // this call and all later ones fail
  RETURN_ZERO,        // one transfer moves no byte
  SHORT_COUNTS        // this transfer and all later ones move one byte each
};

// From now on, the nth call of a kind on this thread, counted from 0, fails in the given way.
void arm(Call call, size_t nth, How how);
// Ends what arm() has begun. Returns whether the nth call was made.
bool disarm();

// Runs attempt(call, how, arm) once for each possible fault. For each kind of call except
// GETRANDOM, and each way in which it can fail, the first call is hit in the first run, the second
// call in the second run, and so on, until a run makes too few calls. The attempt prepares what it
// needs, calls arm(), runs what is tested, and returns the result of disarm(). After each run,
// checks that this thread has released all memory from operator new, and that all descriptors are
// closed. Returns the number of runs with a fault.
size_t forAllFaults(const std::function<bool(Call, How, const std::function<void()>&)>& attempt);

// Appends a call on a file to a list such as "s0@3 r4@3 ". Each entry is a letter, a number, and
// the descriptor after the '@'. The letters: s seeks to the number, e seeks from the end, r and w
// read and write so many bytes, t truncates to that size, c closes.
void note(std::string& calls, char what, int file, uint64_t value);

extern std::string fileCalls;  // noted while recording
extern int lastOpenedFile;     // likewise
extern bool recording;

}  // namespace faults

#endif
