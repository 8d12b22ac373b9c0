#include "support/faults.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <new>

using faults::Call;
using faults::How;

std::string faults::fileCalls;
int faults::lastOpenedFile = -1;
bool faults::recording = false;

namespace {

struct Armed {
  bool on = false;
  bool fired = false;
  Call call = Call::NEW;
  size_t remaining = 0;
  How how = How::FAIL_ONCE;
};
constinit thread_local Armed armed = {};
constinit thread_local int64_t liveAllocations = 0;

bool strikes(Call call) {
  if (!armed.on || armed.call != call) return false;
  if (armed.remaining > 0) {
    --armed.remaining;
    return false;
  }
  const bool first = !armed.fired;
  armed.fired = true;
  errno = call == Call::GETRANDOM && armed.how == How::FAIL_ONCE ? EINTR : EIO;
  return first || armed.how == How::FAIL_FROM_HERE_ON || armed.how == How::SHORT_COUNTS;
}

// Whether a transfer fails. If not, its length may have been reduced.
bool spoils(Call call, size_t& length) {
  if (!strikes(call)) return false;
  if (armed.how != How::SHORT_COUNTS) return true;
  length = length > 0 ? 1 : 0;
  return false;
}
ssize_t spoiled() { return armed.how == How::RETURN_ZERO ? 0 : -1; }

void record(char what, int file, uint64_t value) {
  if (faults::recording) faults::note(faults::fileCalls, what, file, value);
}

size_t countOpenDescriptors() {
  using Files = std::filesystem::directory_iterator;
  return static_cast<size_t>(std::distance(Files("/proc/self/fd"), Files()));
}

// The real function of this name.
template <typename Function>
Function* real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void faults::arm(Call call, size_t nth, How how) { armed = {true, false, call, nth, how}; }

bool faults::disarm() {
  armed.on = false;
  return armed.fired;
}

size_t faults::forAllFaults(
    const std::function<bool(Call, How, const std::function<void()>&)>& attempt) {
  size_t met = 0;
  for (const Call call : {Call::NEW, Call::REALLOC, Call::OPEN, Call::LSEEK, Call::READ,
                          Call::WRITE, Call::FTRUNCATE, Call::FALLOCATE}) {
    for (const How how :
         {How::FAIL_ONCE, How::FAIL_FROM_HERE_ON, How::RETURN_ZERO, How::SHORT_COUNTS}) {
      const bool transfer = call == Call::READ || call == Call::WRITE;
      if (!transfer && how > How::FAIL_FROM_HERE_ON) continue;
      bool fired = true;
      for (size_t nth = 0; fired; ++nth) {
        SCOPED_TRACE(testing::Message() << "call " << static_cast<int>(call) << ", how "
                                        << static_cast<int>(how) << ", " << nth);
        const int64_t allocations = liveAllocations;
        const size_t descriptors = countOpenDescriptors();
        fired = attempt(call, how, [=] { arm(call, nth, how); });
        EXPECT_EQ(liveAllocations, allocations);
        EXPECT_EQ(countOpenDescriptors(), descriptors);
        met += fired ? 1 : 0;
      }
    }
  }
  return met;
}

void faults::note(std::string& calls, char what, int file, uint64_t value) {
  calls += what + std::to_string(value) + "@" + std::to_string(file) + " ";
}

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
  void* block = strikes(Call::NEW) ? nullptr : std::malloc(size);
  if (block) ++liveAllocations;
  return block;
}
void* operator new(size_t size) {
  if (void* block = operator new(size, std::nothrow)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
  if (block) --liveAllocations;
  std::free(block);
}
void operator delete(void* block, size_t /*size*/) noexcept { operator delete(block); }

extern "C" {

// Sanitizers replace realloc and calloc themselves.
#ifndef __has_feature
#define __has_feature(feature) 0
#endif
#if !defined(__SANITIZE_ADDRESS__) && !__has_feature(address_sanitizer)
void* __libc_realloc(void* memory, size_t size);
void* realloc(void* memory, size_t size) {
  return strikes(Call::REALLOC) ? nullptr : __libc_realloc(memory, size);
}
void* __libc_calloc(size_t count, size_t size);
void* calloc(size_t count, size_t size) {
  return strikes(Call::REALLOC) ? nullptr : __libc_calloc(count, size);
}
#endif

// <fcntl.h> declares it with an ellipsis. A named parameter gets the mode in the same register.
int open(const char* file, int oflag, mode_t mode) {
  if (strikes(Call::OPEN)) return -1;
  const int fd = real<int(const char*, int, mode_t)>("open")(file, oflag, mode);
  if (faults::recording) faults::lastOpenedFile = fd;
  return fd;
}

off_t lseek(int fd, off_t offset, int whence) noexcept {
  record(whence == SEEK_SET ? 's' : 'e', fd, static_cast<uint64_t>(offset));
  return strikes(Call::LSEEK) ? -1 : real<off_t(int, off_t, int)>("lseek")(fd, offset, whence);
}

int ftruncate(int fd, off_t length) noexcept {
  record('t', fd, static_cast<uint64_t>(length));
  return strikes(Call::FTRUNCATE) ? -1 : real<int(int, off_t)>("ftruncate")(fd, length);
}

int fallocate(int fd, int mode, off_t offset, off_t length) {
  if (!strikes(Call::FALLOCATE)) {
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
  if (spoils(Call::READ, nbytes)) return spoiled();
  return real<ssize_t(int, void*, size_t)>("read")(fd, buf, nbytes);
}

ssize_t write(int fd, const void* buf, size_t n) {
  record('w', fd, n);
  if (spoils(Call::WRITE, n)) return spoiled();
  return real<ssize_t(int, const void*, size_t)>("write")(fd, buf, n);
}

ssize_t getrandom(void* buffer, size_t length, unsigned flags) {
  if (spoils(Call::GETRANDOM, length)) return spoiled();
  return real<ssize_t(void*, size_t, unsigned)>("getrandom")(buffer, length, flags);
}

}  // extern "C"
