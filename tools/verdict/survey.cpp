// What is wrong with the headers of a RIFF file.
//
// The survey keeps two positions:
//   walk.offset()  the end of the chunks that were passed, according to the size fields. If the
//                  last data chunk is cut short, this offset is past the end of the file. Then a
//                  group that ends at this offset gets a new size but no finding of its own.
//   repairedAt     the end of the chunks that were passed, in the repaired file.
//
// The plan changes a size for two purposes only: so that a data chunk ends with the file, or so
// that a group ends with its last child. The repair also adds a pad byte that is missing at the end
// of the file. It puts tags or a cut header after the last chunk into a chunk "tail", unless the
// user drops them. All other damage is doubtful.
#include "verdict/survey.h"

#include <algorithm>

#include "app/command.h"
#include "app/errors.h"
#include "app/progress.h"
#include "app/text.h"
#include "chunks/file_kind.h"
#include "chunks/header_walk.h"
#include "chunks/input.h"
#include "known/avi.h"
#include "verdict/form.h"
#include "verdict/trailing.h"
#include "verdict/wide_sizes.h"

namespace tool {

namespace {

// The library may open files with at most this many zeros, which it takes for empty chunks.
constexpr uint64_t FEW_ZEROS = 1 << 16;

// Sizes that programs write before a stream whose length they do not know yet. They are near 2^31
// or 2^32, but not always equal: some programs subtract a little, others add the size of the
// headers.
constexpr bool isStreamMark(uint64_t size) {
  return (size >= 0x7FFF'F000 && size <= 0x8000'FFFF) ||
         (size >= 0xFFFF'F000 && size <= 0xFFFF'FFFF) || size == MAX_WIDE_SIZE;
}

std::string streamText(uint64_t claimed, uint64_t there) {
  const bool isHuge = claimed == MAX_WIDE_SIZE;
  const std::string size = isHuge ? "2^62 or more" : hexadecimal(static_cast<uint32_t>(claimed));
  return " has the size " + (claimed == 0 ? "0" : size) +
         ", as an unfinished stream has, but holds " + counted(there, "byte");
}

class Surveyor {
 public:
  Surveyor(const std::string& name, RawBytes& bytes, const Report& report)
      : bytes(bytes),
        size(bytes.size()),
        report([this, &report](const Finding& finding) { count(finding, report); }),
        progress("checking " + name, size),
        walk(bytes),
        headersLeft(2 * size / HEADER_SIZE) {
    survey.fileSize = size;
  }

  Survey run() {
    if (const auto kind = foreignKind(bytes)) {
      stayClosed();
      found(0, *kind, Severity::DOUBTFUL);
      return survey;
    }
    if (bytes.format().isWide()) checkWideSizes(bytes, this->report);
    while (!walk.isDone()) {
      progress.at(walk.offset());
      if (walk.isAtGroupEnd()) {
        closeGroup();
      } else {
        step();
      }
    }
    survey.plan.end = std::min(repairedAt, size);
    survey.plan.padIsMissing = repairedAt > size;
    return survey;
  }

 private:
  void step() {
    const RawChunk chunk = walk.chunk();
    const uint64_t left = walk.limit() - walk.offset();
    if (left >= HEADER_SIZE && endsStream(chunk)) {
      closeGroup();
    } else if (walk.level() == 0 && survey.chunks > 0 && !isTopLevelChunk(chunk)) {
      passTrailing();
    } else if (left < (chunk.isGroup() && left >= HEADER_SIZE ? GROUP_HEADER_SIZE : HEADER_SIZE)) {
      passRest(left);
    } else if (chunk.id == 0 && chunk.dataSize == 0) {
      passZeros();
    } else {
      ++survey.chunks;
      if (chunk.isGroup()) {
        enterGroup(chunk);
      } else {
        passData(chunk);
      }
    }
  }

