// The chunks of AVI.
#include "known/avi.h"

#include <array>

#include "app/text.h"
#include "known/ids.h"
#include "known/known.h"
#include "known/wave_format.h"

namespace tool {

namespace {

constexpr uint32_t STREAM_VIDEO = idOf("vids");
constexpr uint32_t STREAM_AUDIO = idOf("auds");
constexpr uint32_t STREAM_MIDI = idOf("mids");
constexpr uint32_t STREAM_TEXT = idOf("txts");

// --- avih: the file

constexpr uint64_t AVIH_FRAMES = 16;
constexpr uint64_t AVIH_STREAMS = 24;
constexpr uint64_t AVIH_WIDTH = 32;
constexpr uint64_t AVIH_HEIGHT = 36;
constexpr std::array AVIH_FLAG_NAMES = {
    Name{AVIH_HAS_INDEX, "has an index"}, Name{0x20, "must use the index"},
    Name{0x100, "interleaved"},           Name{0x800, "trust key frames"},
    Name{0x10000, "capture file"},        Name{0x20000, "copyrighted"},
};

// Without the frame rate, which is exact in "strh" only.
std::string avihWords(const ChunkData& data) {
  return sizeText(data.number32(AVIH_WIDTH), data.number32(AVIH_HEIGHT)) + ", " +
         counted(data.number32(AVIH_FRAMES), "frame") + ", " +
         counted(data.number32(AVIH_STREAMS), "stream");
}

void avihFields(FieldList& list) {
  list.number("microseconds-per-frame", 0, 4);
  list.number("max-bytes-per-second", 4, 4);
  list.number("padding-granularity", 8, 4);
  list.flags("flags", AVIH_FLAGS, 4, AVIH_FLAG_NAMES);
  list.number("frames", AVIH_FRAMES, 4);
  list.number("initial-frames", 20, 4);
  list.number("streams", AVIH_STREAMS, 4);
  list.number("buffer-size", 28, 4);
  list.number("width", AVIH_WIDTH, 4);
  list.number("height", AVIH_HEIGHT, 4);
}

// --- strh: a stream

constexpr uint64_t STRH_HANDLER = 4;
constexpr uint64_t STRH_SCALE = 20;
constexpr uint64_t STRH_RATE = 24;
constexpr uint64_t STRH_LENGTH = 32;
constexpr std::array STREAM_NAMES = {Name{STREAM_VIDEO, "video"}, Name{STREAM_AUDIO, "audio"},
                                     Name{STREAM_MIDI, "MIDI"}, Name{STREAM_TEXT, "text"}};
constexpr std::array STRH_FLAG_NAMES = {Name{1, "disabled"}, Name{0x10000, "palette changes"}};

// "video MJPG, 10 fps, 5 frames, 0.5 s". Many programs write no handler for sound.
std::string strhWords(const ChunkData& data) {
  const uint32_t type = data.id(0);
  const uint32_t handler = data.id(STRH_HANDLER);
  const double scale = data.number32(STRH_SCALE);
  const double rate = data.number32(STRH_RATE);
  const uint32_t length = data.number32(STRH_LENGTH);
  const std::string_view name = nameOf(type, STREAM_NAMES);
  std::string words = name.empty() ? idText(type) : std::string(name);
  if (handler != 0 && isPrintable(handler)) words.append(" ").append(idText(handler));
  if (scale == 0 || rate == 0) return words;
  if (type == STREAM_VIDEO) {
    words += ", " + decimal(rate / scale) + " fps, " + counted(length, "frame");
  }
  return words + ", " + decimal(length * scale / rate) + " s";
}

void strhFields(FieldList& list) {
  list.id("type", 0);
  list.id("handler", STRH_HANDLER);
  list.flags("flags", 8, 4, STRH_FLAG_NAMES);
  list.number("priority", 12, 2);
  list.number("language", 14, 2);
  list.number("initial-frames", 16, 4);
  list.number("scale", STRH_SCALE, 4);
  list.number("rate", STRH_RATE, 4);
  list.number("start", 28, 4);
  list.number("length", STRH_LENGTH, 4);
  list.number("buffer-size", 36, 4);
  list.signedNumber("quality", 40, 4);
  list.number("sample-size", 44, 4);
  list.signedNumber("left", 48, 2);
  list.signedNumber("top", 50, 2);
  list.signedNumber("right", 52, 2);
  list.signedNumber("bottom", 54, 2);
}

// --- strf of a video stream: a BITMAPINFOHEADER

constexpr uint64_t BITMAP_HEADER = 40;
constexpr uint64_t BITMAP_BITS = 14;
constexpr uint64_t BITMAP_COMPRESSION = 16;
constexpr std::array COMPRESSIONS = {Name{0, "RGB"}, Name{1, "RLE8"}, Name{2, "RLE4"},
                                     Name{3, "bit fields"}};

std::string bitmapWords(const ChunkData& data) {
  const std::string_view name = nameOf(data.number32(BITMAP_COMPRESSION), COMPRESSIONS);
  const auto height = static_cast<int32_t>(data.number32(8));  // negative: from top to bottom
  const auto rows = static_cast<uint64_t>(height < 0 ? -int64_t{height} : height);
  std::string words = name.empty() ? idText(data.id(BITMAP_COMPRESSION)) : std::string(name);
  words.append(", ").append(sizeText(data.number32(4), rows)).append(", ");
  return words.append(counted(data.number16(BITMAP_BITS), "bit", "bit"));
}

void bitmapFields(FieldList& list) {
  list.number("header-size", 0, 4);
  list.signedNumber("width", 4, 4);
  list.signedNumber("height", 8, 4);
  list.number("planes", 12, 2);
  list.number("bits-per-pixel", BITMAP_BITS, 2);
  if (nameOf(list.at(BITMAP_COMPRESSION, 4), COMPRESSIONS).empty()) {
    list.id("compression", BITMAP_COMPRESSION);
  } else {
    list.choice("compression", BITMAP_COMPRESSION, 4, COMPRESSIONS);
  }
  list.number("image-size", 20, 4);
  list.signedNumber("x-pixels-per-metre", 24, 4);
  list.signedNumber("y-pixels-per-metre", 28, 4);
  list.number("colours-used", 32, 4);
  list.number("colours-important", 36, 4);
}

// --- dmlh: the frames of all RIFF groups together

std::string dmlhWords(const ChunkData& data) { return counted(data.number32(0), "frame"); }

void dmlhFields(FieldList& list) { list.number("frames", 0, 4); }

// --- indexes

constexpr std::array IDX1_FLAGS = {Name{0x1, "list"}, Name{0x10, "key frame"},
                                   Name{0x100, "no time"}};
constexpr std::array INDEX_KINDS = {Name{INDEX_OF_INDEXES, "index of indexes"},
                                    Name{INDEX_OF_CHUNKS, "index of chunks"}};

std::string idx1Words(const ChunkData& data) {
  return counted(data.chunk().dataSize / IDX1_ENTRY, "entry", "entries");
}

void idx1Fields(FieldList& list) {
  list.table("entries", 0, IDX1_ENTRY, list.data.chunk().dataSize / IDX1_ENTRY, [&] {
    list.id("chunk", 0);
    list.flags("flags", 4, 4, IDX1_FLAGS);
    list.number("offset", 8, 4);
    list.number("size", 12, 4);
  });
}

std::string openDmlWords(const ChunkData& data) {
  const std::string_view kind = nameOf(data.byte(OPEN_DML_KIND), INDEX_KINDS);
  return std::string(kind.empty() ? "index" : kind) + ", " + idText(data.id(OPEN_DML_ID)) + ", " +
         counted(data.number32(OPEN_DML_COUNT), "entry", "entries");
}

void openDmlFields(FieldList& list) {
  const uint64_t entrySize = list.at(0, 2) * 4;
  const uint64_t kind = list.at(OPEN_DML_KIND, 1);
  list.number("longs-per-entry", 0, 2);
  list.number("subtype", 2, 1);
  list.choice("kind", OPEN_DML_KIND, 1, INDEX_KINDS);
  list.number("entries", OPEN_DML_COUNT, 4);
  list.id("chunk", OPEN_DML_ID);
  if (kind == INDEX_OF_CHUNKS) list.number("base", OPEN_DML_BASE, 8);
  if (kind == INDEX_OF_INDEXES && entrySize == 16) {
    list.table("entries", OPEN_DML_HEADER, entrySize, list.at(OPEN_DML_COUNT, 4), [&] {
      list.number("offset", 0, 8);
      list.number("size", 8, 4);
      list.number("duration", 12, 4);
    });
  } else if (kind == INDEX_OF_CHUNKS && entrySize >= 8) {
    list.table("entries", OPEN_DML_HEADER, entrySize, list.at(OPEN_DML_COUNT, 4), [&] {
      constexpr uint64_t DELTA_FRAME = 0x8000'0000;  // set unless it is a key frame
      const uint64_t size = list.at(4, 4);
      list.number("offset", 0, 4);
      list.number("size", 4, 4, size & ~DELTA_FRAME, (size & DELTA_FRAME) == 0 ? "key frame" : "");
    });
  }
}

constexpr uint32_t ID_STRF = idOf("strf");
constexpr uint32_t ID_DMLH = idOf("dmlh");
constexpr uint32_t WHOLE_ID = 0xFFFF'FFFF;

constexpr std::array CHUNKS = {
    Known{ID_HDRL, ID_AVIH, 40, avihWords, avihFields},
    Known{ID_STRL, ID_STRH, 36, strhWords, strhFields},
    Known{ID_STRL, ID_STRF, BITMAP_HEADER, bitmapWords, bitmapFields, WHOLE_ID, STREAM_VIDEO},
    Known{ID_STRL, ID_STRF, SMALLEST_FMT, formatWords, formatFields, WHOLE_ID, STREAM_AUDIO},
    Known{ID_STRL, ID_INDX, OPEN_DML_HEADER, openDmlWords, openDmlFields},
    Known{ID_MOVI, ID_IX, OPEN_DML_HEADER, openDmlWords, openDmlFields, FIRST_HALF},
    Known{ID_REC, ID_IX, OPEN_DML_HEADER, openDmlWords, openDmlFields, FIRST_HALF},
    Known{ID_ODML, ID_DMLH, 4, dmlhWords, dmlhFields},
    Known{FORM_AVI, ID_IDX1, 0, idx1Words, idx1Fields},
};

}  // namespace

std::span<const Known> aviChunks() { return CHUNKS; }

// The stream's header is the first chunk of its LIST:strl.
uint32_t streamType(const ChunkData& data) {
  if (data.parent().groupId != ID_STRL) return 0;
  const RawChunk first = data.otherChunk(data.parent().offset + GROUP_HEADER_SIZE);
  return first.id == ID_STRH && first.offset < data.chunk().offset ? data.dataOf(first).id(0) : 0;
}

}  // namespace tool
