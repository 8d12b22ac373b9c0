#include "known/wave_format.h"

#include <array>

#include "app/text.h"

namespace tool {

namespace {

constexpr uint16_t TAG_MS_ADPCM = 2;
constexpr uint16_t TAG_IMA_ADPCM = 0x11;
constexpr uint16_t TAG_MP3 = 0x55;

constexpr uint64_t VALID_BITS = 18;  // offsets in an extensible format
constexpr uint64_t SPEAKERS = 20;
constexpr uint64_t SUBFORMAT = 24;
constexpr uint64_t EXTENSIBLE_SIZE = 40;

constexpr std::array FORMAT_NAMES = {
    Name{TAG_PCM, "PCM"},        Name{TAG_MS_ADPCM, "Microsoft ADPCM"},
    Name{TAG_FLOAT, "float"},    Name{TAG_A_LAW, "A-law"},
    Name{TAG_MU_LAW, "mu-law"},  Name{TAG_IMA_ADPCM, "IMA ADPCM"},
    Name{0x31, "GSM 6.10"},      Name{0x40, "G.721 ADPCM"},
    Name{0x45, "G.726 ADPCM"},   Name{0x50, "MPEG layer 1 or 2"},
    Name{TAG_MP3, "MP3"},        Name{0x92, "AC-3 in S/PDIF"},
    Name{0xFF, "AAC"},           Name{0x160, "WMA 1"},
    Name{0x161, "WMA 2"},        Name{0x162, "WMA Professional"},
    Name{0x163, "WMA lossless"}, Name{0x1600, "AAC in ADTS"},
    Name{0x2000, "AC-3"},        Name{0x2001, "DTS"},
    Name{0xF1AC, "FLAC"},        Name{TAG_EXTENSIBLE, "extensible"},
};

constexpr std::array SPEAKER_NAMES = {
    Name{0x1, "FL"},      Name{0x2, "FR"},      Name{0x4, "FC"},     Name{0x8, "LFE"},
    Name{0x10, "BL"},     Name{0x20, "BR"},     Name{0x40, "FLC"},   Name{0x80, "FRC"},
    Name{0x100, "BC"},    Name{0x200, "SL"},    Name{0x400, "SR"},   Name{0x800, "TC"},
    Name{0x1000, "TFL"},  Name{0x2000, "TFC"},  Name{0x4000, "TFR"}, Name{0x8000, "TBL"},
    Name{0x10000, "TBC"}, Name{0x20000, "TBR"},
};

constexpr std::array MP3_FLAGS = {Name{1, "padding on"}, Name{2, "padding off"}};

// The tag is the lower half of the GUID's first number.
uint16_t subformat(uint64_t first) { return static_cast<uint16_t>(first); }

std::string tagText(uint16_t tag) {
  const std::string_view name = nameOf(tag, FORMAT_NAMES);
  return name.empty() ? "format " + hexadecimal(tag) : std::string(name);
}

void extensibleFields(FieldList& list) {
  list.number("valid-bits-per-sample", VALID_BITS, 2);
  const uint64_t speakers = list.at(SPEAKERS, 4);
  list.number("speakers", SPEAKERS, 4, speakers, namesOf(speakers, SPEAKER_NAMES, " "));
  list.guid("subformat", SUBFORMAT, tagText(subformat(list.at(SUBFORMAT, 4))));
}

}  // namespace

WaveFormat::WaveFormat(const ChunkData& data)
    : tag(data.number16(0)),
      channels(data.number16(2)),
      rate(data.number32(4)),
      blockAlign(data.number16(12)),
      bits(data.number16(14)) {
  if (tag == TAG_EXTENSIBLE) tag = subformat(data.number32(SUBFORMAT));
}

// "PCM, 2 channels, 48 kHz, 24 bit". For compressed sound, the sample size is 0 or has no
// meaning. A sample size of 0 is left out.
std::string formatWords(const ChunkData& data) {
  const WaveFormat format(data);
  std::string words = tagText(format.tag) + ", " + counted(format.channels, "channel") + ", ";
  words += format.rate < 1000 ? std::to_string(format.rate) + " Hz"
                              : decimal(format.rate / 1000.0) + " kHz";
  if (format.bits == 0) return words;
  const bool isExtensible = data.number16(0) == TAG_EXTENSIBLE && data.size() >= EXTENSIBLE_SIZE;
  const uint16_t valid = isExtensible ? data.number16(VALID_BITS) : format.bits;
  if (valid == 0 || valid == format.bits) return words + ", " + counted(format.bits, "bit", "bit");
  return words + ", " + std::to_string(valid) + " of " + counted(format.bits, "bit", "bit");
}

void formatFields(FieldList& list) {
  const auto tag = static_cast<uint16_t>(list.at(0, 2));
  list.number("format-tag", 0, 2, tag, std::string(nameOf(tag, FORMAT_NAMES)));
  list.number("channels", 2, 2);
  list.number("sample-rate", 4, 4);
  list.number("byte-rate", 8, 4);
  list.number("block-align", 12, 2);
  list.number("bits-per-sample", 14, 2);
  list.number("extension-size", 16, 2);
  if (tag == TAG_EXTENSIBLE) {
    extensibleFields(list);
  } else if (tag == TAG_MS_ADPCM || tag == TAG_IMA_ADPCM) {
    list.number("samples-per-block", 18, 2);
  } else if (tag == TAG_MP3) {
    list.number("mp3-id", 18, 2);
    list.choice("mp3-flags", 20, 4, MP3_FLAGS);
    list.number("mp3-block-size", 24, 2);
    list.number("mp3-frames-per-block", 26, 2);
    list.number("mp3-codec-delay", 28, 2);
  }
}

}  // namespace tool
