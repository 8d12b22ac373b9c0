// The two kinds of error that end a command.
#ifndef VELMOR_CORE_TOOLS_APP_ERRORS_H
#define VELMOR_CORE_TOOLS_APP_ERRORS_H

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace tool {

constexpr int WRONG_USE = 2;  // the exit status after UsageError

// The command line is wrong. Thrown before any file is changed.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The command could not be carried out. The exit status is 1; it is 2 for "diff" and 3 for "check".
// With two arguments, the message begins with the file's name. With one argument, the whole message
// is given, and it need not name a file.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  Failure(const std::string& file, const std::string& what)
      : std::runtime_error(file + ": " + what) {}
};

// The reason why the last system call failed.
inline std::string systemError() { return std::strerror(errno); }  // NOLINT: one thread

}  // namespace tool

#endif
