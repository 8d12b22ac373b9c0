// Offsets, sizes and flags in the chunks of WebP.
#ifndef VELMOR_CORE_TOOLS_KNOWN_WEBP_H
#define VELMOR_CORE_TOOLS_KNOWN_WEBP_H

#include <cstdint>

namespace tool {

// The flags are the first byte. Width and height of the canvas, less 1, have 24 bits each.
constexpr uint32_t VP8X_SIZE = 10;
constexpr uint64_t VP8X_WIDTH = 4;
constexpr uint64_t VP8X_HEIGHT = 7;
constexpr uint8_t FLAG_ANIMATION = 0x02;
constexpr uint8_t FLAG_XMP = 0x04;
constexpr uint8_t FLAG_EXIF = 0x08;
constexpr uint8_t FLAG_ALPHA = 0x10;
constexpr uint8_t FLAG_ICC = 0x20;

// VP8L begins with a signature byte and a number of 32 bits. From its lowest bit on, the number
// holds the width less 1 and the height less 1 (14 bits each), the alpha bit, and a version (3
// bits).
constexpr uint64_t LOSSLESS_HEADER = 5;
constexpr uint64_t LOSSLESS_BITS = 1;  // the offset of the 32 bits
constexpr uint8_t LOSSLESS_SIGNATURE = 0x2F;
constexpr uint32_t LOSSLESS_ALPHA = 1 << 28;

// VP8 begins with a frame tag of 24 bits. Its upper 19 bits are the size of the first partition.
// Three bytes that never change follow, and then width and height. Each has 16 bits, of which the
// upper two are a scale. The first partition comes next. Without it, nothing can be decoded.
constexpr uint64_t LOSSY_HEADER = 10;
constexpr uint64_t LOSSY_START = 3;
constexpr uint32_t START_CODE = 0x2A019D;
constexpr uint32_t PARTITION_SHIFT = 5;

constexpr uint32_t SIZE_BITS = 14;
constexpr uint32_t SIZE_MASK = (1 << SIZE_BITS) - 1;

}  // namespace tool

#endif
