#include "chunks/file_kind.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "app/errors.h"
#include "app/text.h"

namespace tool {

namespace {

constexpr std::size_t LONGEST_LOOK = 16;

struct Signature {
  std::size_t offset;
  std::string_view bytes;
  std::string_view name;
};

constexpr std::array SIGNATURES = {
    Signature{0, "\x89PNG\r\n\x1a\n", "PNG"},
    Signature{0, "\xff\xd8\xff", "JPEG"},
    Signature{0, "GIF8", "GIF"},
    Signature{0, "fLaC", "FLAC"},
    Signature{0, "OggS", "Ogg"},
    Signature{4, "ftyp", "MP4"},
    Signature{0, "\x1a\x45\xdf\xa3", "Matroska or WebM"},
    Signature{0, "ID3", "MP3 with an ID3 tag"},
    Signature{0, "\x1f\x8b", "gzip"},
    Signature{0,
              "\x7f"
              "ELF",
              "an ELF program or library"},
    Signature{8, "AIFF", "AIFF"},
    Signature{8, "AIFC", "AIFF"},
    Signature{0, "FORM", "IFF, with big-endian sizes"},
    Signature{0, "riff\x2e\x91\xcf\x11", "W64, with 64-bit sizes"},
    Signature{0, "PK\x03\x04", "ZIP"},
    Signature{0, "%PDF", "PDF"},
    Signature{0, "#!", "a script"},
};

// An MPEG audio frame: eleven bits set, and no reserved version, layer, bit rate or sampling rate.
bool isMpegAudio(std::string_view bytes) {
  if (bytes.size() < 3 || bytes[0] != '\xff') return false;
  const auto second = static_cast<uint8_t>(bytes[1]);
  const auto third = static_cast<uint8_t>(bytes[2]);
  return (second & 0xE0) == 0xE0 && (second & 0x18) != 0x08 && (second & 0x06) != 0 &&
         (third & 0xF0) != 0xF0 && (third & 0x0C) != 0x0C;
}

bool isText(std::string_view bytes) {
  return std::ranges::all_of(
      bytes, [](char c) { return (c >= ' ' && c <= '~') || c == '\t' || c == '\n' || c == '\r'; });
}

std::string_view kindOf(std::string_view bytes) {
  for (const Signature& known : SIGNATURES) {
    if (bytes.size() > known.offset && bytes.substr(known.offset).starts_with(known.bytes)) {
      return known.name;
    }
  }
  if (isMpegAudio(bytes)) return "MP3";
  if (isText(bytes)) return "text";
  return "";
}

}  // namespace

std::optional<std::string> foreignKind(RawBytes& bytes) {
  std::array<char, LONGEST_LOOK> start{};
  const uint64_t count = std::min<uint64_t>(start.size(), bytes.size());
  bytes.copy(start.data(), count, 0);
  const std::string_view first(start.data(), count);
  if (first.starts_with("RIFF") || bytes.format().riffId() != ID_RIFF) return std::nullopt;
  const std::string text = "not a RIFF file: ";
  if (first.empty()) return text + "it is empty";
  if (std::ranges::all_of(first, [](char byte) { return byte == 0; })) {
    const uint64_t zeros = bytes.endOfZeros(0, bytes.size());
    return text + (zeros == bytes.size() ? "it holds only zeros"
                                         : "it begins with " + counted(zeros, "zero byte"));
  }
  const std::string_view kind = kindOf(first);
  if (!kind.empty()) return text + "it looks like " + std::string(kind);
  return text + "its first bytes are of no known kind";
}

void requireRiff(const std::string& name, RawBytes& bytes) {
  if (const auto kind = foreignKind(bytes)) throw Failure(name, *kind);
}

void requireEditable(const std::string& name, RawBytes& bytes) {
  requireRiff(name, bytes);
  const HeaderFormat& format = bytes.format();
  if (format.riffId() == ID_RIFF) return;
  throw Failure(name, "is a file of the kind " + idText(format.riffId()) + ", with " +
                          (format.isWide() ? "64-bit" : "big-endian") +
                          " sizes: velmor-core reads it, but does not change it");
}

}  // namespace tool