  // Whether a chunk shows that the innermost group, whose size is not known, ends here. An index
  // follows the pictures of an AVI and is not in their group; a RIFF is in no group.
  bool endsStream(const RawChunk& chunk) const {
    if (walk.level() == 0 || walk.claimedEnd() != HeaderWalk::NOWHERE) return false;
    return chunk.isRiff || (chunk.id == ID_IDX1 && walk.group().groupId == ID_MOVI);
  }

  // The header of a group is trusted if its group id is printable. Other bytes may look like the
  // header of a data chunk by chance. Such a header counts only if chunks lead from it to the end
  // of the file, as leadsTo() describes it.
  bool isTopLevelChunk(const RawChunk& chunk) {
    if (size - walk.offset() < HEADER_SIZE) return false;
    if (chunk.isGroup() && isPrintable(chunk.groupId)) return true;
    if (!topLevelFits) topLevelFits = leadsTo(size, walk.offset(), Ids::ANY, bytes, headersLeft);
    return topLevelFits;
  }

  // --- groups

  void enterGroup(const RawChunk& chunk) {
    const uint64_t groupEnd = walk.claimedEnd();
    if (chunk.isRiff && walk.level() > 0 && (chunk.end() > groupEnd || groupEnd > size)) {
      found(chunk.offset, path(chunk) + " lies in a group that should end before it",
            Severity::DOUBTFUL);
    }
    const bool mayBeStream = walk.level() == 0 || chunk.groupId == ID_MOVI;
    const bool isMarked = chunk.end() > size && isStreamMark(chunk.dataSize);
    const bool isStream = mayBeStream && (chunk.dataSize == 0 || isMarked);
    if (chunk.dataSize < GROUP_ID_SIZE && !isStream) {
      found(chunk.offset,
            path(chunk) + " has the size " + std::to_string(chunk.dataSize) +
                ", too small for its group id",
            Severity::DOUBTFUL);
      stayClosed();
      moveTo(chunk.offset + GROUP_HEADER_SIZE);
      return;
    }
    if (isStream && isMarked) {
      walk.extendGroups();
    } else if (!isStream && chunk.end() > walk.limit() && chunk.end() > walk.claimedEnd()) {
      leaveGroupEnd(chunk);
    }
    if (walk.level() == 0) form = makeForm(bytes, report, chunk);
    take(chunk);
    walk.enter(chunk, isStream);
    repairedAt = walk.offset();
  }

  void closeGroup() {
    const std::string name = pathIfNeeded();
    const bool reachesFarther = walk.isExtended();
    const OpenGroup group = walk.leave();
    if (walk.offset() != group.end()) stayClosed();
    if (group.isOpenEnded) {
      found(group.offset, name + streamText(group.dataSize, repairedAt - group.dataOffset()));
    } else if (!reachesFarther && group.end() > std::max(walk.offset(), size) &&
               group.end() <= walk.claimedEnd()) {
      found(size,
            "the file ends " + counted(group.end() - size, "byte") + " before the end of " + name);
    }
    if (group.isOpenEnded || repairedAt != group.end()) setSize(group.offset, repairedAt);
    if (walk.level() == 0) {
      lastGroup = group;
      topLevelFits = false;
      if (form) form->finish();
      form.reset();
    }
  }

  // Building a path takes as long as the rest of closing a group. Most groups are sound and need
  // none.
  std::string pathIfNeeded() const {
    const OpenGroup& group = walk.group();
    return group.isOpenEnded || group.end() > size ? path() : std::string();
  }

  // Handles a chunk that ends past the end of its group. Returns whether the group's size is out of
  // date. It is if all of these conditions hold:
  //   - The id of the chunk is printable.
  //   - The group ends before the end of the file.
  //   - The group is at the top level or holds the pictures of an AVI.
  //   - The chunk's data ends with the file, or other chunks lead from its end to the end of the
  //     file.
  // Otherwise the size of the chunk or of the group may be wrong, and the group's is trusted.
  bool leaveGroupEnd(const RawChunk& chunk) {
    const bool mayGrow = isPrintable(chunk.id) && walk.claimedEnd() < size &&
                         (walk.level() == 1 || walk.group().groupId == ID_MOVI);
    const bool grows = mayGrow && (chunk.dataEnd() == size ||
                                   leadsTo(size, chunk.end(), Ids::PRINTABLE, bytes, headersLeft));
    found(chunk.offset,
          path(chunk) + " ends " + counted(chunk.end() - walk.claimedEnd(), "byte") +
              " past the end of its group",
          grows ? Severity::DAMAGE : Severity::DOUBTFUL);
    stayClosed();
    if (grows) walk.extendGroups();
    return grows;
  }

