#include "verdict/trailing.h"

#include <array>
#include <cstring>
#include <string_view>

namespace tool {

namespace {

constexpr uint64_t ID3V1_SIZE = 128;
constexpr uint64_t APE_FOOTER = 32;
constexpr uint32_t APE_HAS_HEADER = 0x8000'0000;
constexpr uint64_t ID3V2_HEADER = 10;
constexpr uint8_t ID3V2_HAS_FOOTER = 0x10;

bool isAt(uint64_t offset, std::string_view text, const RawBytes& bytes) {
  std::array<char, 8> there{};
  bytes.copy(there.data(), text.size(), offset);
  return std::string_view(there.data(), text.size()) == text;
}

// The size of the APE tag whose footer ends at `end`. The caller has checked that there is one.
uint64_t apeSize(uint64_t end, const RawBytes& bytes) {
  std::array<uint8_t, APE_FOOTER> footer{};
  bytes.copy(footer.data(), footer.size(), end - APE_FOOTER);
  const uint32_t flags = littleEndian32(&footer[20]);
  const uint64_t header = (flags & APE_HAS_HEADER) != 0 ? APE_FOOTER : 0;
  return littleEndian32(&footer[12]) + header;
}

// The size of the ID3v2 tag that begins at `begin`, with its header and its footer. The caller has
// checked that there is one.
uint64_t id3v2Size(uint64_t begin, const RawBytes& bytes) {
  std::array<uint8_t, ID3V2_HEADER> header{};
  bytes.copy(header.data(), header.size(), begin);
  uint64_t size = 0;
  for (std::size_t i = 6; i < header.size(); ++i) size = size << 7 | (header[i] & 0x7F);
  return size + ID3V2_HEADER + ((header[5] & ID3V2_HAS_FOOTER) != 0 ? ID3V2_HEADER : 0);
}

}  // namespace

std::string tagsFrom(uint64_t begin, RawBytes& bytes) {
  uint64_t end = bytes.size();
  std::string names;
  const auto add = [&](const std::string& name) {
    names = names.empty() ? name : name + " and " + names;
  };
  if (end - begin >= ID3V1_SIZE && isAt(end - ID3V1_SIZE, "TAG", bytes)) {
    add("an ID3v1 tag");
    end -= ID3V1_SIZE;
  }
  if (end - begin >= APE_FOOTER && isAt(end - APE_FOOTER, "APETAGEX", bytes)) {
    const uint64_t size = apeSize(end, bytes);
    if (size < APE_FOOTER || size > end - begin) return "";
    add("an APE tag");
    end -= size;
  }
  if (end - begin >= ID3V2_HEADER && isAt(begin, "ID3", bytes)) {
    if (id3v2Size(begin, bytes) != end - begin) return "";
    add("an ID3v2 tag");
    end = begin;
  }
  return end == begin ? names : "";
}

}  // namespace tool
