// The bytes of an open file. Errors come with their reason.

#include "file/file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdlib>

#include "app/errors.h"

namespace tool {

namespace {

// Called before open(), which would wait for the other end of a named pipe.
void requireRegular(const std::string& name) {
  const struct stat status = statusOf(name);
  if (S_ISDIR(status.st_mode)) throw Failure(name, "is a directory");
  if (!S_ISREG(status.st_mode)) throw Failure(name, "is not a regular file");
}

// Repeats call() while a signal interrupts it. Returns its result; throws Failure if that is -1.
template <typename Call>
auto completed(const std::string& name, const char* what, uint64_t offset, Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  if (result == -1) {
    throw Failure(name, std::string(what) + ": " + systemError() + " (at offset " +
                            std::to_string(offset) + ")");
  }
  return result;
}

// Calls transfer(bytes, length, offset), which returns how many bytes it wrote, until all are
// written.
template <typename Transfer>
void writeAll(const std::string& name, const void* bytes, uint64_t length, uint64_t offset,
              Transfer transfer) {
  const auto* const begin = static_cast<const char*>(bytes);
  for (uint64_t done = 0; done < length;) {
    const ssize_t count = completed(name, "cannot be written", offset + done, [&] {
      return transfer(begin + done, length - done, static_cast<off_t>(offset + done));
    });
    if (count == 0) throw Failure(name, "cannot be written: the system takes no more bytes");
    done += static_cast<uint64_t>(count);
  }
}

}  // namespace

bool Descriptor::close() {
  const int closing = std::exchange(descriptor, -1);
  return closing == -1 || ::close(closing) == 0;
}

File::File(const std::string& name, Mode mode) : fileName(name) {
  requireRegular(name);
  file = Descriptor(::open(name.c_str(), (mode == READ ? O_RDONLY : O_RDWR) | O_CLOEXEC));
  if (!file) throw Failure(name, systemError());
}

void File::close() {
  if (!file.close()) throw Failure(fileName, "cannot be written: " + systemError());
}

struct stat File::status() const {
  struct stat status {};
  if (::fstat(descriptor(), &status) == -1) throw Failure(fileName, systemError());
  return status;
}

uint64_t File::read(void* bytes, uint64_t length, uint64_t offset) const {
  uint64_t done = 0;
  while (done < length) {
    const ssize_t count = completed(fileName, "cannot be read", offset + done, [&] {
      return ::pread(descriptor(), static_cast<char*>(bytes) + done, length - done,
                     static_cast<off_t>(offset + done));
    });
    if (count == 0) break;
    done += static_cast<uint64_t>(count);
  }
  return done;
}

void File::readAll(void* bytes, uint64_t length, uint64_t offset) const {
  if (const uint64_t count = read(bytes, length, offset); count < length) {
    throw Failure(fileName, "became shorter while it was read (at offset " +
                                std::to_string(offset + count) + ")");
  }
}

uint64_t File::nextData(uint64_t offset) const {
  const off_t data = ::lseek(descriptor(), static_cast<off_t>(offset), SEEK_DATA);
  if (data != -1) return static_cast<uint64_t>(data);
  return errno == ENXIO ? size() : offset;
}

void File::write(const void* bytes, uint64_t length) const {
  writeAll(fileName, bytes, length, 0, [this](const char* from, uint64_t count, off_t /*offset*/) {
    return ::write(descriptor(), from, count);
  });
}

void File::writeAt(const void* bytes, uint64_t length, uint64_t offset) const {
  writeAll(fileName, bytes, length, offset, [this](const char* from, uint64_t count, off_t at) {
    return ::pwrite(descriptor(), from, count, at);
  });
}

void File::resize(uint64_t length) const {
  completed(fileName, "cannot be written", length,
            [&] { return ::ftruncate(descriptor(), static_cast<off_t>(length)); });
}

void File::sync() const {
  completed(fileName, "cannot be written", 0, [this] { return ::fsync(descriptor()); });
}

bool isLockedByAnother(const Descriptor& file, int lock) {
  return ::flock(file.get(), lock | LOCK_NB) == -1 && errno == EWOULDBLOCK;
}

struct stat statusOf(const std::string& name) {
  struct stat status {};
  if (::stat(name.c_str(), &status) == -1) throw Failure(name, systemError());
  return status;
}

std::string realPath(const std::string& name) {
  std::array<char, PATH_MAX> path{};
  return ::realpath(name.c_str(), path.data()) ? path.data() : name;
}

bool isSameFile(const struct stat& first, const struct stat& second) {
  return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

bool isSameFile(const std::string& first, const std::string& second) {
  struct stat a {};
  struct stat b {};
  return ::stat(first.c_str(), &a) == 0 && ::stat(second.c_str(), &b) == 0 && isSameFile(a, b);
}

}  // namespace tool