  // --- data chunks

  void passData(const RawChunk& chunk) {
    if (isLostGroup(chunk)) {
      found(chunk.offset,
            path(chunk) + " looks like a group of frames, but its id is that of a data chunk",
            Severity::DOUBTFUL);
    }
    if (isLostFrame(chunk)) {
      found(walk.group().offset, path() + " begins with a frame, but its group id is another one",
            Severity::DOUBTFUL);
    }
    if (isStream(chunk)) {
      found(chunk.offset, path(chunk) + streamText(chunk.dataSize, size - chunk.dataOffset()));
      extendToFile(chunk);
      walk.extendGroups();
    } else if (chunk.end() <= walk.limit()) {
      passWholeData(chunk);
    } else {
      passLongData(chunk);
    }
  }

  // Whether a chunk of an AVI begins like a group that holds frames. If one byte of the id of such
  // a group is wrong, players do not find the frames.
  bool isLostGroup(const RawChunk& chunk) {
    if (survey.chunks == 0 || bytes.chunkAt(0).groupId != FORM_AVI) return false;
    if (chunk.groupId == FORM_AVIX) return walk.level() <= 1;
    if (walk.level() == 0) return false;
    const uint32_t parent = walk.group().groupId;
    if (chunk.groupId == ID_MOVI) return walk.level() == 1;
    return chunk.groupId == ID_REC && parent == ID_MOVI && !hasStreamNumber(chunk.id);
  }

  // Whether a chunk is the first one of a group in a RIFF and is a frame, though the group is not
  // for frames.
  bool isLostFrame(const RawChunk& chunk) {
    if (walk.level() != 2 || !isFrameId(chunk.id)) return false;
    const OpenGroup& group = walk.group();
    return chunk.offset == group.offset + GROUP_HEADER_SIZE && group.groupId != ID_MOVI &&
           group.groupId != ID_REC && bytes.chunkAt(0).groupId == FORM_AVI;
  }

  // Handles data that ends past the end of its group or of the file. If its group ends with the
  // file, the data should end there too.
  void passLongData(const RawChunk& chunk) {
    const bool isLast = walk.limit() == size;
    const bool isCut =
        isLast && (walk.claimedEnd() == size || chunk.dataEnd() <= walk.claimedEnd());
    if (isLast && chunk.dataEnd() == size) {
      found(chunk.offset, path(chunk) + " lacks the pad byte after its odd size");
      take(chunk);
      moveTo(chunk.end());
    } else if (!isPrintable(chunk.id) || isText(chunk) || (isCut && isStrangeFrame(chunk))) {
      passUnexplained(chunk);
    } else if (isCut) {
      found(chunk.offset, path(chunk) + " ends " + counted(chunk.dataEnd() - size, "byte") +
                              " past the end of the file");
      extendToFile(chunk);
    } else if (leaveGroupEnd(chunk)) {
      passWholeData(chunk);
    } else {
      take(chunk);
      moveTo(walk.limit());
    }
  }

  // Whether the bytes of a header look like text, such as XMP. After a wrong size, the survey may
  // take a part of such text for a header. An id does not begin with a space. As a size, four
  // printable bytes are 500 MB or more, and only chunks of sound are that large.
  static bool isText(const RawChunk& chunk) {
    return (chunk.id & 0xFF) == ' ' || (chunk.id != ID_DATA && chunk.dataSize <= MAX_SIZE &&
                                        isPrintable(static_cast<uint32_t>(chunk.dataSize)));
  }

