// A store over a file.

#ifndef RIFF_FILE_OBJECT_H
#define RIFF_FILE_OBJECT_H

#include <cstdint>
#include <string>

#include "riff/object.h"

namespace RIFF {

// Owns a file descriptor; -1 stands for none.
class Descriptor {
 public:
  Descriptor() = default;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor();

  void open(const std::string& path, int flags);
  int32_t get() const { return fd; }

 private:
  int32_t fd = -1;
};

// Every access is one seek and as many transfers as the system needs for it; nothing is cached, so
// closing has nothing to flush. Offsets are not checked against the size: the file's own end
// decides. Failures are "open failed", "lseek failed", "read failed", "write failed" and
// "ftruncate failed"; a failed write or move leaves what it has written.
class FileObject final : public Object {
 public:
  static constexpr int32_t READ_WRITE = 1;
  static constexpr int32_t CREATE = 2;  // or empty what is there; then read-write

  // Every other mode opens for reading only.
  FileObject(const std::string& path, int32_t openMode);

  // A growth adds zeros.
  void resize(uint64_t newSize) override;
  void read(uint64_t offset, void* destination, uint64_t length) override;
  void write(uint64_t offset, const void* source, uint64_t length) override;
  // In pieces of 64 KiB, from the side on which none is overwritten before it is read.
  void move(uint64_t source, uint64_t destination, uint64_t length) override;

 private:
  void seek(uint64_t offset) const;

  int32_t mode;
  Descriptor fd;
};

}  // namespace RIFF

#endif
