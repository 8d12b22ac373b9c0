#include "support/faults.h"

#include <dlfcn.h>
#include <sys/random.h>
#include <sys/sysinfo.h>

#include <cerrno>

using faults::Call;
using faults::How;

std::string faults::fileCalls;
int faults::lastOpenedFile = -1;
bool faults::recording = false;

void faults::note(std::string& calls, char what, int file, uint64_t value) {
  calls += what + std::to_string(value) + "@" + std::to_string(file) + " ";
}

namespace {

void record(char what, int file, uint64_t value) {
  if (faults::recording) faults::note(faults::fileCalls, what, file, value);
}

bool fails(Call call) {
  if (!faults::strikes(call)) return false;
  errno = EIO;
  return true;
}

// Whether a transfer goes wrong altogether, with this result; else it may have got shorter.
bool spoils(Call call, ssize_t& result, size_t& length) {
  if (!fails(call)) return false;
  if (faults::armed.how == How::SHORT_COUNTS) {
    length = length > 0 ? 1 : 0;
    return false;
  }
  result = faults::armed.how == How::RETURN_ZERO ? 0 : -1;
  return true;
}

// The function that would have been called.
template <typename Function>
Function* real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

// Sanitizers have a realloc of their own; there a cache that cannot grow is left to the other
// builds.
#ifndef __has_feature
#define __has_feature(feature) 0
#endif
#if !defined(__SANITIZE_ADDRESS__) && !__has_feature(address_sanitizer)
void* __libc_realloc(void* memory, size_t size);
void* realloc(void* memory, size_t size) {
  return fails(Call::REALLOC) ? nullptr : __libc_realloc(memory, size);
}
void* __libc_calloc(size_t count, size_t size);
void* calloc(size_t count, size_t size) {
  return fails(Call::REALLOC) ? nullptr : __libc_calloc(count, size);
}
#endif

// Without <fcntl.h>, which has it with an ellipsis; the mode arrives in the same place.
int open(const char* file, int oflag, mode_t mode) {
  if (fails(Call::OPEN)) return -1;
  const int fd = real<int(const char*, int, mode_t)>("open")(file, oflag, mode);
  if (faults::recording) faults::lastOpenedFile = fd;
  return fd;
}

off_t lseek(int fd, off_t offset, int whence) noexcept {
  record(whence == SEEK_SET ? 's' : 'e', fd, static_cast<uint64_t>(offset));
  return fails(Call::LSEEK) ? -1 : real<off_t(int, off_t, int)>("lseek")(fd, offset, whence);
}

int ftruncate(int fd, off_t length) noexcept {
  record('t', fd, static_cast<uint64_t>(length));
  return fails(Call::FTRUNCATE) ? -1 : real<int(int, off_t)>("ftruncate")(fd, length);
}

int fallocate(int fd, int mode, off_t offset, off_t length) {
  if (!fails(Call::FALLOCATE)) {
    return real<int(int, int, off_t, off_t)>("fallocate")(fd, mode, offset, length);
  }
  errno = ENOSPC;
  return -1;
}

int close(int fd) {
  record('c', fd, 0);
  return real<int(int)>("close")(fd);
}

ssize_t read(int fd, void* buf, size_t nbytes) {
  record('r', fd, nbytes);
  ssize_t result = 0;
  if (spoils(Call::READ, result, nbytes)) return result;
  return real<ssize_t(int, void*, size_t)>("read")(fd, buf, nbytes);
}

ssize_t write(int fd, const void* buf, size_t n) {
  record('w', fd, n);
  ssize_t result = 0;
  if (spoils(Call::WRITE, result, n)) return result;
  return real<ssize_t(int, const void*, size_t)>("write")(fd, buf, n);
}

ssize_t getrandom(void* buffer, size_t length, unsigned flags) {
  ssize_t result = 0;
  if (spoils(Call::GETRANDOM, result, length)) return result;
  return real<ssize_t(void*, size_t, unsigned)>("getrandom")(buffer, length, flags);
}

long sysconf(int name) noexcept {
  return fails(Call::SYSCONF) ? -1 : real<long(int)>("sysconf")(name);
}

int sysinfo(struct sysinfo* info) noexcept {
  return fails(Call::SYSINFO) ? -1 : real<int(struct sysinfo*)>("sysinfo")(info);
}

}  // extern "C"
