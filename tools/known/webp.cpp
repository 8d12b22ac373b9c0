// The chunks of WebP.
#include "known/webp.h"

#include <array>

#include "app/text.h"
#include "known/ids.h"
#include "known/known.h"

namespace tool {

namespace {

// --- VP8X: what the file has, and the canvas

constexpr std::array VP8X_FLAGS = {Name{FLAG_ANIMATION, "animation"}, Name{FLAG_ALPHA, "alpha"},
                                   Name{FLAG_ICC, "ICC"}, Name{FLAG_EXIF, "EXIF"},
                                   Name{FLAG_XMP, "XMP"}};

std::string vp8xWords(const ChunkData& data) {
  const std::string flags = namesOf(data.byte(0), VP8X_FLAGS);
  return flags + (flags.empty() ? "" : "; ") +
         sizeText(data.number(VP8X_WIDTH, 3) + 1, data.number(VP8X_HEIGHT, 3) + 1);
}

// A number of 24 bits that is stored as one less.
void sizeField(FieldList& list, std::string_view name, uint64_t offset) {
  list.number(name, offset, 3, list.at(offset, 3) + 1);
}

void vp8xFields(FieldList& list) {
  list.flags("flags", 0, 1, VP8X_FLAGS);
  sizeField(list, "width", VP8X_WIDTH);
  sizeField(list, "height", VP8X_HEIGHT);
}

// --- VP8 and VP8L: pictures

bool isLossy(const ChunkData& data) { return data.number(LOSSY_START, 3) == START_CODE; }

std::string lossyWords(const ChunkData& data) {
  if (!isLossy(data)) return "";
  return "lossy, " + sizeText(data.number16(6) & SIZE_MASK, data.number16(8) & SIZE_MASK);
}

void lossyFields(FieldList& list) {
  if (!isLossy(list.data)) return;
  const uint64_t tag = list.at(0, 3);
  list.number("frame-tag", 0, 3, tag, (tag & 1) == 0 ? "key frame" : "no key frame");
  list.number("version", 0, 3, tag >> 1 & 7);
  list.number("first-partition-size", 0, 3, tag >> PARTITION_SHIFT);
  const std::array names = {"width", "height"};
  const std::array scales = {"x-scale", "y-scale"};
  for (uint64_t i = 0; i < names.size(); ++i) {
    const uint64_t stored = list.at(6 + 2 * i, 2);
    list.number(names[i], 6 + 2 * i, 2, stored & SIZE_MASK);
    list.number(scales[i], 6 + 2 * i, 2, stored >> SIZE_BITS);
  }
}

bool isLossless(const ChunkData& data) { return data.byte(0) == LOSSLESS_SIGNATURE; }
uint64_t losslessWidth(uint64_t bits) { return (bits & SIZE_MASK) + 1; }
uint64_t losslessHeight(uint64_t bits) { return (bits >> SIZE_BITS & SIZE_MASK) + 1; }

std::string losslessWords(const ChunkData& data) {
  if (!isLossless(data)) return "";
  const uint32_t bits = data.number32(LOSSLESS_BITS);
  return "lossless, " + sizeText(losslessWidth(bits), losslessHeight(bits)) +
         ((bits & LOSSLESS_ALPHA) != 0 ? ", alpha" : "");
}

void losslessFields(FieldList& list) {
  if (!isLossless(list.data)) return;
  const uint64_t bits = list.at(LOSSLESS_BITS, 4);
  list.number("signature", 0, 1);
  list.number("width", LOSSLESS_BITS, 4, losslessWidth(bits));
  list.number("height", LOSSLESS_BITS, 4, losslessHeight(bits));
  list.number("alpha", LOSSLESS_BITS, 4, (bits & LOSSLESS_ALPHA) != 0 ? 1 : 0);
  list.number("version", LOSSLESS_BITS, 4, bits >> 29);
}

// --- ANIM and ANMF: an animation and its frames

constexpr std::array DISPOSALS = {Name{0, "keep"}, Name{1, "clear to background"}};
constexpr std::array BLENDINGS = {Name{0, "blend"}, Name{1, "replace"}};

std::string animWords(const ChunkData& data) {
  const uint64_t loops = data.number16(4);
  return loops == 0 ? "loops forever" : "plays " + counted(loops, "time");
}

void animFields(FieldList& list) {
  std::string colour = "#";  // blue, green, red and alpha are stored
  for (const uint64_t i : {2U, 1U, 0U, 3U})
    colour += hexDigits(static_cast<uint8_t>(list.at(i, 1)));
  list.word("background", 0, 4, colour);
  list.number("loops", 4, 2, list.at(4, 2), list.at(4, 2) == 0 ? "forever" : "");
}

// Positions are stored in units of two pixels.
std::string anmfWords(const ChunkData& data) {
  return sizeText(data.number(6, 3) + 1, data.number(9, 3) + 1) + " at " +
         std::to_string(data.number(0, 3) * 2) + ", " + std::to_string(data.number(3, 3) * 2) +
         ", " + std::to_string(data.number(12, 3)) + " ms";
}

void anmfFields(FieldList& list) {
  list.number("x", 0, 3, list.at(0, 3) * 2);
  list.number("y", 3, 3, list.at(3, 3) * 2);
  sizeField(list, "width", 6);
  sizeField(list, "height", 9);
  list.number("duration", 12, 3);  // in milliseconds
  const uint64_t flags = list.at(15, 1);
  list.number("disposal", 15, 1, flags & 1, std::string(nameOf(flags & 1, DISPOSALS)));
  list.number("blending", 15, 1, flags >> 1 & 1, std::string(nameOf(flags >> 1 & 1, BLENDINGS)));
}

// --- ALPH: the transparency of a lossy picture

// From the lowest bit on, the first byte has three numbers of two bits each: the compression, the
// filter and the preprocessing.
constexpr std::array ALPHA_COMPRESSIONS = {Name{0, "uncompressed"}, Name{1, "lossless"}};
constexpr std::array ALPHA_FILTERS = {Name{0, "no filter"}, Name{1, "horizontal filter"},
                                      Name{2, "vertical filter"}, Name{3, "gradient filter"}};

std::string alphWords(const ChunkData& data) {
  const std::string_view compression = nameOf(data.byte(0) & 3, ALPHA_COMPRESSIONS);
  return std::string(compression.empty() ? "unknown compression" : compression) + ", " +
         std::string(nameOf(data.byte(0) >> 2 & 3, ALPHA_FILTERS));
}

void alphFields(FieldList& list) {
  const uint64_t bits = list.at(0, 1);
  list.number("compression", 0, 1, bits & 3, std::string(nameOf(bits & 3, ALPHA_COMPRESSIONS)));
  list.number("filter", 0, 1, bits >> 2 & 3, std::string(nameOf(bits >> 2 & 3, ALPHA_FILTERS)));
  list.number("preprocessing", 0, 1, bits >> 4 & 3);
}

// --- EXIF and ICCP: their formats are named, not decoded

std::string exifWords(const ChunkData&) { return "Exif metadata"; }
std::string iccWords(const ChunkData&) { return "ICC profile"; }
void noFields(FieldList&) {}

constexpr std::array CHUNKS = {
    Known{FORM_WEBP, ID_VP8X, VP8X_SIZE, vp8xWords, vp8xFields},
    Known{FORM_WEBP, ID_VP8, LOSSY_HEADER, lossyWords, lossyFields},
    Known{FORM_WEBP, ID_VP8L, LOSSLESS_HEADER, losslessWords, losslessFields},
    Known{FORM_WEBP, ID_ANIM, 6, animWords, animFields},
    Known{FORM_WEBP, ID_ANMF, 16, anmfWords, anmfFields},
    Known{FORM_WEBP, ID_ALPH, 1, alphWords, alphFields},
    Known{FORM_WEBP, ID_EXIF, 4, exifWords, noFields},
    Known{FORM_WEBP, ID_ICCP, 128, iccWords, noFields},
};

}  // namespace

std::span<const Known> webpChunks() { return CHUNKS; }

}  // namespace tool
