// Bytes in memory that grow.

#include "file/bytes.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "app/errors.h"
#include "app/text.h"

namespace tool {

namespace {

constexpr std::size_t BLOCK = 65536;

// How many bytes a regular file has after its position; 0 for other files.
std::size_t expectedSize(int descriptor) {
  struct stat status {};
  const off_t position = ::lseek(descriptor, 0, SEEK_CUR);
  if (position == -1 || ::fstat(descriptor, &status) == -1 || !S_ISREG(status.st_mode)) return 0;
  return static_cast<std::size_t>(std::max<off_t>(status.st_size - position, 0));
}

}  // namespace

void Bytes::append(std::string_view more) {
  if (more.empty()) return;
  reserve(more.size());
  std::memcpy(memory.get() + count, more.data(), more.size());
  count += more.size();
}

void Bytes::readToEnd(int descriptor, const std::string& name, uint64_t limit) {
  const auto requireFits = [&](uint64_t size) {
    if (size > limit) throw Failure(name, "has more than " + counted(limit, "byte"));
  };
  const std::size_t expected = expectedSize(descriptor);
  requireFits(expected);
  reserve(expected + BLOCK);
  for (ssize_t got = 1; got != 0;) {
    reserve(BLOCK);
    got = ::read(descriptor, memory.get() + count, capacity - count);
    if (got == -1 && errno != EINTR) throw Failure(name, "cannot be read: " + systemError());
    if (got > 0) count += static_cast<std::size_t>(got);
    requireFits(count);
  }
}

void Bytes::reserve(std::size_t room) {
  if (room <= capacity - count) return;
  const std::size_t wanted = count + std::max(room, count / 8);
  auto* const larger = static_cast<char*>(std::realloc(memory.get(), wanted));
  if (!larger) throw std::bad_alloc();
  static_cast<void>(memory.release());  // realloc has freed or moved it
  memory.reset(larger);
  capacity = wanted;
}

Descriptor openToRead(const std::string& name) {
  Descriptor file(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) throw Failure(name, systemError());
  return file;
}

}  // namespace tool