  // Whether a chunk among the pictures of an AVI has an id that does not belong there. After a
  // wrong size, the survey may arrive in the middle of an id.
  bool isStrangeFrame(const RawChunk& chunk) const {
    if (walk.level() == 0) return false;
    const uint32_t parent = walk.group().groupId;
    return (parent == ID_MOVI || parent == ID_REC) && chunk.id != ID_JUNK &&
           !hasStreamNumber(chunk.id) && !isOpenDmlIndex(chunk.id, parent);
  }

  void passWholeData(const RawChunk& chunk) {
    take(chunk);
    if (!isPrintable(chunk.id)) {
      found(chunk.offset, path(chunk) + " has an id that is not printable", Severity::WARNING);
    }
    lastData = chunk;
    moveTo(std::min(chunk.end(), size));
    if (chunk.end() > size) repairedAt = chunk.end();
    if (chunk.dataSize % 2 == 1 && chunk.end() <= size) checkPad(chunk);
  }

  // Whether a chunk holds the data of an unfinished stream: its size means "unknown", or is 0 and
  // no chunks follow.
  bool isStream(const RawChunk& chunk) {
    if (walk.level() == 0 || !isPrintable(chunk.id)) return false;
    if (isStreamMark(chunk.dataSize)) return hasMarkedSize(chunk);
    return chunk.dataSize == 0 && chunk.id == ID_DATA && walk.level() == 1 &&
           walk.limit() == size && size > chunk.dataOffset() && !isCutShort() &&
           !leadsTo(size, chunk.dataOffset(), Ids::ANY, bytes, headersLeft);
  }

  // Whether the innermost group should end after the end of the file. Then its size was written
  // before the file was cut, and so were the sizes in the group. A file that lacks only the last
  // pad byte is not cut.
  bool isCutShort() const {
    return walk.claimedEnd() != HeaderWalk::NOWHERE && walk.claimedEnd() > padded(size);
  }

  // Called for a size that may mean "unknown". Returns true if the size cannot be real. There are
  // two such cases:
  //   - The chunk would end past the end of the file, and its group does not end between the start
  //     of the data and the end of the file.
  //   - The chunk would end past the end of its group, and the group's size may also mean
  //     "unknown", as in a file of more than 4 GiB.
  bool hasMarkedSize(const RawChunk& chunk) const {
    const uint64_t claimed = walk.claimedEnd();
    if (claimed == HeaderWalk::NOWHERE) return chunk.end() > size;
    if (isStreamMark(walk.group().dataSize) && chunk.end() > claimed) return true;
    return chunk.end() > size && (claimed >= size || claimed <= chunk.dataOffset());
  }

  void extendToFile(const RawChunk& chunk) {
    take(chunk);
    setSize(chunk.offset, size);
    survey.plan.claimed = {chunk.dataOffset(), size};
    survey.plan.isOfWholeFile = walk.claimedEnd() == size;
    repairedAt = size + (size - chunk.dataOffset()) % 2;
    walk.moveTo(std::max(chunk.end(), size));
  }

  // A byte that is not 0 may still be the pad byte: edits by other programs leave such bytes. But
  // some programs write no pad bytes, and then the next chunk begins at this byte.
  void checkPad(const RawChunk& chunk) {
    const uint64_t pad = chunk.dataEnd();
    const uint8_t byte = bytes.byteAt(pad);
    if (byte == 0) return;
    const RawChunk next = bytes.chunkAt(pad);
    const bool isChunk = next.end() <= walk.limit() && isPrintable(next.id);
    if (isChunk && !isPrintable(bytes.chunkAt(chunk.end()).id)) {
      found(chunk.offset, path(chunk) + " lacks the pad byte after its odd size",
            Severity::DOUBTFUL);
      stayClosed();
      moveTo(pad);
    } else {
      found(pad, "the pad byte of " + path(chunk) + " is " + std::to_string(byte) + ", not 0",
            Severity::WARNING);
    }
  }

