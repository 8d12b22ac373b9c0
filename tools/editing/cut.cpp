// Removes many chunks at once: all other bytes move only once.

#include "editing/cut.h"

#include <algorithm>
#include <cstring>

#include "app/progress.h"

namespace tool {

namespace {

constexpr uint64_t BLOCK = 1 << 20;

struct OpenGroup {
  PlacedChunk group;
  uint64_t lost;  // number of bytes that the cut removes from the group
};

}  // namespace

Cut::Cut(const Chunk& virtualRoot, std::span<const PlacedChunk> chunks) {
  for (const PlacedChunk& chunk : chunks) {
    if (!ranges.empty() && ranges.back().end == chunk.offset) {
      ranges.back().end = chunk.end();
    } else {
      ranges.push_back({chunk.offset, chunk.end()});
    }
  }
  noteSizes(virtualRoot);
}

// Goes through the chunks in the order of their bytes, and enters only groups that contain a part
// of a range. A range may reach from one group into the next. The walk goes no deeper than the
// chunks that are removed, and uses no recursion.
void Cut::noteSizes(const Chunk& virtualRoot) {
  std::vector<OpenGroup> open;
  PlacedChunk at = PlacedChunk(virtualRoot, 0).firstChild();
  for (auto range = ranges.begin(); range != ranges.end() && (at || !open.empty());) {
    if (!at) {
      const OpenGroup closed = open.back();
      open.pop_back();
      sizes.push_back(
          {closed.group.offset, closed.group.dataSize() - static_cast<uint32_t>(closed.lost)});
      if (!open.empty()) open.back().lost += closed.lost;
      at = closed.group.next();
    } else if (at.end() <= range->begin) {
      at = at.next();
    } else if (at.offset >= range->end) {
      ++range;
    } else if (at.offset >= range->begin && at.end() <= range->end) {
      if (!open.empty()) open.back().lost += at.totalSize();
      at = at.next();
    } else {
      open.push_back({at, 0});
      at = at.firstChild();
    }
  }
  for (uint64_t inner = 0; !open.empty(); open.pop_back()) {
    const auto& [group, lost] = open.back();
    inner += lost;
    sizes.push_back({group.offset, group.dataSize() - static_cast<uint32_t>(inner)});
  }
}

bool Cut::contains(uint64_t offset) const {
  const auto range = std::ranges::upper_bound(ranges, offset, {}, &Range::end);
  return range != ranges.end() && range->begin <= offset;
}

template <typename Write>
void Cut::writeSizes(Write write) const {
  for (const RawBytes::Patch& size : sizes) {
    const auto field = littleEndianBytes(size.dataSize);
    write(field, size.offset + SIZE_FIELD);
  }
}

void Cut::applyTo(const File& file, const std::string& name) const {
  writeSizes([&](const auto& field, uint64_t offset) {
    file.writeAt(field.data(), field.size(), offset);
  });
  const uint64_t fileSize = file.size();
  Progress progress("editing " + name, fileSize);
  std::vector<char> block(BLOCK);
  std::size_t range = 0;
  uint64_t to = ranges.front().begin;
  for (uint64_t from = to; from < fileSize;) {
    if (range < ranges.size() && ranges[range].begin <= from) {  // nothing to read in it
      from = std::min(ranges[range++].end, fileSize);
      continue;
    }
    const uint64_t count = std::min(BLOCK, fileSize - from);
    file.readAll(block.data(), count, from);
    const uint64_t kept = squeeze(std::span(block).first(count), from, range);
    file.writeAt(block.data(), kept, to);
    to += kept;
    from += count;
    progress.at(from);
  }
  file.resize(to);
}

uint64_t Cut::applyTo(std::span<char> bytes) const {
  writeSizes([&](const auto& field, uint64_t offset) {
    std::ranges::copy(field, bytes.begin() + static_cast<std::ptrdiff_t>(offset));
  });
  std::size_t range = 0;
  const uint64_t begin = ranges.front().begin;
  return begin + squeeze(bytes.subspan(begin), begin, range);
}

uint64_t Cut::squeeze(std::span<char> block, uint64_t offset, std::size_t& range) const {
  const uint64_t blockEnd = offset + block.size();
  uint64_t kept = 0;
  for (uint64_t from = offset; from < blockEnd;) {
    const bool isLast = range == ranges.size();
    const uint64_t gap = isLast ? blockEnd : std::clamp(ranges[range].begin, from, blockEnd);
    std::memmove(&block[kept], &block[from - offset], gap - from);
    kept += gap - from;
    from = isLast || gap == blockEnd ? blockEnd : std::min(ranges[range].end, blockEnd);
    if (!isLast && ranges[range].end <= blockEnd) ++range;
  }
  return kept;
}

}  // namespace tool
