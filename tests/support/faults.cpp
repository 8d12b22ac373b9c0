#include "support/faults.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <new>

namespace {

using faults::Call;
using faults::How;

struct Armed {
  bool on = false;
  bool fired = false;
  Call call = Call::NEW;
  size_t remaining = 0;
  How how = How::FAIL_ONCE;
};
Armed armed;
std::atomic<size_t> live = 0;

// Whether this call is to go wrong.
bool strikes(Call call) {
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

// The result of a transfer that goes wrong, or its shortened length.
bool spoil(ssize_t& result, size_t& length) {
  if (armed.how == How::SHORT_COUNTS) {
    length = length > 0 ? 1 : 0;
    return false;
  }
  errno = armed.how == How::INTERRUPT_ONCE ? EINTR : EIO;
  result = armed.how == How::RETURN_ZERO ? 0 : -1;
  return true;
}

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void* allocate(size_t size) {
  if (strikes(Call::NEW)) return nullptr;
  void* memory = std::malloc(size > 0 ? size : 1);
  if (memory) ++live;
  return memory;
}

void release(void* memory) {
  if (memory) --live;
  std::free(memory);
}

}  // namespace

namespace faults {

void arm(Call call, size_t nth, How how) { armed = {true, false, call, nth, how}; }

bool disarm() {
  armed.on = false;
  return armed.fired;
}

size_t liveAllocations() { return live; }

size_t openDescriptors() {
  size_t count = 0;
  DIR* folder = opendir("/proc/self/fd");
  while (readdir(folder)) ++count;
  closedir(folder);
  return count;
}

}  // namespace faults

void* operator new(size_t size) {
  if (void* memory = allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](size_t size) { return operator new(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, size_t) noexcept { release(memory); }
void operator delete[](void* memory, size_t) noexcept { release(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { release(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { release(memory); }

extern "C" {

// Sanitizers have a realloc of their own; there a cache that cannot grow is left to the other
// builds.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
void* __libc_realloc(void* memory, size_t size);
void* realloc(void* memory, size_t size) {
  return strikes(Call::REALLOC) ? nullptr : __libc_realloc(memory, size);
}
void* __libc_calloc(size_t count, size_t size);
void* calloc(size_t count, size_t size) {
  return strikes(Call::REALLOC) ? nullptr : __libc_calloc(count, size);
}
#endif

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const int mode = (flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0;
  va_end(arguments);
  if (strikes(Call::OPEN)) {
    errno = EMFILE;
    return -1;
  }
  static const auto real = next<int(const char*, int, ...)>("open");
  return real(path, flags, mode);
}

off_t lseek(int fd, off_t offset, int whence) noexcept {
  if (strikes(Call::LSEEK)) return -1;
  static const auto real = next<off_t(int, off_t, int)>("lseek");
  return real(fd, offset, whence);
}

int ftruncate(int fd, off_t size) noexcept {
  if (strikes(Call::FTRUNCATE)) return -1;
  static const auto real = next<int(int, off_t)>("ftruncate");
  return real(fd, size);
}

ssize_t read(int fd, void* bytes, size_t length) {
  ssize_t result = 0;
  if (strikes(Call::READ) && spoil(result, length)) return result;
  static const auto real = next<ssize_t(int, void*, size_t)>("read");
  return real(fd, bytes, length);
}

ssize_t write(int fd, const void* bytes, size_t length) {
  ssize_t result = 0;
  if (strikes(Call::WRITE) && spoil(result, length)) return result;
  static const auto real = next<ssize_t(int, const void*, size_t)>("write");
  return real(fd, bytes, length);
}

long sysconf(int name) noexcept {
  if (strikes(Call::SYSCONF)) return -1;
  static const auto real = next<long(int)>("sysconf");
  return real(name);
}

int sysinfo(struct sysinfo* info) noexcept {
  if (strikes(Call::SYSINFO)) return -1;
  static const auto real = next<int(struct sysinfo*)>("sysinfo");
  return real(info);
}

ssize_t getrandom(void* bytes, size_t length, unsigned flags) {
  ssize_t result = 0;
  if (strikes(Call::GETRANDOM) && spoil(result, length)) return result;
  static const auto real = next<ssize_t(void*, size_t, unsigned)>("getrandom");
  return real(bytes, length, flags);
}

}  // extern "C"
