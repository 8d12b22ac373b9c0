#include "file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "errors.h"

namespace tool {

namespace {

constexpr mode_t PERMISSIONS = 0644;

int openFlags(File::Mode mode) {
  if (mode == File::CREATE) return O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
  if (mode == File::CREATE_NEW) return O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC;
  return (mode == File::READ ? O_RDONLY : O_RDWR) | O_CLOEXEC;
}

// Looked at before the open, which would wait for the other end of a named pipe.
void requireRegular(const std::string& name) {
  struct stat status {};
  if (::stat(name.c_str(), &status) == -1) throw Failure(name, systemError());
  if (S_ISDIR(status.st_mode)) throw Failure(name, "is a directory");
  if (!S_ISREG(status.st_mode)) throw Failure(name, "is not a regular file");
}

}  // namespace

File::File(const std::string& name, Mode mode) : name(name), descriptor(-1) {
  if (mode == READ || mode == READ_WRITE) requireRegular(name);
  descriptor = ::open(name.c_str(), openFlags(mode), PERMISSIONS);
  if (descriptor == -1) throw Failure(name, systemError());
}

File::~File() {
  if (descriptor != -1) ::close(descriptor);
}

void File::close() {
  const int closing = descriptor;
  descriptor = -1;
  if (::close(closing) == -1) throw Failure(name, systemError());
}

uint64_t File::size() const {
  struct stat status {};
  if (::fstat(descriptor, &status) == -1) throw Failure(name, systemError());
  return static_cast<uint64_t>(status.st_size);
}

uint64_t File::read(void* bytes, uint64_t length, uint64_t offset) const {
  uint64_t done = 0;
  while (done < length) {
    const ssize_t count = ::pread(descriptor, static_cast<char*>(bytes) + done, length - done,
                                  static_cast<off_t>(offset + done));
    if (count == -1 && errno == EINTR) continue;
    if (count == -1) throw Failure(name, "cannot be read: " + systemError());
    if (count == 0) break;
    done += static_cast<uint64_t>(count);
  }
  return done;
}

void File::readAll(void* bytes, uint64_t length, uint64_t offset) const {
  if (read(bytes, length, offset) < length) throw Failure(name, "became shorter while it was read");
}

uint64_t File::nextData(uint64_t offset) const {
  const off_t data = ::lseek(descriptor, static_cast<off_t>(offset), SEEK_DATA);
  if (data != -1) return static_cast<uint64_t>(data);
  return errno == ENXIO ? size() : offset;
}

void File::write(const void* bytes, uint64_t length) const {
  for (uint64_t done = 0; done < length;) {
    const ssize_t count =
        ::write(descriptor, static_cast<const char*>(bytes) + done, length - done);
    if (count == -1 && errno == EINTR) continue;
    if (count == -1) throw Failure(name, "cannot be written: " + systemError());
    done += static_cast<uint64_t>(count);
  }
}

void File::writeAt(const void* bytes, uint64_t length, uint64_t offset) const {
  for (uint64_t done = 0; done < length;) {
    const ssize_t count = ::pwrite(descriptor, static_cast<const char*>(bytes) + done,
                                   length - done, static_cast<off_t>(offset + done));
    if (count == -1 && errno == EINTR) continue;
    if (count == -1) throw Failure(name, "cannot be written: " + systemError());
    done += static_cast<uint64_t>(count);
  }
}

void File::resize(uint64_t length) const {
  if (::ftruncate(descriptor, static_cast<off_t>(length)) == -1) {
    throw Failure(name, "cannot be written: " + systemError());
  }
}

bool isSameFile(const std::string& first, const std::string& second) {
  struct stat a {};
  struct stat b {};
  return ::stat(first.c_str(), &a) == 0 && ::stat(second.c_str(), &b) == 0 &&
         a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace tool
