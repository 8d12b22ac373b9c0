// A library to preload into the program. Of the calls that change a file, it disturbs number
// FAULT_AT, counted from 1, and makes the file FAULT_DONE when it does. FAULT_HOW is one of
//   kill   SIGKILL before the call
//   tear   SIGKILL after the call; a write stores only half of its bytes
//   int    SIGINT before the call, which is then made if the program still runs
//   wait   the call waits until FAULT_DONE, a named pipe, has been opened and closed by a writer
//   N      the call fails with the error N; if that is ENOSPC, so do later calls that need space

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <string_view>

namespace {

int count = 0;

long setting(const char* name) {
  const char* value = std::getenv(name);
  return value ? std::atol(value) : 0;
}

enum Need { NO_SPACE, SPACE };

// Makes or disturbs a call that transfers `length` bytes.
template <typename Call>
long change(Need need, size_t length, Call call) {
  static const long at = setting("FAULT_AT");
  static const std::string_view how = at > 0 ? std::getenv("FAULT_HOW") : "";
  static const long error = setting("FAULT_HOW");
  ++count;
  const bool isStillFull = error == ENOSPC && need == SPACE && count > at && at > 0;
  if (count != at && !isStillFull) return call(length);
  const int flags = how == "wait" ? O_RDONLY : O_CREAT | O_WRONLY;
  const long done = syscall(SYS_open, std::getenv("FAULT_DONE"), flags, 0600);
  if (how == "wait") syscall(SYS_read, done, &count, sizeof count);
  syscall(SYS_close, done);
  if (how == "tear") call(length / 2);
  if (how == "tear" || how == "kill") kill(getpid(), SIGKILL);
  if (how == "int") raise(SIGINT);
  if (error == 0) return call(length);
  errno = static_cast<int>(error);
  return -1;
}

template <typename... Arguments>
int changed(Need need, long number, Arguments... arguments) {
  return static_cast<int>(
      change(need, 0, [&](size_t /*length*/) { return syscall(number, arguments...); }));
}

int opened(const char* path, int flags, mode_t mode) {
  if ((flags & O_ACCMODE) == O_RDONLY) {
    return static_cast<int>(syscall(SYS_open, path, flags, mode));
  }
  return changed(flags & O_CREAT ? SPACE : NO_SPACE, SYS_open, path, flags, mode);
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  va_list more;
  va_start(more, flags);
  const auto mode = flags & O_CREAT ? va_arg(more, mode_t) : 0;
  va_end(more);
  return opened(path, flags, mode);
}
int __open_2(const char* path, int flags) { return opened(path, flags, 0); }
ssize_t write(int fd, const void* bytes, size_t size) {
  const auto call = [&](size_t length) { return syscall(SYS_write, fd, bytes, length); };
  return fd <= STDERR_FILENO ? call(size) : change(SPACE, size, call);
}
ssize_t pwrite(int fd, const void* bytes, size_t size, off_t offset) {
  return change(SPACE, size,
                [&](size_t length) { return syscall(SYS_pwrite64, fd, bytes, length, offset); });
}
ssize_t copy_file_range(int from, off64_t* at, int to, off64_t* there, size_t size,
                        unsigned flags) {
  return change(SPACE, size, [&](size_t length) {
    return syscall(SYS_copy_file_range, from, at, to, there, length, flags);
  });
}
int ioctl(int fd, unsigned long request, ...) noexcept {
  va_list more;
  va_start(more, request);
  void* const argument = va_arg(more, void*);
  va_end(more);
  return changed(SPACE, SYS_ioctl, fd, request, argument);
}
int ftruncate(int fd, off_t size) noexcept { return changed(NO_SPACE, SYS_ftruncate, fd, size); }
int fallocate(int fd, int mode, off_t offset, off_t size) {
  return changed(SPACE, SYS_fallocate, fd, mode, offset, size);
}
int rename(const char* from, const char* to) noexcept {
  return changed(NO_SPACE, SYS_rename, from, to);
}
int renameat2(int fd, const char* from, int toFd, const char* to, unsigned flags) noexcept {
  return changed(NO_SPACE, SYS_renameat2, fd, from, toFd, to, flags);
}
int unlink(const char* path) noexcept { return changed(NO_SPACE, SYS_unlink, path); }
int fsync(int fd) { return changed(NO_SPACE, SYS_fsync, fd); }
int fchmod(int fd, mode_t mode) noexcept { return changed(NO_SPACE, SYS_fchmod, fd, mode); }
int fchown(int fd, uid_t user, gid_t group) noexcept {
  return changed(NO_SPACE, SYS_fchown, fd, user, group);
}
int fsetxattr(int fd, const char* name, const void* value, size_t size, int flags) noexcept {
  return changed(SPACE, SYS_fsetxattr, fd, name, value, size, flags);
}

}  // extern "C"
