// The chunks of WAVE, and those in its LIST:adtl.
#include <algorithm>
#include <array>

#include "app/text.h"
#include "known/bext.h"
#include "known/bext_value.h"
#include "known/ids.h"
#include "known/known.h"
#include "known/wave_format.h"

namespace tool {

namespace {

constexpr uint64_t SHORT_TEXT = 256;  // bytes of a text that are read for one line

std::string inQuotes(const std::string& text) { return "\"" + text + "\""; }

// --- fact: the number of samples in each channel, for compressed sound

std::string factWords(const ChunkData& data) { return grouped(data.number32(0)) + " samples"; }

void factFields(FieldList& list) { list.number("samples", 0, 4); }

// --- cue: positions in the sound

constexpr uint64_t CUE_POINTS = 4;
constexpr uint64_t CUE_POINT_SIZE = 24;
constexpr uint64_t CUE_SAMPLE = 20;  // in a point

std::string cueWords(const ChunkData& data) {
  constexpr uint64_t MOST = 5;
  const uint64_t count = data.number32(0);
  const uint64_t there = std::min(count, (data.size() - CUE_POINTS) / CUE_POINT_SIZE);
  std::string words = counted(count, "point");
  for (uint64_t i = 0; i < std::min(there, MOST); ++i) {
    words += i == 0 ? " at " : ", ";
    words += grouped(data.number32(CUE_POINTS + i * CUE_POINT_SIZE + CUE_SAMPLE));
  }
  return there > MOST ? words + ", ..." : words;
}

void cueFields(FieldList& list) {
  list.number("points", 0, 4);
  list.table("points", CUE_POINTS, CUE_POINT_SIZE, list.at(0, 4), [&] {
    list.number("id", 0, 4);
    list.number("position", 4, 4);
    list.id("chunk", 8);
    list.number("chunk-start", 12, 4);
    list.number("block-start", 16, 4);
    list.number("sample-offset", CUE_SAMPLE, 4);
  });
}

// --- smpl and inst: the sound as an instrument

constexpr uint64_t SMPL_SIZE = 36;
constexpr uint64_t SMPL_NOTE = 12;
constexpr uint64_t SMPL_LOOPS = 28;
constexpr uint64_t LOOP_SIZE = 24;
constexpr std::array LOOP_TYPES = {Name{0, "forward"}, Name{1, "alternating"}, Name{2, "backward"}};

std::string smplWords(const ChunkData& data) {
  const uint64_t loops = data.number32(SMPL_LOOPS);
  std::string words =
      "note " + std::to_string(data.number32(SMPL_NOTE)) + ", " + counted(loops, "loop");
  if (loops == 0 || data.size() < SMPL_SIZE + LOOP_SIZE) return words;
  return words + ", " + grouped(data.number32(SMPL_SIZE + 8)) + " to " +
         grouped(data.number32(SMPL_SIZE + 12)) + (loops > 1 ? ", ..." : "");
}

void smplFields(FieldList& list) {
  list.number("manufacturer", 0, 4);
  list.number("product", 4, 4);
  list.number("sample-period", 8, 4);  // in nanoseconds
  list.number("unity-note", SMPL_NOTE, 4);
  list.number("pitch-fraction", 16, 4);
  list.number("smpte-format", 20, 4);
  list.number("smpte-offset", 24, 4);
  list.number("loops", SMPL_LOOPS, 4);
  list.number("extra-data-size", 32, 4);
  list.table("loops", SMPL_SIZE, LOOP_SIZE, list.at(SMPL_LOOPS, 4), [&] {
    list.number("cue-point", 0, 4);
    list.choice("type", 4, 4, LOOP_TYPES);
    list.number("start", 8, 4);
    list.number("end", 12, 4);
    list.number("fraction", 16, 4);
    list.number("play-count", 20, 4);
  });
}

std::string instWords(const ChunkData& data) {
  const auto range = [&](uint64_t low) {
    return std::to_string(data.byte(low)) + " to " + std::to_string(data.byte(low + 1));
  };
  return "note " + std::to_string(data.byte(0)) + ", notes " + range(3) + ", velocities " +
         range(5);
}

void instFields(FieldList& list) {
  list.number("unshifted-note", 0, 1);
  list.signedNumber("fine-tune", 1, 1);  // in cents
  list.signedNumber("gain", 2, 1);       // in dB
  list.number("low-note", 3, 1);
  list.number("high-note", 4, 1);
  list.number("low-velocity", 5, 1);
  list.number("high-velocity", 6, 1);
}

// --- bext

std::string bextWords(const ChunkData& data) {
  std::string words;
  const auto add = [&](const std::string& text, const char* separator) {
    if (!text.empty()) words.append(words.empty() ? "" : separator).append(text);
  };
  const auto text = [&](std::string_view name) {
    const BextField* const field = findBextField(name);
    return data.text(field->offset, field->size);
  };
  const std::string description = text("description");
  add(text("origination-date"), "");
  add(text("origination-time"), " ");
  add(text("originator"), ", ");
  if (!description.empty()) add(inQuotes(description), ", ");
  return words;
}

void addUmid(FieldList& list, const BextField& field) {
  std::string bytes;
  for (uint64_t i = 0; i < field.size; ++i) {
    bytes += static_cast<char>(list.data.byte(field.offset + i));
  }
  list.word(field.name, field.offset, field.size, umidText(bytes));
}

void addLevel(FieldList& list, const BextField& field) {
  const std::string level = levelText(static_cast<int16_t>(list.at(field.offset, field.size)));
  if (level.empty()) {
    list.word(field.name, field.offset, field.size, "not measured");
  } else {
    list.add(field.name, field.offset, field.size, Field::NUMBER, level);
  }
}

// Older versions have zeros in place of the fields that were added later.
void bextFields(FieldList& list) {
  const BextField* const version = findBextField("bext-version");
  for (const BextField& field : BEXT_FIELDS) {
    if (field.version > list.at(version->offset, version->size)) continue;
    const uint64_t size = field.size == 0 ? list.data.size() : field.size;
    switch (field.kind) {
      case BextField::TEXT:
        list.text(field.name, field.offset, size);
        break;
      case BextField::NUMBER:
        list.number(field.name, field.offset, size);
        break;
      case BextField::UMID:
        addUmid(list, field);
        break;
      case BextField::LEVEL:
        addLevel(list, field);
        break;
    }
  }
}

// --- ds64: the sizes of an RF64 file that need 64 bits

std::string ds64Words(const ChunkData& data) {
  return "data of " + grouped(data.number(8, 8)) + " bytes, " + grouped(data.number(16, 8)) +
         " samples";
}

void ds64Fields(FieldList& list) {
  list.number("riff-size", 0, 8);
  list.number("data-size", 8, 8);
  list.number("samples", 16, 8);
  list.number("sizes", 24, 4);
  list.table("sizes", WideSizes::FIXED_SIZE, WideSizes::ENTRY_SIZE, list.at(24, 4), [&] {
    list.id("chunk", 0);
    list.number("size", 4, 8);
  });
}

// --- DISP: a text or picture for the clipboard

constexpr std::array CLIPBOARD_FORMATS = {Name{1, "text"}, Name{2, "bitmap"}, Name{8, "DIB"}};
constexpr uint32_t CLIPBOARD_TEXT = 1;

std::string dispWords(const ChunkData& data) {
  const uint32_t format = data.number32(0);
  if (format == CLIPBOARD_TEXT) return inQuotes(data.text(4, SHORT_TEXT));
  const std::string_view name = nameOf(format, CLIPBOARD_FORMATS);
  return name.empty() ? "clipboard format " + std::to_string(format) : std::string(name);
}

void dispFields(FieldList& list) {
  list.choice("format", 0, 4, CLIPBOARD_FORMATS);
  if (list.at(0, 4) == CLIPBOARD_TEXT) list.text("text", 4);
}

// --- id3: a tag as in MP3 files

constexpr uint64_t ID3_HEADER = 10;

bool isId3(const ChunkData& data) { return data.text(0, 3) == "ID3"; }

std::string id3Words(const ChunkData& data) {
  return isId3(data) ? "ID3v2." + std::to_string(data.byte(3)) + " tag" : "";
}

void id3Fields(FieldList& list) {
  if (!isId3(list.data)) return;
  list.text("signature", 0, 3);
  list.number("version", 3, 1);
  list.number("revision", 4, 1);
  list.number("flags", 5, 1);
  uint64_t size = 0;  // seven bits in each byte, the highest first
  for (uint64_t i = 6; i < ID3_HEADER; ++i) size = size << 7 | (list.at(i, 1) & 0x7F);
  list.number("size", 6, 4, size);
}

// --- LIST:adtl: texts for cue points

constexpr uint64_t LTXT_TEXT = 20;

std::string cueName(const ChunkData& data) { return "cue " + std::to_string(data.number32(0)); }

std::string labelWords(const ChunkData& data) {
  return cueName(data) + ": " + inQuotes(data.text(4, SHORT_TEXT));
}

void labelFields(FieldList& list) {
  list.number("cue-point", 0, 4);
  list.text("text", 4);
}

std::string ltxtWords(const ChunkData& data) {
  std::string words = cueName(data) + ": " + counted(data.number32(4), "sample");
  const std::string text = data.text(LTXT_TEXT, SHORT_TEXT);
  return text.empty() ? words : words + ", " + inQuotes(text);
}

void ltxtFields(FieldList& list) {
  list.number("cue-point", 0, 4);
  list.number("samples", 4, 4);
  list.id("purpose", 8);
  list.number("country", 12, 2);
  list.number("language", 14, 2);
  list.number("dialect", 16, 2);
  list.number("code-page", 18, 2);
  list.text("text", LTXT_TEXT);
}

constexpr std::array CHUNKS = {
    Known{FORM_WAVE, ID_FMT, SMALLEST_FMT, formatWords, formatFields},
    Known{FORM_WAVE, ID_FACT, 4, factWords, factFields},
    Known{FORM_WAVE, idOf("cue "), CUE_POINTS, cueWords, cueFields},
    Known{FORM_WAVE, idOf("smpl"), SMPL_SIZE, smplWords, smplFields},
    Known{FORM_WAVE, idOf("inst"), 7, instWords, instFields},
    Known{FORM_WAVE, ID_BEXT, BEXT_FIXED_SIZE, bextWords, bextFields},
    Known{FORM_WAVE, ID_DS64, WideSizes::SMALLEST, ds64Words, ds64Fields},
    Known{FORM_WAVE, idOf("DISP"), 4, dispWords, dispFields},
    Known{FORM_WAVE, idOf("id3 "), ID3_HEADER, id3Words, id3Fields},
    Known{FORM_WAVE, idOf("ID3 "), ID3_HEADER, id3Words, id3Fields},
    Known{ID_ADTL, idOf("labl"), 4, labelWords, labelFields},
    Known{ID_ADTL, idOf("note"), 4, labelWords, labelFields},
    Known{ID_ADTL, idOf("ltxt"), LTXT_TEXT, ltxtWords, ltxtFields},
};

}  // namespace

std::span<const Known> waveChunks() { return CHUNKS; }

}  // namespace tool
