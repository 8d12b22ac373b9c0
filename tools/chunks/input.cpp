// Opens files and standard input.
#include "chunks/input.h"

#include <fcntl.h>
#include <unistd.h>

#include "app/progress.h"
#include "chunks/keep_headers.h"

namespace tool {

namespace {

constexpr const char* STANDARD_INPUT = "standard input";

bool isWholeFile(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
         ::lseek(descriptor, 0, SEEK_CUR) == 0;
}

}  // namespace

std::string inputName(const std::string& operand) {
  return operand == "-" ? STANDARD_INPUT : operand;
}

Input::Input(const std::string& operand) {
  if (operand != "-") {
    original.emplace(operand, Original::LOOK);
  } else if (isWholeFile(STDIN_FILENO)) {
    redirected.emplace(STANDARD_INPUT, Descriptor(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)));
    requireNoMarker(*redirected, realPath("/dev/stdin"));
  } else {
    const Waiting waiting("reading standard input");
    kept = keepHeaders(STDIN_FILENO, STANDARD_INPUT);
  }
}

}  // namespace tool
