#include "file_calls.h"

#include <dlfcn.h>
#include <unistd.h>

std::vector<FileCall> fileCalls;
int lastOpenedFile = -1;
bool recordFileCalls = false;

std::string text(const std::vector<FileCall>& calls) {
  std::string result;
  for (const FileCall& call : calls)
    result += call.what + std::to_string(call.value) + "@" + std::to_string(call.file) + " ";
  return result;
}

namespace {

void record(char what, int file, uint64_t value) {
  if (recordFileCalls) fileCalls.push_back({what, file, value});
}

// The function that would have been called.
template <typename Function>
Function* real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

// Without <fcntl.h>, which has it with an ellipsis; the mode arrives in the same place.
int open(const char* file, int oflag, mode_t mode) {
  const int fd = real<int(const char*, int, mode_t)>("open")(file, oflag, mode);
  if (recordFileCalls) lastOpenedFile = fd;
  return fd;
}

off_t lseek(int fd, off_t offset, int whence) noexcept {
  record(whence == SEEK_SET ? 's' : 'e', fd, static_cast<uint64_t>(offset));
  return real<off_t(int, off_t, int)>("lseek")(fd, offset, whence);
}

ssize_t read(int fd, void* buf, size_t nbytes) {
  record('r', fd, nbytes);
  return real<ssize_t(int, void*, size_t)>("read")(fd, buf, nbytes);
}

ssize_t write(int fd, const void* buf, size_t n) {
  record('w', fd, n);
  return real<ssize_t(int, const void*, size_t)>("write")(fd, buf, n);
}

int ftruncate(int fd, off_t length) noexcept {
  record('t', fd, static_cast<uint64_t>(length));
  return real<int(int, off_t)>("ftruncate")(fd, length);
}

int close(int fd) {
  record('c', fd, 0);
  return real<int(int)>("close")(fd);
}
}
