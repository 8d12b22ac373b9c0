#include "survey.h"

#include <algorithm>
#include <array>

#include "errors.h"
#include "original.h"
#include "progress.h"
#include "raw_bytes.h"
#include "text.h"

namespace tool {

namespace {

constexpr uint32_t ID_DATA = VELMOR_CORE_RIFF_ID('d', 'a', 't', 'a');
constexpr uint32_t ID_IDX1 = VELMOR_CORE_RIFF_ID('i', 'd', 'x', '1');
constexpr uint32_t ID_MOVI = VELMOR_CORE_RIFF_ID('m', 'o', 'v', 'i');
constexpr uint32_t ID_RF64 = VELMOR_CORE_RIFF_ID('R', 'F', '6', '4');
constexpr uint32_t ID_BW64 = VELMOR_CORE_RIFF_ID('B', 'W', '6', '4');
constexpr uint32_t ID_RIFX = VELMOR_CORE_RIFF_ID('R', 'I', 'F', 'X');

// Sizes that programs write in front of a stream whose length they cannot know yet: 2^31 or 2^32,
// less a little or with the headers counted in.
constexpr bool isStreamMark(uint32_t size) {
  return (size >= 0x7FFF'F000 && size <= 0x8000'FFFF) || size >= 0xFFFF'F000;
}

bool isPrintable(uint32_t id) {
  for (int shift = 0; shift < 32; shift += 8) {
    const uint32_t byte = id >> shift & 0xFF;
    if (byte < ' ' || byte > '~') return false;
  }
  return true;
}

std::string tagName(const RawChunk& bytes) {
  const std::string id = idText(bytes.id);
  if (id.starts_with("TAG")) return " (an ID3v1 tag)";
  if (id.starts_with("ID3")) return " (an ID3v2 tag)";
  if (id == "APET") return " (an APE tag)";
  return "";
}

// A group that the walk is inside of.
struct OpenGroup {
  RawChunk chunk;
  uint64_t end = 0;         // how far its children are looked for: never behind the file
  bool unfinished = false;  // its size says nothing
};

// Two positions go along. `at` is where the headers say that the next chunk begins, and lies behind
// the file where a chunk was cut short: the groups around that chunk then end there too, and have
// nothing wrong of their own. `mended` is the same in the file as it would be when mended.
class Walker {
 public:
  Walker(const std::string& name, RawBytes& bytes, const Report& report)
      : file(bytes), size(file.size()), report(report), progress("checking " + name, size) {
    survey.fileSize = size;
    requireKnownForm(name);
  }

  Survey run() {
    while (at < size || !open.empty()) {
      progress.at(at);
      if (!open.empty() && at >= open.back().end) {
        closeGroup();
      } else {
        step();
      }
    }
    survey.remedy.end = std::min(mended, size);
    survey.remedy.padIsMissing = mended > size;
    return survey;
  }

 private:
  void requireKnownForm(const std::string& name) {
    const uint32_t id = size < HEADER_SIZE ? 0 : file.chunkAt(0).id;
    if (id == ID_RF64 || id == ID_BW64) {
      throw Failure(name, "is " + idText(id) + ", with sizes of 64 bits, which are not read here");
    }
    if (id == ID_RIFX) throw Failure(name, "is RIFX, with big-endian sizes, not read here");
  }

  uint64_t limit() const { return open.empty() ? size : open.back().end; }

  void step() {
    const RawChunk chunk = file.chunkAt(at);
    const uint64_t left = limit() - at;
    if (left >= HEADER_SIZE && endsStream(chunk)) {
      closeGroup();
    } else if (open.empty() && groupEnded && !isTopLevelChunk(chunk)) {
      passTrailing(chunk);
    } else if (left < (chunk.isGroup() && left >= HEADER_SIZE ? GROUP_HEADER_SIZE : HEADER_SIZE)) {
      passRest(left);
    } else {
      ++survey.chunks;
      if (chunk.isGroup()) {
        enterGroup(chunk);
      } else {
        passData(chunk);
      }
    }
  }

  // Whether a chunk shows that the group before it, whose size is not known, ends here: an index
  // stands behind the pictures of an AVI, and a RIFF inside nothing.
  bool endsStream(const RawChunk& chunk) const {
    if (open.empty() || !open.back().unfinished) return false;
    return chunk.id == ID_RIFF ||
           (chunk.id == ID_IDX1 && open.back().chunk.groupId == ID_MOVI && !isDataOfStream(chunk));
  }

  bool isTopLevelChunk(const RawChunk& chunk) const {
    if (size - at < HEADER_SIZE) return false;
    return chunk.isGroup() || (isPrintable(chunk.id) && chunk.dataEnd() <= size);
  }

  // --- groups

