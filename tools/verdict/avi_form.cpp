// AVI: headers, pictures and sound (movi), and indexes whose entries point at chunks of their id.
//
// Three indexes exist. "idx1" lies after "movi". Its offsets count from the "movi" id. Some
// programs count them from the start of the file. OpenDML adds "ix##" chunks within "movi". Each of
// these chunks states a base, from which its offsets count. OpenDML also adds an "indx" chunk to
// the headers of a stream. The entries of "indx" point at the "ix##" chunks.
#include <algorithm>
#include <array>
#include <vector>

#include "app/text.h"
#include "known/avi.h"
#include "known/chunk_data.h"
#include "verdict/form.h"

namespace tool {

namespace {

constexpr uint64_t ENTRIES_AT_ONCE = 256;

// Reads the entries of an index in blocks and counts those that point at no chunk of their id.
class IndexCheck {
 public:
  IndexCheck(RawBytes& bytes, uint64_t offset, uint64_t count, uint64_t entrySize)
      : bytes(bytes), offset(offset), count(count), entrySize(entrySize) {}

  // `hits(entry)` says whether an entry points at its chunk.
  template <typename Hits>
  void run(Hits hits) {
    std::vector<uint8_t> block(std::min(count, ENTRIES_AT_ONCE) * entrySize);
    for (uint64_t done = 0; done < count;) {
      const uint64_t some = std::min(count - done, ENTRIES_AT_ONCE);
      bytes.copy(block.data(), some * entrySize, offset + done * entrySize);
      for (uint64_t i = 0; i < some; ++i, ++done) {
        if (hits(&block[i * entrySize])) continue;
        if (misses == 0) firstMiss = done;
        ++misses;
      }
    }
  }

  std::string text(const std::string& index) const {
    return std::to_string(misses) + " of " + counted(count, "entry", "entries") + " of " + index +
           (misses == 1 ? " points" : " point") +
           " at no chunk of the same id, the first is entry " + std::to_string(firstMiss + 1);
  }

  uint64_t misses = 0;

 private:
  RawBytes& bytes;
  uint64_t offset;
  uint64_t count;
  uint64_t entrySize;
  uint64_t firstMiss = 0;
};

class AviForm : public Form {
 public:
  using Form::Form;

  void take(const RawChunk& chunk, uint64_t level, uint32_t parent) override {
    if (level == 1) {
      takeTop(chunk);
    } else if (chunk.id == ID_AVIH && parent == ID_HDRL) {
      takeMainHeader(chunk);
    } else if (isOpenDmlIndex(chunk.id, parent)) {
      hasIndex = true;
      checkOpenDml(chunk);
    }
  }

  void finish() override {
    if (!hasHeaders) fail(riff.offset, "RIFF:AVI has no LIST:hdrl");
    if (hasHeaders && !hasMainHeader) fail(riff.offset, "RIFF:AVI/LIST:hdrl has no avih chunk");
    if (movi == 0) fail(riff.offset, "RIFF:AVI has no LIST:movi");
    if (announcesIndex && !hasIndex && movi != 0) {
      warn(riff.offset, "RIFF:AVI announces an index (idx1 or indx), but has none");
    }
  }

 private:
  void takeTop(const RawChunk& chunk) {
    if (chunk.isGroup() && chunk.groupId == ID_HDRL) hasHeaders = true;
    if (chunk.isGroup() && chunk.groupId == ID_MOVI && movi == 0) {
      movi = chunk.offset;
      if (!hasHeaders) fail(chunk.offset, "RIFF:AVI/LIST:movi comes before LIST:hdrl");
    }
    if (chunk.id == ID_IDX1) {
      hasIndex = true;
      checkIdx1(chunk);
    }
  }

  void takeMainHeader(const RawChunk& chunk) {
    hasMainHeader = true;
    if (!isComplete(chunk)) return;
    const uint32_t flags = ChunkData(bytes, chunk).number32(AVIH_FLAGS);
    announcesIndex = (flags & AVIH_HAS_INDEX) != 0;
  }