  // --- what is no chunk

  // Handles bytes in a group that are no plausible chunk.
  void passUnexplained(const RawChunk& chunk) {
    const uint64_t end = walk.limit();
    found(chunk.offset,
          counted(end - chunk.offset, "byte") + " in " + path() + " belong to no chunk" +
              explanation(end),
          Severity::DOUBTFUL);
    stayClosed();
    moveTo(end);
  }

  // The bytes up to the end of the group are too few for a header.
  void passRest(uint64_t left) {
    const bool isCut = walk.limit() == size && walk.claimedEnd() > size;
    if (walk.level() == 0 || isCut) {
      found(walk.offset(),
            "the file ends inside a chunk header, " + counted(left, "byte") + " into it",
            survey.chunks > 0 ? Severity::DAMAGE : Severity::DOUBTFUL);
    } else {
      found(walk.offset(),
            counted(left, "byte") + " at the end of " + path() + " are too few for a chunk header" +
                explanation(walk.limit()),
            Severity::DOUBTFUL);
    }
    stayClosed();
    if (isCut || walk.level() == 0) {
      walk.moveTo(size);
    } else {
      moveTo(walk.limit());
    }
  }

  // Zeros. The library takes them for chunks of 8 bytes with the null id.
  void passZeros() {
    const uint64_t begin = walk.offset();
    bytes.require(begin, HEADER_SIZE);
    const uint64_t firstByte = bytes.endOfZeros(begin, walk.limit());
    const uint64_t zeros = firstByte - begin;
    zeroBytes += zeros;
    found(begin,
          counted(zeros, "zero byte") + " in " + path() + " belong to no chunk" +
              explanation(firstByte),
          Severity::DOUBTFUL);
    if (zeroBytes > FEW_ZEROS) stayClosed();
    const bool isHeader = zeros % 2 == 0 && isPrintable(bytes.chunkAt(firstByte).id);
    moveTo(firstByte == walk.limit() || isHeader ? firstByte
                                                 : begin + zeros / HEADER_SIZE * HEADER_SIZE);
  }

  // If a data chunk ends directly before bytes that are no chunk, its size may be wrong.
  std::string explanation(uint64_t end) const {
    if (!lastData || lastData->end() != walk.offset() || !isPrintable(lastData->id)) return "";
    return "; they would belong to the chunk " + idText(lastData->id) + " if its size were " +
           std::to_string(end - lastData->dataOffset());
  }

  void passTrailing() {
    const uint64_t begin = walk.offset();
    const std::string what = counted(size - begin, "byte") + " after the last chunk";
    const std::string tags = tagsFrom(begin, bytes);
    const bool isStopped = lastData && lastData->id == ID_DATA && lastData->dataSize == 0 &&
                           lastData->end() == begin && lastGroup.end() == begin;
    if (!tags.empty()) {
      found(begin, what + ": " + tags);
    } else if (isStopped) {
      // The program that wrote the file was stopped before it wrote the sizes.
      found(lastData->offset, idText(lastGroup.id) + "/data" + streamText(0, size - begin));
      setSize(lastData->offset, size);
      survey.plan.claimed = {begin, size};
      repairedAt = size + (size - begin) % 2;
      setSize(lastGroup.offset, repairedAt);
    } else if (bytes.endOfZeros(begin, size) == size) {
      survey.trailingIsDoubtful = true;
      found(begin, what + ", all of them 0" + explanation(size), Severity::DOUBTFUL);
      if (size - begin > FEW_ZEROS) stayClosed();
    } else {
      survey.trailingIsDoubtful = true;
      found(begin, what + explanation(size), Severity::DOUBTFUL);
    }
    walk.moveTo(size);
  }

  // --- findings

  void found(uint64_t offset, const std::string& what, Severity severity = Severity::DAMAGE) {
    // Files of other kinds are not repaired.
    const bool isDoubtful = severity == Severity::DAMAGE && bytes.format().riffId() != ID_RIFF;
    report({offset, what, isDoubtful ? Severity::DOUBTFUL : severity});
  }