  void enterGroup(const RawChunk& chunk) {
    if (chunk.dataSize > 0 && chunk.dataSize < GROUP_ID_SIZE) {
      found(at,
            pathOf(chunk) + " has the size " + std::to_string(chunk.dataSize) +
                ", too small for its group id",
            NO_REMEDY);
      moveTo(at + GROUP_HEADER_SIZE);
      return;
    }
    OpenGroup group{chunk, std::min(chunk.end(), limit())};
    group.unfinished = chunk.dataSize == 0 || (chunk.end() > size && isStreamMark(chunk.dataSize));
    if (group.unfinished) {
      if (chunk.dataSize > 0) widenGroups();
      group.end = limit();
    } else if (chunk.end() > limit() && limit() < size) {
      passesGroupEnd(chunk);
      group.end = std::min(chunk.end(), limit());
    }
    open.push_back(group);
    moveTo(at + GROUP_HEADER_SIZE);
  }

  void closeGroup() {
    const RawChunk chunk = open.back().chunk;
    if (open.size() == 1) lastGroup = chunk.offset;
    if (open.back().unfinished) {
      found(chunk.offset, pathOf() + streamText(chunk.dataSize, mended - chunk.dataOffset()));
    } else if (chunk.end() > std::max(at, size)) {
      found(size, "the file ends " + counted(chunk.end() - size, "byte") + " before the end of " +
                      pathOf());
    }
    if (mended != chunk.end() || open.back().unfinished) setSize(chunk, mended);
    open.pop_back();
    groupEnded = groupEnded || open.empty();
  }

  // A chunk leaves its group. Where it ends with the file, it is the group whose size was not
  // brought up to date; else it cannot be told which of them is wrong, and the group is believed.
  void passesGroupEnd(const RawChunk& chunk) {
    const bool endsWithFile = chunk.end() == size || chunk.dataEnd() == size;
    found(at,
          pathOf(chunk) + " ends " + counted(chunk.end() - limit(), "byte") +
              " behind the end of its group",
          endsWithFile ? REMEDY : NO_REMEDY, true);
    if (endsWithFile) widenGroups();
  }

  void widenGroups() {
    for (OpenGroup& group : open) group.end = size;
  }

  // --- data chunks

  void passData(const RawChunk& chunk) {
    const bool isStream = chunk.end() > size && isStreamMark(chunk.dataSize);
    if (isStream || isDataOfStream(chunk)) {
      if (isStream) widenGroups();
      found(at, pathOf(chunk) + streamText(chunk.dataSize, size - chunk.dataOffset()));
      setDataToEnd(chunk);
      at = size;
      return;
    }
    if (chunk.end() > limit() && limit() < size) {
      const bool knownToFail = chunk.end() != size && chunk.dataEnd() != size;
      passesGroupEnd(chunk);
      if (knownToFail) {
        moveTo(limit());
        return;
      }
    }
    if (chunk.end() > size) {
      passCutData(chunk);
    } else {
      moveTo(chunk.end());
      if (chunk.dataSize % 2 == 1) checkPad(chunk);
      emptyData = chunk.id == ID_DATA && chunk.dataSize == 0 && open.size() == 1 ? chunk.offset : 0;
    }
  }

  // Size 0, and up to the end of the file no chunk behind it.
  bool isDataOfStream(const RawChunk& chunk) const {
    if (chunk.dataSize > 0 || open.empty() || limit() < size) return false;
    return size - at > 2 * HEADER_SIZE && !isPrintable(file.chunkAt(chunk.dataOffset()).id);
  }

  void passCutData(const RawChunk& chunk) {
    if (chunk.dataEnd() > size) {
      found(at, pathOf(chunk) + " ends " + counted(chunk.dataEnd() - size, "byte") +
                    " behind the end of the file");
      setDataToEnd(chunk);
    } else {
      found(at, pathOf(chunk) + " lacks the pad byte behind its odd size");
      mended = chunk.end();
    }
    at = chunk.end();
  }

  void setDataToEnd(const RawChunk& chunk) {
    setSize(chunk, size);
    mended = size + (size - chunk.dataOffset()) % 2;
  }

  // Some programs write no pad bytes, and the next chunk begins where this one should stand.
  void checkPad(const RawChunk& chunk) {
    const uint64_t pad = chunk.dataEnd();
    const uint8_t byte = file.byteAt(pad);
    if (byte == 0) return;
    const RawChunk next = file.chunkAt(pad);
    if (next.end() <= limit() && isPrintable(next.id) && !isPrintable(file.chunkAt(at).id)) {
      found(chunk.offset, pathOf(chunk) + " lacks the pad byte behind its odd size", NO_REMEDY);
      moveTo(pad);
    } else {
      found(pad, "the pad byte of " + pathOf(chunk) + " is " + std::to_string(byte) + ", not 0",
            WARNING);
      survey.remedy.stalePads.push_back(pad);
    }
  }

  // --- what is no chunk

  // The bytes up to the end of the group, or of the file, are too few for a header.
  void passRest(uint64_t left) {
    const bool endsFile = limit() == size;
    if (open.empty() || (endsFile && (open.back().unfinished || open.back().chunk.end() > size))) {
      found(at, "the file ends inside a chunk header, " + counted(left, "byte") + " into it",
            survey.chunks > 0 ? REMEDY : NO_REMEDY);
    } else {
      found(
          at,
          counted(left, "byte") + " at the end of " + pathOf() + " are too few for a chunk header",
          endsFile ? REMEDY : NO_REMEDY);
    }
    if (endsFile) {
      at = size;
    } else {
      moveTo(limit());
    }
  }

