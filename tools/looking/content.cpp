// Compares and digests ranges of files in blocks.

#include "looking/content.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

namespace tool {

namespace {

constexpr uint64_t BLOCK = 1 << 16;

uint64_t digestOfBlock(std::span<const uint8_t> bytes, uint64_t digest) {
  uint64_t word = 0;
  for (; bytes.size() >= sizeof word; bytes = bytes.subspan(sizeof word)) {
    std::memcpy(&word, bytes.data(), sizeof word);
    digest = mixed(digest, word);
  }
  word = 0;
  std::memcpy(&word, bytes.data(), bytes.size());
  return mixed(digest, word);
}

bool isZero(std::span<const uint8_t> bytes) {
  return bytes[0] == 0 && std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0;
}

std::optional<uint64_t> mismatch(const uint8_t* a, const uint8_t* b, uint64_t count) {
  if (std::memcmp(a, b, count) == 0) return std::nullopt;
  return static_cast<uint64_t>(std::mismatch(a, a + count, b).first - a);
}

}  // namespace

Content contentOf(const TreeItem& item) {
  const uint64_t header = item.kind != TreeItem::CHUNK ? 0
                          : item.isGroup()             ? GROUP_HEADER_SIZE
                                                       : HEADER_SIZE;
  const uint64_t begin = item.chunk.offset + header;
  const bool isData = item.kind == TreeItem::CHUNK && !item.isGroup();
  const uint64_t end = isData ? std::min(item.chunk.dataEnd(), item.limit) : item.end();
  return {begin, std::max(begin, end) - begin};
}

std::optional<uint64_t> firstDifference(RawBytes& a, uint64_t aOffset, RawBytes& b,
                                        uint64_t bOffset, uint64_t size) {
  if (size <= RawBytes::WINDOW) {
    return mismatch(a.bytesAt(aOffset, size), b.bytesAt(bOffset, size), size);
  }
  std::vector<uint8_t> left(BLOCK);
  std::vector<uint8_t> right(BLOCK);
  for (uint64_t done = 0; done < size;) {
    const uint64_t hole = std::min(a.nextStored(aOffset + done) - aOffset - done,
                                   b.nextStored(bOffset + done) - bOffset - done);
    done += std::min(hole, size - done);
    const uint64_t count = std::min(size - done, BLOCK);
    a.copy(left.data(), count, aOffset + done);
    b.copy(right.data(), count, bOffset + done);
    if (const auto found = mismatch(left.data(), right.data(), count)) return done + *found;
    done += count;
  }
  return std::nullopt;
}

// Blocks of zeros are left out, so that a hole and stored zeros give the same digest.
uint64_t digestOf(RawBytes& bytes, const Content& content) {
  const uint64_t size = content.size;
  uint64_t digest = mixed(1, size);
  if (size <= RawBytes::WINDOW) {
    return digestOfBlock({bytes.bytesAt(content.offset, size), size}, digest);
  }
  std::vector<uint8_t> block(BLOCK);
  for (uint64_t done = 0; done < size; done += BLOCK) {
    const uint64_t hole = bytes.nextStored(content.offset + done) - content.offset - done;
    done += std::min(hole, size) / BLOCK * BLOCK;
    if (done >= size) break;
    const std::span stored = std::span(block).first(std::min(size - done, BLOCK));
    bytes.copy(stored.data(), stored.size(), content.offset + done);
    if (isZero(stored)) continue;
    digest = digestOfBlock(stored, mixed(digest, done));
  }
  return digest;
}

}  // namespace tool
