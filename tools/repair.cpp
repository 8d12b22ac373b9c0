// velmor-core repair

#include <algorithm>
#include <array>
#include <iostream>
#include <vector>

#include "command.h"
#include "errors.h"
#include "file.h"
#include "progress.h"
#include "raw_bytes.h"
#include "survey.h"
#include "target.h"
#include "text.h"

namespace tool {

namespace {

constexpr Option OUTPUT{"-o", true};
constexpr Option IN_PLACE{"--in-place"};
constexpr Option DROP_TRAILING{"--drop-trailing"};
constexpr Option FORCE{"--force"};
constexpr std::array OPTIONS = {OUTPUT, FORCE, IN_PLACE, DROP_TRAILING};

constexpr uint32_t ID_TAIL = VELMOR_CORE_RIFF_ID('t', 'a', 'i', 'l');
// A header for what belongs to no chunk, and a pad byte.
constexpr uint64_t ROOM = HEADER_SIZE + 2;
constexpr uint64_t BLOCK = 1 << 20;

// Moves bytes towards the end of a file, the last ones first, so that none is lost.
void moveUp(const File& file, uint64_t begin, uint64_t end, uint64_t distance) {
  Progress progress("moving bytes", end - begin);
  std::vector<char> block(std::min(BLOCK, end - begin));
  for (uint64_t left = end - begin; left > 0;) {
    const uint64_t count = std::min(left, BLOCK);
    left -= count;
    file.readAll(block.data(), count, begin + left);
    file.writeAt(block.data(), count, begin + left + distance);
    progress.at(end - begin - left);
  }
}

// Carries out what a survey has found necessary, and says so line by line.
class Mender {
 public:
  Mender(const std::string& name, const File& file, const Survey& survey)
      : name(name), file(file), survey(survey) {}

  // What makes the file longer comes first: that is where an edit usually fails.
  void mend(bool dropTrailing) const {
    if (survey.trailing() > 0) {
      if (dropTrailing) {
        drop();
      } else {
        wrap();
      }
    }
    if (survey.remedy.padIsMissing) {
      writeZero(survey.fileSize);
      say("added the pad byte that was missing", survey.fileSize);
    }
    for (const Remedy::Size& size : survey.remedy.sizes) setSize(size);
    for (const uint64_t offset : survey.remedy.stalePads) {
      writeZero(offset);
      say("set the pad byte to 0", offset);
    }
  }

 private:
  void drop() const {
    file.resize(survey.remedy.end);
    say("dropped " + counted(survey.trailing(), "byte") + " that belonged to no chunk",
        survey.remedy.end);
  }

  // Gives bytes that belong to no chunk a header. They stay the last bytes of the file, where those
  // who know about them look for them.
  void wrap() const {
    const uint64_t start = survey.remedy.end;
    const uint64_t size = survey.trailing();
    moveUp(file, start, survey.fileSize, HEADER_SIZE);
    if (size % 2 == 1) writeZero(survey.fileSize + HEADER_SIZE);
    const auto length = littleEndianBytes(static_cast<uint32_t>(size));
    file.writeAt(littleEndianBytes(ID_TAIL).data(), length.size(), start);
    file.writeAt(length.data(), length.size(), start + length.size());
    say("kept " + counted(size, "byte") + " that belonged to no chunk, in a chunk tail", start);
  }

  void setSize(const Remedy::Size& wanted) const {
    std::array<uint8_t, 4> id{};
    file.readAll(id.data(), id.size(), wanted.offset);
    const auto size = littleEndianBytes(wanted.size);
    file.writeAt(size.data(), size.size(), wanted.offset + id.size());
    say("set the size of " + idText(VELMOR_CORE_RIFF_ID(id[0], id[1], id[2], id[3])) + " to " +
            std::to_string(wanted.size),
        wanted.offset);
  }

  void writeZero(uint64_t offset) const {
    const char zero = 0;
    file.writeAt(&zero, 1, offset);
  }

  void say(const std::string& what, uint64_t offset) const {
    std::cout << printable(name) << ": " << what << " (at offset " << offset << ")\n";
  }

  const std::string& name;
  const File& file;
  const Survey& survey;
};

// song.wav becomes song.repaired.wav
std::string repairedName(const std::string& file) {
  const std::size_t nameStart = file.rfind('/') == std::string::npos ? 0 : file.rfind('/') + 1;
  const std::size_t dot = file.rfind('.');
  const bool hasEnding = dot != std::string::npos && dot > nameStart;
  return file.substr(0, hasEnding ? dot : file.size()) + ".repaired" +
         (hasEnding ? file.substr(dot) : "");
}

// Throws Failure unless all that is wrong has one right answer.
Survey requireRemedy(const Original& original) {
  const std::string& file = original.name();
  RawBytes bytes(original.get());
  Survey survey = surveyBytes(file, bytes, [&](const Finding& finding) {
    if (!finding.hasRemedy) complain(file + ": " + findingText(finding));
  });
  if (survey.withoutRemedy > 0) {
    throw Failure(file, "not repaired: what is named above has no single right answer");
  }
  if (survey.trailing() > MAX_SIZE) {
    throw Failure(file, "not repaired: more than 4 GiB belong to no chunk");
  }
  return survey;
}

int runRepair(const Arguments& arguments) {
  const std::string& file = arguments[0];
  const std::optional<std::string> output = arguments.value(OUTPUT.name);
  const bool dropTrailing = arguments.has(DROP_TRAILING.name);
  const bool inPlace = arguments.has(IN_PLACE.name);
  if (output && inPlace) throw UsageError("-o and --in-place exclude each other");
  const Original original(file, inPlace ? Original::EDIT : Original::COPY);
  const Survey survey = requireRemedy(original);
  if (survey.isClean() && !output) {
    std::cout << printable(file) << ": sound, nothing to repair\n";
    return 0;
  }
  const std::string name = inPlace ? file : output.value_or(repairedName(file));
  const auto target = inPlace ? editInPlace(original, ROOM, "repair")
                              : writeOutput(original, name, arguments.has(FORCE.name));
  try {
    target->begin();
    Mender(name, target->file(), survey).mend(dropTrailing);
    target->finish();
  } catch (const Failure& failure) {
    throw Failure(failure.what() + target->consequence());
  }
  if (survey.isClean()) {
    std::cout << printable(file) << ": sound, copied to " << printable(name) << '\n';
  }
  return 0;
}

}  // namespace

const Command REPAIR = {
    .name = "repair",
    .synopsis = "FILE [-o OUTPUT [--force] | --in-place] [--drop-trailing]",
    .summary = "Mend what has one right answer, in a copy",
    .help = R"(
Sets the sizes of unfinished streams, of chunks that were cut short and of the groups around them to
the bytes that are there, adds the pad byte that is missing at the end, and sets pad bytes to 0. No
byte of data is changed or lost; "velmor-core check" then finds nothing. If anything is wrong that
has more than one answer (a chunk that ends behind its group, say), nothing is written at all.

Bytes behind the last group, such as a tag, or what is left of a header, belong to no chunk. They
are kept as the data of a top-level chunk "tail" at the end of the file.

-o OUTPUT         write to this file, also if there is nothing to repair;
                  otherwise song.wav is written to song.repaired.wav
--force           replace OUTPUT if it exists
--in-place        write to the file itself; see "velmor-core set --help"
--drop-trailing   drop the bytes that belong to no chunk
)",
    .minOperands = 1,
    .maxOperands = 1,
    .options = OPTIONS,
    .run = runRepair,
};

}  // namespace tool