  void passTrailing(const RawChunk& bytes) {
    const std::string tag = tagName(bytes);
    if (emptyData > 0 && emptyData + HEADER_SIZE == at && tag.empty()) {
      // A program that was stopped before it came back to the sizes.
      const RawChunk data = file.chunkAt(emptyData);
      found(data.offset, "RIFF/data" + streamText(0, size - at));
      setDataToEnd(data);
      setSize(file.chunkAt(lastGroup), mended);
    } else {
      found(at, counted(size - at, "byte") + " behind the last group" + tag, REMEDY,
            (size - at) % HEADER_SIZE != 0 && endsInZeros());
    }
    at = size;
  }

  // As the space does that was set aside for a file and not filled. To the store these are chunks
  // without id and data.
  bool endsInZeros() {
    for (uint64_t offset = at; offset < size; offset += HEADER_SIZE) {
      const RawChunk bytes = file.chunkAt(offset);
      if (bytes.id != 0 || bytes.dataSize != 0) return false;
    }
    return true;
  }

  // --- findings

  enum Kind { REMEDY, NO_REMEDY, WARNING };

  void found(uint64_t offset, std::string what, Kind kind = REMEDY, bool isFatal = false) {
    survey.warnings += kind == WARNING ? 1 : 0;
    survey.damages += kind == WARNING ? 0 : 1;
    survey.withoutRemedy += kind == NO_REMEDY ? 1 : 0;
    progress.clear();
    report({offset, std::move(what), kind == WARNING, kind != NO_REMEDY, isFatal});
  }

  static std::string streamText(uint32_t claimed, uint64_t there) {
    return " has the size " + (claimed == 0 ? "0" : hexadecimal(claimed)) +
           " of an unfinished stream, and " + counted(there, "byte");
  }

  void setSize(const RawChunk& chunk, uint64_t end) {
    const uint64_t newSize = end - chunk.dataOffset();
    if (newSize > MAX_SIZE) {
      found(chunk.offset,
            idText(chunk.id) + " holds " + counted(newSize, "byte") +
                ", more than a size field can tell",
            NO_REMEDY);
    }
    survey.remedy.sizes.push_back({chunk.offset, static_cast<uint32_t>(newSize)});
  }

  void moveTo(uint64_t offset) { at = mended = offset; }

  // The names of the open groups, and of a chunk in the last of them. Of very many groups the
  // middle is left out.
  std::string pathOf() const {
    constexpr std::size_t SHOWN = 4;
    std::string path;
    for (std::size_t i = 0; i < open.size(); ++i) {
      if (i == SHOWN && open.size() > 2 * SHOWN) {
        path += "/...";
        i = open.size() - SHOWN;
      }
      if (i > 0) path += '/';
      path += nameText(open[i].chunk.id, open[i].chunk.groupId);
    }
    return path;
  }

  std::string pathOf(const RawChunk& chunk) const {
    const std::string name = nameText(chunk.id, chunk.groupId);
    return open.empty() ? name : pathOf() + "/" + name;
  }

  RawBytes& file;
  uint64_t size;
  const Report& report;
  Progress progress;
  uint64_t at = 0;
  uint64_t mended = 0;
  std::vector<OpenGroup> open;
  bool groupEnded = false;  // at the top level
  uint64_t lastGroup = 0;   // offset of the last one there
  uint64_t emptyData = 0;   // offset of the last data chunk, if it is an empty "data"
  Survey survey;
};

}  // namespace

std::string findingText(const Finding& finding) {
  return finding.what + " (at offset " + std::to_string(finding.offset) + ")";
}

Survey surveyBytes(const std::string& name, RawBytes& bytes, const Report& report) {
  return Walker(name, bytes, report).run();
}

Survey surveyFile(const std::string& file, const Report& report) {
  const Original original(file, Original::LOOK);
  RawBytes bytes(original.get());
  return surveyBytes(file, bytes, report);
}

std::optional<Finding> firstDamage(const std::string& name, RawBytes& bytes) {
  std::optional<Finding> first;
  surveyBytes(name, bytes, [&](const Finding& finding) {
    if (!first && !finding.isWarning) first = finding;
  });
  return first;
}

std::optional<Finding> firstDamage(const std::string& file) {
  const Original original(file, Original::LOOK);
  RawBytes bytes(original.get());
  return firstDamage(file, bytes);
}

std::optional<Finding> requireOpenable(const std::string& name, RawBytes& bytes) {
  auto damage = firstDamage(name, bytes);
  if (damage && damage->isFatal) throw Failure(name, findingText(*damage));
  return damage;
}

std::optional<Finding> damageByEdit(const std::string& name, RawBytes& before, RawBytes& after) {
  auto damage = firstDamage(name, after);
  if (!damage || firstDamage(name, before)) return std::nullopt;
  return damage;
}

}  // namespace tool