  // Counts a finding, also one of a form, and reports it if there were not too many.
  void count(const Finding& finding, const Report& receiver) {
    survey.warnings += finding.isWarning() ? 1 : 0;
    survey.damages += finding.isWarning() ? 0 : 1;
    const bool isDoubtful = finding.isDoubtful();
    survey.doubtful += isDoubtful ? 1 : 0;
    const uint64_t others = survey.warnings + survey.damages - survey.doubtful;
    if ((isDoubtful ? survey.doubtful : others) > MAX_REPORTED) return;
    progress.clear();
    receiver(finding);
  }

  void stayClosed() { survey.mustStayClosed = true; }

  // Empty after very many findings: if millions of chunks are wrong, paths take most of the time.
  std::string path() const { return mayBeReported() ? walk.path() : ""; }
  std::string path(const RawChunk& chunk) const { return mayBeReported() ? walk.path(chunk) : ""; }
  bool mayBeReported() const { return survey.warnings + survey.damages < 100 * MAX_REPORTED; }

  void setSize(uint64_t offset, uint64_t end) {
    if (bytes.format().riffId() != ID_RIFF) return;
    const uint64_t newSize = end - offset - HEADER_SIZE;
    if (newSize > MAX_SIZE) {
      found(offset,
            idText(bytes.chunkAt(offset).id) + " holds " + counted(newSize, "byte") +
                ", more than its size field can hold",
            Severity::DOUBTFUL);
    }
    survey.plan.sizes.push_back({offset, static_cast<uint32_t>(newSize)});
  }

  void take(const RawChunk& chunk) {
    if (form && walk.level() > 0) form->take(chunk, walk.level(), walk.group().groupId);
  }

  void moveTo(uint64_t offset) {
    walk.moveTo(offset);
    repairedAt = offset;
  }

  RawBytes& bytes;
  uint64_t size;
  Report report;
  Progress progress;
  HeaderWalk walk;
  uint64_t repairedAt = 0;
  std::unique_ptr<Form> form;        // of the RIFF that the walk is in
  OpenGroup lastGroup;               // the last one at the top level
  std::optional<RawChunk> lastData;  // the last data chunk that is whole
  uint64_t headersLeft = 0;          // how many headers may still be read ahead of the walk
  bool topLevelFits = false;         // chunks lead from the walk's position to the end of the file
  uint64_t zeroBytes = 0;            // that belong to no chunk
  Survey survey;
};

}  // namespace

std::string findingText(const Finding& finding) {
  return finding.what + " (at offset " + std::to_string(finding.offset) + ")";
}

void complain(const std::string& file, const Finding& finding) {
  complain(file + ": " + (finding.isWarning() ? "warning: " : "") + findingText(finding));
}

void complainOfMore(const std::string& file, uint64_t count) {
  if (count > 0) complain(file + ": " + counted(count, "more finding"));
}

Survey surveyBytes(const std::string& name, RawBytes& bytes, const Report& report) {
  return Surveyor(name, bytes, report).run();
}

Survey surveyFile(const std::string& file, const Report& report) {
  const Input input(file);
  RawBytes bytes = input.bytes();
  return surveyBytes(inputName(file), bytes, report);
}

std::optional<Finding> firstDamage(const std::string& name, RawBytes& bytes) {
  std::optional<Finding> first;
  surveyBytes(name, bytes, [&](const Finding& finding) {
    if (!first && !finding.isWarning()) first = finding;
  });
  return first;
}

std::optional<Finding> requireOpenable(const std::string& name, RawBytes& bytes) {
  requireEditable(name, bytes);
  std::optional<Finding> first;
  const Survey survey = surveyBytes(name, bytes, [&](const Finding& finding) {
    if (!first && !finding.isWarning()) first = finding;
  });
  if (survey.mustStayClosed && first) throw Failure(name, findingText(*first));
  return first;
}

}  // namespace tool
