// The headers of a file as they are, even if they contradict each other.
#ifndef VELMOR_CORE_TOOLS_CHUNKS_RAW_BYTES_H
#define VELMOR_CORE_TOOLS_CHUNKS_RAW_BYTES_H

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "chunks/header_format.h"
#include "chunks/kept_bytes.h"
#include "chunks/raw_chunk.h"
#include "file/file.h"

namespace tool {

// The bytes of a file, of memory or of a pipe. The source has to outlive this object. Keeps the
// last few KiB that were read, so a header near the previous one needs no system call.
class RawBytes {
 public:
  explicit RawBytes(const File& file);
  explicit RawBytes(std::span<const char> memory);
  // All headers can be read. Of the data, only what keepHeaders() keeps can be read.
  explicit RawBytes(const KeptBytes& kept);

  uint64_t size() const { return length; }
  // How the headers store sizes.
  const HeaderFormat& format() const { return headers; }
  // The byte order of all numbers in the file.
  ByteOrder order() const { return headers.order(); }

  // Another size for one chunk.
  struct Patch {
    uint64_t offset;  // of the chunk's header
    uint32_t dataSize;
  };
  // From now on, chunkAt() gives these sizes, which are sorted by offset, and the bytes end at
  // `end`. If `end` is after the old end, the bytes between them are 0. copy() and byteAt() still
  // give the stored size fields.
  void patch(std::vector<Patch> sizes, uint64_t end) {
    patches = std::move(sizes);
    length = end;
    windowSize = 0;
  }

  // The chunk whose header is at an offset. Bytes past the end of the file read as 0.
  RawChunk chunkAt(uint64_t offset);
  uint8_t byteAt(uint64_t offset);
  // Numbers in the file's byte order.
  uint16_t number16(uint64_t offset) const { return static_cast<uint16_t>(number(offset, 2)); }
  uint32_t number32(uint64_t offset) const { return static_cast<uint32_t>(number(offset, 4)); }
  uint64_t number64(uint64_t offset) const { return number(offset, 8); }
  // Copies bytes. Those past the end of the file are 0. Throws Failure if the file became shorter,
  // or bytes of a pipe were not kept.
  void copy(void* to, uint64_t count, uint64_t offset) const;
  // Throws Failure if bytes of a pipe were not kept.
  void require(uint64_t offset, uint64_t count) const;
  // Whether bytes can be copied; false only for bytes of a pipe that were not kept.
  bool has(uint64_t offset, uint64_t count) const { return !kept || kept->has(offset, count); }
  // The offset of the first byte in [offset, end) that is not 0; `end` if all are. Holes of sparse
  // files are skipped unread.
  uint64_t endOfZeros(uint64_t offset, uint64_t end);
  // The first offset from `offset` on that is not in a hole of a sparse file.
  uint64_t nextStored(uint64_t offset) const { return file ? file->nextData(offset) : offset; }

  static constexpr std::size_t WINDOW = 4096;
  // `count` bytes at an offset, WINDOW at most. They are valid until the next call that reads.
  const uint8_t* bytesAt(uint64_t offset, uint64_t count);

 private:
  // As copy(), but bytes that were not kept are 0. Returns whether all bytes were kept.
  bool fetch(void* to, uint64_t count, uint64_t offset) const;
  uint64_t number(uint64_t offset, uint64_t size) const;
  HeaderFormat readFormat() const;

  // Both are null for memory.
  const File* file = nullptr;
  const KeptBytes* kept = nullptr;
  std::span<const char> memory;
  uint64_t stored;  // bytes in the file or memory
  uint64_t length;
  HeaderFormat headers;
  std::vector<Patch> patches;
  uint64_t windowOffset = 0;
  uint64_t windowSize = 0;
  std::array<uint8_t, WINDOW + GROUP_HEADER_SIZE> window{};  // zeros after the bytes of the file
};

}  // namespace tool

#endif
