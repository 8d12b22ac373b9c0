// The headers of WebP: VP8X, and how the pictures VP8 and VP8L begin.
#ifndef VELMOR_CORE_TOOLS_KNOWN_WEBP_PICTURE_H
#define VELMOR_CORE_TOOLS_KNOWN_WEBP_PICTURE_H

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "chunks/layout.h"
#include "known/ids.h"

namespace tool {

// VP8X: flags, three reserved bytes, width and height less one in 24 bits each.
constexpr uint32_t VP8X_SIZE = 10;
constexpr uint8_t VP8X_ALPHA = 0x10;
constexpr uint8_t VP8X_ANIMATION = 0x02;
struct Vp8xFlag {
  uint8_t flag;
  uint32_t id;  // of the chunk that it announces
};
inline constexpr std::array VP8X_FLAGS = {Vp8xFlag{0x20, ID_ICCP}, Vp8xFlag{0x08, ID_EXIF},
                                          Vp8xFlag{0x04, ID_XMP},
                                          Vp8xFlag{VP8X_ANIMATION, ID_ANIM}};

// VP8: a frame tag of 24 bits, whose upper 19 are the size of the first partition; three bytes that
// never change; two sizes. The first partition follows. Without it, nothing can be decoded.
constexpr std::size_t LOSSY_HEADER = 10;
constexpr uint32_t LOSSY_START_CODE = 0x2A019D;
// VP8L: a signature, two sizes of 14 bits, the alpha bit.
constexpr std::size_t LOSSLESS_HEADER = 5;
constexpr uint8_t LOSSLESS_SIGNATURE = 0x2F;
constexpr uint32_t SIZE_BITS = 0x3FFF;  // the bits above scale the picture, or belong to the height

struct PictureHeader {
  uint32_t width = 0;  // in pixels
  uint32_t height = 0;
  bool hasAlpha = false;

  bool operator==(const PictureHeader&) const = default;

  // From the first bytes of VP8 or VP8L. Nothing if a picture does not begin like that.
  static constexpr std::optional<PictureHeader> parse(uint32_t id, std::span<const uint8_t> bytes) {
    if (id == ID_VP8 && bytes.size() >= LOSSY_HEADER &&
        littleEndian32(&bytes[3]) << 8 == LOSSY_START_CODE << 8) {
      return PictureHeader{littleEndian16(&bytes[6]) & SIZE_BITS,
                           littleEndian16(&bytes[8]) & SIZE_BITS, false};
    }
    if (id == ID_VP8L && bytes.size() >= LOSSLESS_HEADER && bytes[0] == LOSSLESS_SIGNATURE) {
      const uint32_t bits = littleEndian32(&bytes[1]);
      return PictureHeader{(bits & SIZE_BITS) + 1, (bits >> 14 & SIZE_BITS) + 1,
                           (bits >> 28 & 1) != 0};
    }
    return std::nullopt;
  }
};

}  // namespace tool

#endif
