// The file that a command works on, before any change.

#include "file/original.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <ctime>
#include <utility>

#include "app/errors.h"
#include "app/progress.h"

namespace tool {

namespace {

// Does not wait if the file system has no locks.
void waitForTurn(const File& file, int lock) {
  if (!isLockedByAnother(file.owner(), lock)) return;
  const Waiting waiting("waiting for another edit of " + file.name());
  while (::flock(file.descriptor(), lock) == -1) {
    if (errno != EINTR) throw Failure(file.name(), "cannot be locked: " + systemError());
  }
}

// While this program waited for the lock, the file may have been replaced under its name.
bool isStillNamed(const File& file) { return isSameFile(file.status(), statusOf(file.name())); }

// Editors that wait must not have the file open for writing: see Original::requireNoWriter(). But
// NFS gives an exclusive lock only to programs that have the file open for writing.
File openForEdit(const std::string& name) {
  File file(name, File::READ);
  if (::faccessat(AT_FDCWD, name.c_str(), W_OK, AT_EACCESS) == -1) {
    throw Failure(name, systemError());
  }
  const bool isLocked = ::flock(file.descriptor(), LOCK_EX | LOCK_NB) == 0;
  return !isLocked && errno == EBADF ? File(name, File::READ_WRITE) : std::move(file);
}

File openInTurn(const std::string& name, Original::Purpose purpose) {
  for (;;) {
    File file = purpose == Original::EDIT ? openForEdit(name) : File(name, File::READ);
    if (purpose == Original::LOOK) return file;
    waitForTurn(file, purpose == Original::EDIT ? LOCK_EX : LOCK_SH);
    if (isStillNamed(file)) return file;
  }
}

// The first line of a marker, which names the edit.
std::string editNamedIn(const std::string& marker) {
  const Descriptor file(::open(marker.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  std::array<char, 200> text{};
  const ssize_t count = file ? ::read(file.get(), text.data(), text.size()) : 0;
  const std::string_view all(text.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  return std::string(all.substr(0, all.find('\n')));
}

bool isSameTime(const struct timespec& a, const struct timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

}  // namespace

Original::Original(const std::string& name, Purpose purpose)
    : file(openInTurn(name, purpose)), resolvedPath(realPath(name)) {
  requireNoMarker(file, resolvedPath);
  before = purpose == LOOK ? file.status() : settledStatus(file);
}

void Original::requireUnchanged() const {
  if (!isUnchanged(before, statusOf(path()))) {
    throw Failure(name(), "was changed by another program meanwhile");
  }
}

// The system gives a read lease only while nobody has the file open for writing. If somebody opens
// it before the lease ends, the system sends SIGIO, which must not end this program.
void Original::requireNoWriter() const {
  if ((::fcntl(file.descriptor(), F_GETFL) & O_ACCMODE) != O_RDONLY) return;  // NFS
  static_cast<void>(::signal(SIGIO, SIG_IGN));
  if (::fcntl(file.descriptor(), F_SETLEASE, F_RDLCK) == -1) {
    if (errno == EAGAIN) throw Failure(name(), "is open for writing in another program");
    return;
  }
  ::fcntl(file.descriptor(), F_SETLEASE, F_UNLCK);
}

void requireNoMarker(const File& file, const std::string& path) {
  const std::string marker = markerOf(path);
  struct stat status {};
  if (::lstat(marker.c_str(), &status) == -1) return;
  // A program that edits in place holds the lock. If this program can lock the file, none does.
  if (isLockedByAnother(file.owner(), LOCK_SH)) {
    throw Failure(file.name(), "is being edited in place by another program");
  }
  throw Failure(file.name(), "an edit in place was interrupted here (" + editNamedIn(marker) +
                                 "): use a backup from before the edit, or remove " + marker +
                                 " to accept the file as it is");
}

struct stat settledStatus(const File& file) {
  constexpr int64_t TICK = 10'000'000;  // ns
  constexpr int64_t SECOND = 1'000'000'000;
  constexpr int MAX_PAUSES = 10;  // a program that changes the file all the time is not waited for
  for (int i = 0; i < MAX_PAUSES; ++i) {
    const struct stat status = file.status();
    struct timespec now {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    const int64_t age = (now.tv_sec - status.st_ctim.tv_sec) * SECOND +  //
                        (now.tv_nsec - status.st_ctim.tv_nsec);
    if (age < 0 || age > TICK) return status;
    const struct timespec pause = {0, TICK + 1 - age};
    ::nanosleep(&pause, nullptr);
  }
  throw Failure(file.name(), "is being changed by another program");
}

bool isUnchanged(const struct stat& before, const struct stat& now) {
  return isSameFile(before, now) && before.st_size == now.st_size &&
         isSameTime(before.st_mtim, now.st_mtim) && isSameTime(before.st_ctim, now.st_ctim);
}

std::string markerOf(const std::string& path) { return path + ".velmor-core-edit"; }

}  // namespace tool
