// The bytes of an open file. Errors come with their reason.
#ifndef VELMOR_CORE_TOOLS_FILE_FILE_H
#define VELMOR_CORE_TOOLS_FILE_FILE_H

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <utility>

namespace tool {

// Owns a descriptor; -1 stands for none.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int descriptor) : descriptor(descriptor) {}
  Descriptor(Descriptor&& other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(descriptor, other.descriptor);
    return *this;
  }
  ~Descriptor() { close(); }

  int get() const { return descriptor; }
  explicit operator bool() const { return descriptor != -1; }
  // Returns false, with errno set, if closing reports an error, such as a full network disk.
  // Further calls do nothing.
  bool close();

 private:
  int descriptor = -1;
};

// An open file. Every failure throws Failure with the file's name and the reason. System calls that
// read, write, resize or sync are repeated if a signal interrupts them. If one of them fails, the
// message also has the offset.
class File {
 public:
  enum Mode { READ, READ_WRITE };

  // Opens an existing regular file.
  File(const std::string& name, Mode mode);
  // Takes ownership of a descriptor; the name is for messages.
  File(std::string name, Descriptor descriptor)
      : fileName(std::move(name)), file(std::move(descriptor)) {}

  const std::string& name() const { return fileName; }
  const Descriptor& owner() const { return file; }
  int descriptor() const { return file.get(); }
  uint64_t size() const { return static_cast<uint64_t>(status().st_size); }
  struct stat status() const;
  // Reads up to `length` bytes at `offset`; returns how many were read.
  uint64_t read(void* bytes, uint64_t length, uint64_t offset) const;
  // The same, but throws Failure if there are fewer.
  void readAll(void* bytes, uint64_t length, uint64_t offset) const;
  // The offset of the first byte at or after `offset` that is not in a hole; size() if all are.
  // Returns `offset` if the file system does not report holes. Moves the position of write().
  uint64_t nextData(uint64_t offset) const;
  // Writes at the descriptor's position.
  void write(const void* bytes, uint64_t length) const;
  void writeAt(const void* bytes, uint64_t length, uint64_t offset) const;
  void resize(uint64_t length) const;
  // Returns once the bytes are on the disk.
  void sync() const;
  void close();

 private:
  std::string fileName;
  Descriptor file;
};

// Tries to lock the file (LOCK_SH or LOCK_EX) without waiting. Returns true if another program's
// lock prevents this. Otherwise returns false: this program now holds the lock, or the file cannot
// be locked at all, for example because the file system has no locks.
bool isLockedByAnother(const Descriptor& file, int lock);

// The status of the file that a name leads to; throws Failure if there is none.
struct stat statusOf(const std::string& name);

// The name with all symbolic links resolved, or unchanged if they cannot be resolved.
std::string realPath(const std::string& name);

// Whether two names lead to the same existing file.
bool isSameFile(const std::string& first, const std::string& second);
bool isSameFile(const struct stat& first, const struct stat& second);

}  // namespace tool

#endif
