// Stores parts of a stream, and copies from them.
#include "chunks/kept_bytes.h"

#include <algorithm>
#include <cstring>

namespace tool {

bool KeptBytes::copy(void* to, uint64_t count, uint64_t offset) const {
  auto* const out = static_cast<char*>(to);
  const uint64_t end = offset + count;
  uint64_t done = offset;
  bool isComplete = true;
  for (auto extent = extentFrom(offset); done < end; ++extent) {
    const uint64_t begin = extent == extents.end() ? end : std::clamp(extent->offset, done, end);
    std::memset(out + (done - offset), 0, begin - done);
    isComplete &= begin == done;
    if (begin == end) break;
    done = std::min(extent->end(), end);
    if (extent->place == Extent::ZEROS) {
      std::memset(out + (begin - offset), 0, done - begin);
    } else {
      const char* const from = bytes.data() + extent->place + (begin - extent->offset);
      std::memcpy(out + (begin - offset), from, done - begin);
    }
  }
  return isComplete;
}

bool KeptBytes::has(uint64_t offset, uint64_t count) const {
  const uint64_t end = std::min(offset + count, length);
  for (auto extent = extentFrom(offset); offset < end; ++extent) {
    if (extent == extents.end() || extent->offset > offset) return false;
    offset = extent->end();
  }
  return true;
}

uint64_t KeptBytes::endOfZeros(uint64_t offset, uint64_t end) const {
  for (auto extent = extentFrom(offset); offset < end; ++extent) {
    if (extent == extents.end() || extent->offset > offset) return offset;
    if (extent->place != Extent::ZEROS) {
      const uint64_t stop = std::min(extent->end(), end) - extent->offset;
      const std::string_view kept = bytes.view().substr(extent->place, stop);
      const std::size_t found = kept.find_first_not_of('\0', offset - extent->offset);
      if (found != std::string_view::npos) return extent->offset + found;
    }
    offset = extent->end();
  }
  return end;
}

void KeptBytes::add(std::string_view kept) {
  extend(kept.size(), false);
  bytes.append(kept);
}

void KeptBytes::addZeros(uint64_t count) { extend(count, true); }

void KeptBytes::keepLast(std::string_view last) {
  const uint64_t begin = length - last.size();
  while (!extents.empty() && extents.back().offset >= begin) extents.pop_back();
  if (!extents.empty()) {
    Extent& before = extents.back();
    before.size = std::min(before.size, begin - before.offset);
  }
  if (last.empty()) return;
  extents.push_back({begin, last.size(), bytes.size()});
  bytes.append(last);
}

void KeptBytes::extend(uint64_t count, bool isZeros) {
  if (count == 0) return;
  const bool continues = !extents.empty() && extents.back().end() == length &&
                         (extents.back().place == Extent::ZEROS) == isZeros;
  if (continues) {
    extents.back().size += count;
  } else {
    extents.push_back({length, count, isZeros ? Extent::ZEROS : bytes.size()});
  }
  length += count;
}

std::deque<KeptBytes::Extent>::const_iterator KeptBytes::extentFrom(uint64_t offset) const {
  return std::ranges::upper_bound(extents, offset, {}, &Extent::end);
}

}  // namespace tool