  // Entries of size 0 stand for dropped frames and may point anywhere.
  void checkIdx1(const RawChunk& chunk) {
    const uint64_t count = chunk.dataSize / IDX1_ENTRY;
    if (count == 0 || movi == 0 || !isReadable(chunk)) return;
    const auto countMisses = [&](uint64_t base, uint64_t entries) {
      IndexCheck check(bytes, chunk.dataOffset(), entries, IDX1_ENTRY);
      check.run([&](const uint8_t* entry) {
        return littleEndian32(entry + IDX1_SIZE) == 0 ||
               isAt(littleEndian32(entry), base + littleEndian32(entry + IDX1_OFFSET));
      });
      return check;
    };
    const uint64_t fromMovi = movi + HEADER_SIZE;
    const uint64_t base =
        countMisses(fromMovi, 1).misses > 0 && countMisses(0, 1).misses == 0 ? 0 : fromMovi;
    const IndexCheck check = countMisses(base, count);
    if (check.misses > 0) warn(chunk.offset, check.text("RIFF:AVI/idx1"));
  }

  void checkOpenDml(const RawChunk& chunk) {
    if (!isReadable(chunk) || chunk.dataSize < OPEN_DML_HEADER) return;
    const ChunkData data(bytes, chunk);
    const uint64_t entrySize = data.number16(0) * uint64_t{4};
    const uint8_t kind = data.byte(OPEN_DML_KIND);
    const uint64_t claimed = data.number32(OPEN_DML_COUNT);
    const uint32_t id = data.id(OPEN_DML_ID);
    const uint64_t base = data.number(OPEN_DML_BASE, 8);
    const bool isOfIndexes = kind == INDEX_OF_INDEXES && entrySize == INDEX_ENTRY;
    const bool isOfChunks =
        kind == INDEX_OF_CHUNKS && (entrySize == FRAME_ENTRY || entrySize == FIELD_ENTRY);
    if (!isOfIndexes && !isOfChunks) return;
    const uint64_t room = (chunk.dataSize - OPEN_DML_HEADER) / entrySize;
    if (claimed > room) {
      warn(chunk.offset, "the index " + idText(chunk.id) + " states " +
                             counted(claimed, "entry", "entries") + " and has room for " +
                             std::to_string(room));
    }
    IndexCheck check(bytes, chunk.dataOffset() + OPEN_DML_HEADER, std::min(claimed, room),
                     entrySize);
    check.run([&](const uint8_t* entry) {
      if (isOfChunks) {
        const bool isDropped = (littleEndian32(entry + FRAME_SIZE) & ~NO_KEY_FRAME) == 0;
        return isDropped || isAt(id, base + littleEndian32(entry) - HEADER_SIZE);
      }
      const uint64_t target = littleEndian64(entry);
      return target < bytes.size() && (bytes.chunkAt(target).id & FIRST_HALF) == ID_IX;
    });
    if (check.misses > 0) warn(chunk.offset, check.text(idText(chunk.id)));
  }

  bool isReadable(const RawChunk& chunk) const {
    return isComplete(chunk) && bytes.has(chunk.dataOffset(), chunk.dataSize);
  }

  // Whether a chunk with this id begins at an offset. The index names a LIST:rec by its group id.
  // Only the header is read, since entries may point anywhere.
  bool isAt(uint32_t id, uint64_t offset) const {
    if (offset >= bytes.size() || !bytes.has(offset, GROUP_HEADER_SIZE)) return false;
    std::array<uint8_t, GROUP_HEADER_SIZE> header{};
    bytes.copy(header.data(), header.size(), offset);
    const uint32_t there = littleEndian32(header.data());
    const uint32_t groupId = littleEndian32(&header[HEADER_SIZE]);
    return there == id || (id == ID_REC && isGroupId(there) && groupId == ID_REC);
  }

  bool hasHeaders = false;
  bool hasMainHeader = false;
  bool announcesIndex = false;
  bool hasIndex = false;
  uint64_t movi = 0;  // the offset of LIST:movi, 0 until it is met
};

}  // namespace

std::unique_ptr<Form> makeAviForm(RawBytes& bytes, const Report& report, const RawChunk& riff) {
  return std::make_unique<AviForm>(bytes, report, riff);
}

}  // namespace tool
