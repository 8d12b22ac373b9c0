// Listens to the system calls on files: a test program that links file_calls.cpp, with its symbols
// exported, stands between the library and the C library.
#ifndef TESTS_FILE_CALLS_H
#define TESTS_FILE_CALLS_H

#include <cstdint>
#include <string>
#include <vector>

// 's' seek to, 'e' seek from the end, 'r' read, 'w' write so many bytes, 't' truncate to, 'c'
// close.
struct FileCall {
  char what;
  int file;
  uint64_t value;
};

// "s0 r4 " and so on, a descriptor behind each.
std::string text(const std::vector<FileCall>& calls);

extern std::vector<FileCall> fileCalls;  // made while recordFileCalls was on
extern int lastOpenedFile;               // likewise
extern bool recordFileCalls;

#endif
