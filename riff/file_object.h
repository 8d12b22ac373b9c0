// An object whose bytes lie in a file.

#ifndef RIFF_FILE_OBJECT_H
#define RIFF_FILE_OBJECT_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "riff/object.h"

namespace RIFF {

// Owns a file descriptor and closes it; -1 stands for none.
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

// Every access is one seek and as many transfers as the system needs. Nothing is cached, so closing
// has nothing to flush. Offsets are not checked against the size. A read past the file's end fails.
//
// Failures are "open failed", "lseek failed", "read failed", "write failed" and "ftruncate failed".
// A failed write or move leaves the bytes that it has already written.
class FileObject final : public Object {
 public:
  static constexpr int32_t READ_WRITE = 1;
  static constexpr int32_t CREATE = 2;  // creates or empties the file, then read-write

  // Every other mode opens for reading only.
  FileObject(const std::string& path, int32_t openMode);

  // New bytes are zeros.
  void resize(uint64_t newSize) override;
  void read(uint64_t offset, std::byte* destination, uint64_t length) override;
  void write(uint64_t offset, const std::byte* source, uint64_t length) override;
  // In pieces of 64 KiB: from the last one if the bytes move up, from the first one if they move
  // down. So each piece is read before it is overwritten. A move up first reserves the room that it
  // writes. If there is none, it fails and no byte moves. Then, if the destination ends at the end
  // of the object, the object is shortened to the end of the source: an edit that grew the object
  // for this move leaves it at its old size.
  void move(uint64_t source, uint64_t destination, uint64_t length) override;
  // Closes the file.
  ~FileObject() override = default;

 private:
  void seek(uint64_t offset) const;
  void reserveUp(uint64_t source, uint64_t destination, uint64_t length);

  int32_t mode;   // as given at open
  Descriptor fd;  // owns the file from the moment it is open
};

}  // namespace RIFF

#endif
