// resize(), read(), write() and move() as system calls.

#include "riff/file_object.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>

namespace RIFF {

namespace {

constexpr uint64_t MOVE_BLOCK = 65536;
constexpr mode_t PERMISSIONS = 0644;

int openFlags(int32_t mode) {
  if (mode == FileObject::CREATE) return O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC;
  if (mode == FileObject::READ_WRITE) return O_RDWR | O_CLOEXEC;
  return O_RDONLY | O_CLOEXEC;
}

// Calls transfer(bytes, length) until all bytes are transferred. An interrupted call is a failure.
template <typename Byte, typename Transfer>
void transferAll(Byte* bytes, uint64_t length, const char* failure, Transfer transfer) {
  while (length > 0) {
    const ssize_t count = transfer(bytes, length);
    if (count <= 0) throw std::runtime_error(failure);
    bytes += count;
    length -= static_cast<uint64_t>(count);
  }
}

}  // namespace

Descriptor::~Descriptor() {
  if (fd != -1) ::close(fd);
}

void Descriptor::open(const std::string& path, int flags) {
  fd = ::open(path.c_str(), flags, PERMISSIONS);
  if (fd == -1) throw std::runtime_error("open failed");
}

FileObject::FileObject(const std::string& path, int32_t openMode) : mode(openMode) {
  fd.open(path, openFlags(mode));
  // If the file cannot seek, the size is -1, which loads as an empty tree.
  size = static_cast<uint64_t>(::lseek(fd.get(), 0, SEEK_END));
  loadChunks();
}

void FileObject::resize(uint64_t newSize) {
  if (::ftruncate(fd.get(), static_cast<off_t>(newSize)) == -1) {
    throw std::runtime_error("ftruncate failed");
  }
  size = newSize;
}

void FileObject::read(uint64_t offset, std::byte* destination, uint64_t length) {
  seek(offset);
  transferAll(destination, length, "read failed",
              [this](std::byte* bytes, uint64_t n) { return ::read(fd.get(), bytes, n); });
}

void FileObject::write(uint64_t offset, const std::byte* source, uint64_t length) {
  seek(offset);
  transferAll(source, length, "write failed",
              [this](const std::byte* bytes, uint64_t n) { return ::write(fd.get(), bytes, n); });
}

void FileObject::seek(uint64_t offset) const {
  if (::lseek(fd.get(), static_cast<off_t>(offset), SEEK_SET) == -1) {
    throw std::runtime_error("lseek failed");
  }
}

void FileObject::move(uint64_t source, uint64_t destination, uint64_t length) {
  if (source == destination) return;
  const bool towardsFront = source > destination;
  if (!towardsFront && length > 0) reserveUp(source, destination, length);
  std::array<std::byte, MOVE_BLOCK> block;
  for (uint64_t remaining = length; remaining > 0;) {
    const uint64_t piece = std::min(remaining, MOVE_BLOCK);
    const uint64_t at = towardsFront ? length - remaining : remaining - piece;
    read(source + at, block.data(), piece);
    write(destination + at, block.data(), piece);
    remaining -= piece;
  }
}

// Reserves the bytes that the move writes. If there is a gap between source and destination,
// reserves the gap, too, because the edit writes new bytes there.
void FileObject::reserveUp(uint64_t source, uint64_t destination, uint64_t length) {
  const uint64_t sourceEnd = source + length;
  const uint64_t end = destination + length;
  const uint64_t begin = std::min(sourceEnd, destination);
  int result = 0;
  do {
    result = ::fallocate(fd.get(), FALLOC_FL_KEEP_SIZE, static_cast<off_t>(begin),
                         static_cast<off_t>(end - begin));
  } while (result == -1 && errno == EINTR);
  // Some file systems cannot reserve, and neither can a file that is not open for writing. In both
  // cases the move goes on, and its writes succeed or fail.
  if (result == 0 || (errno != ENOSPC && errno != EDQUOT)) return;
  if (end == size && ::ftruncate(fd.get(), static_cast<off_t>(sourceEnd)) == 0) size = sourceEnd;
  throw std::runtime_error("write failed");
}

}  // namespace RIFF
