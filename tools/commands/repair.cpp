// velmor-core repair

#include <algorithm>
#include <array>
#include <iostream>
#include <vector>

#include "app/command.h"
#include "app/errors.h"
#include "app/jobs.h"
#include "app/progress.h"
#include "app/text.h"
#include "chunks/file_kind.h"
#include "editing/editing.h"
#include "file/file.h"
#include "file/target.h"
#include "verdict/survey.h"

namespace tool {

namespace {

constexpr Option KEEP_TRAILING{"--keep-trailing"};
constexpr Option DROP_TRAILING{"--drop-trailing"};
constexpr std::array OPTIONS = {OUTPUT, FORCE, IN_PLACE, KEEP_TRAILING, DROP_TRAILING, JOBS};

constexpr uint32_t ID_TAIL = idOf("tail");
// A header for bytes that belong to no chunk, and a pad byte.
constexpr uint64_t ROOM = HEADER_SIZE + 2;
constexpr uint64_t BLOCK = 1 << 20;

// Moves bytes towards the end of a file, the last ones first, so that none is overwritten before it
// is moved.
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

// Carries out the plan of a survey.
class Repairer {
 public:
  Repairer(const Survey& survey, bool dropTrailing)
      : plan(survey.plan),
        fileSize(survey.fileSize),
        trailing(survey.trailing()),
        dropTrailing(dropTrailing) {}

  // What makes the file longer comes first: that is where an edit usually fails.
  void repair(const File& file) const {
    if (trailing > 0 && dropTrailing) {
      file.resize(plan.end);
    } else if (trailing > 0) {
      wrapTrailing(file);
    }
    if (plan.padIsMissing) writeZero(file, fileSize);
    for (const RawBytes::Patch& size : plan.sizes) {
      const auto field = littleEndianBytes(size.dataSize);
      file.writeAt(field.data(), field.size(), size.offset + field.size());
    }
  }

  // Prints one line for each change to the file `name`. `bytes` are the original's.
  void print(const std::string& name, RawBytes& bytes) const {
    const auto say = [&](const std::string& what, uint64_t offset) {
      std::cout << printable(name) << ": " << what << " (at offset " << offset << ")\n";
    };
    if (trailing > 0) {
      say((dropTrailing ? "dropped " : "kept ") + counted(trailing, "byte") +
              " that belonged to no chunk" + (dropTrailing ? "" : ", in a chunk tail"),
          plan.end);
    }
    if (plan.padIsMissing) say("added the pad byte that was missing", fileSize);
    for (const RawBytes::Patch& size : plan.sizes) {
      say("set the size of " + idText(bytes.chunkAt(size.offset).id) + " to " +
              std::to_string(size.dataSize),
          size.offset);
    }
  }

 private:
  // Writes a header before the bytes that belong to no chunk. They stay at the end of the file,
  // where programs look for tags.
  void wrapTrailing(const File& file) const {
    moveUp(file, plan.end, fileSize, HEADER_SIZE);
    if (trailing % 2 == 1) writeZero(file, fileSize + HEADER_SIZE);
    const auto id = littleEndianBytes(ID_TAIL);
    const auto size = littleEndianBytes(static_cast<uint32_t>(trailing));
    file.writeAt(id.data(), id.size(), plan.end);
    file.writeAt(size.data(), size.size(), plan.end + id.size());
  }

  static void writeZero(const File& file, uint64_t offset) {
    const char zero = 0;
    file.writeAt(&zero, 1, offset);
  }

  const RepairPlan& plan;
  uint64_t fileSize;
  uint64_t trailing;
  bool dropTrailing;
};

// song.wav becomes song.repaired.wav
std::string repairedName(const std::string& file) {
  const std::size_t nameStart = file.rfind('/') == std::string::npos ? 0 : file.rfind('/') + 1;
  const std::size_t dot = file.rfind('.');
  const bool hasEnding = dot != std::string::npos && dot > nameStart;
  return file.substr(0, hasEnding ? dot : file.size()) + ".repaired" +
         (hasEnding ? file.substr(dot) : "");
}

struct Wishes {
  bool keepTrailing;
  bool dropTrailing;
  bool inPlace;
  bool mayReplaceOutput;
  std::optional<std::string> output;
};

// The warnings of "check" about a file. They are not repaired.
struct Warnings {
  std::vector<Finding> first;
  uint64_t count = 0;

  void print(const std::string& file) const {
    for (const Finding& warning : first) complain(file, warning);
    complainOfMore(file, count - first.size());
  }
};

// Surveys a file. Throws Failure if any damage has no single right repair, unless the options say
// what to do with it.
Survey requireRepairable(const std::string& file, RawBytes& bytes, const Wishes& wishes,
                         Warnings& warnings) {
  requireEditable(file, bytes);
  constexpr std::size_t SHOWN = 100;
  std::vector<Finding> doubts;
  Survey survey = surveyBytes(file, bytes, [&](const Finding& finding) {
    if (finding.isWarning()) warnings.first.push_back(finding);
    if (finding.isDoubtful() && doubts.size() < SHOWN) doubts.push_back(finding);
  });
  warnings.count = survey.warnings;
  uint64_t doubtful = survey.doubtful;
  if (survey.trailingIsDoubtful && (wishes.keepTrailing || wishes.dropTrailing)) {
    --doubtful;
    std::erase_if(doubts, [&](const Finding& doubt) { return doubt.offset == survey.plan.end; });
  }
  for (const Finding& doubt : doubts) complain(file, doubt);
  complainOfMore(file, doubtful - doubts.size());
  if (doubtful == 0) return survey;
  const bool canDecide = survey.trailingIsDoubtful && doubtful == 1;
  throw Failure(file, std::string("not repaired: the damage above has no single right repair") +
                          (canDecide ? " (see --keep-trailing and --drop-trailing)" : ""));
}

// Throws Failure if the repaired bytes are still damaged.
Warnings requireSound(const std::string& file, RawBytes& repaired) {
  Warnings warnings;
  std::optional<Finding> damage;
  const Survey survey = surveyBytes(file, repaired, [&](const Finding& finding) {
    if (finding.isWarning()) {
      warnings.first.push_back(finding);
    } else if (!damage) {
      damage = finding;
    }
  });
  if (damage) {
    throw Failure(file, "not repaired: the result would still be damaged: " + findingText(*damage));
  }
  warnings.count = survey.warnings;
  return warnings;
}

// `warnings` are about the file with the plan's changes. Throws Failure if the file is not cut
// short and a warning is about the chunk whose new size reaches to the end of the file. If a file
// is not cut short, its data is a whole number of sample blocks. If it is cut short, its data may
// end anywhere.
void requireGoodSize(const std::string& file, const RepairPlan& plan, const Warnings& warnings) {
  if (!plan.claimed || !plan.isOfWholeFile) return;
  const auto isAboutChunk = [&](const Finding& warning) {
    return warning.offset + HEADER_SIZE == plan.claimed->begin;
  };
  const auto found = std::ranges::find_if(warnings.first, isAboutChunk);
  if (found == warnings.first.end()) return;
  throw Failure(file,
                "not repaired: the new size would be wrong, too. The file is not cut short, and "
                "would have this warning with the new size: " +
                    findingText(*found));
}

// Throws Failure unless the plan makes the file sound. From then on `bytes` shows the file with the
// plan's changes.
void requireGoodPlan(const std::string& file, RawBytes& bytes, const Survey& survey,
                     const Wishes& wishes) {
  const RepairPlan& plan = survey.plan;
  if (survey.trailing() > MAX_SIZE && !wishes.dropTrailing) {
    throw Failure(file, "not repaired: more than 4 GiB belong to no chunk");
  }
  if (plan.claimed) {
    if (const auto hidden = hiddenChunk(*plan.claimed, bytes)) {
      throw Failure(file,
                    "not repaired: with its new size, the chunk whose size is wrong would "
                    "contain " +
                        idText(bytes.chunkAt(*hidden).id) + " (at offset " +
                        std::to_string(*hidden) + ")");
    }
  }
  std::vector<RawBytes::Patch> sizes(plan.sizes.begin(), plan.sizes.end());
  std::ranges::sort(sizes, {}, &RawBytes::Patch::offset);
  bytes.patch(std::move(sizes), plan.end + (plan.padIsMissing ? 1 : 0));
  requireGoodSize(file, plan, requireSound(file, bytes));
}

int repairFile(const std::string& file, const Wishes& wishes) {
  const Original original(file, wishes.inPlace ? Original::EDIT : Original::COPY);
  RawBytes bytes(original.get());
  Warnings warnings;
  const Survey survey = requireRepairable(file, bytes, wishes, warnings);
  const bool nothingToDo = survey.plan.isEmpty(survey.fileSize);
  if (nothingToDo && !wishes.output) {
    warnings.print(file);
    std::cout << printable(file) << ": sound, nothing to repair\n";
    return 0;
  }
  requireGoodPlan(file, bytes, survey, wishes);
  const std::string name = wishes.inPlace ? file : wishes.output.value_or(repairedName(file));
  const auto target = wishes.inPlace ? editInPlace(original, ROOM, "repair")
                                     : writeOutput(original, name, wishes.mayReplaceOutput);
  const Repairer repairer(survey, wishes.dropTrailing);
  try {
    target->begin();
    repairer.repair(target->file());
    RawBytes result(target->file());
    warnings = requireSound(file, result);
    target->finish();
  } catch (const Failure& failure) {
    throw Failure(failure.what() + target->consequence());
  }
  repairer.print(name, bytes);
  warnings.print(name);
  if (nothingToDo) {
    std::cout << printable(file) << ": sound, copied to " << printable(name) << '\n';
  }
  return 0;
}

int runRepair(const Arguments& arguments) {
  const Wishes wishes{arguments.has(KEEP_TRAILING.name), arguments.has(DROP_TRAILING.name),
                      arguments.has(IN_PLACE.name), arguments.has(FORCE.name),
                      arguments.value(OUTPUT.name)};
  if (wishes.output && wishes.inPlace) throw UsageError("-o and --in-place exclude each other");
  if (wishes.output && arguments.count() > 1) throw UsageError("-o takes the result of one file");
  if (wishes.keepTrailing && wishes.dropTrailing) {
    throw UsageError("--keep-trailing and --drop-trailing exclude each other");
  }
  return forEachFile(arguments, [&](const std::string& file) { return repairFile(file, wishes); });
}

}  // namespace

const Command REPAIR = {
    .name = "repair",
    .synopsis =
        "FILE... [-o OUTPUT [--force] | --in-place] [--keep-trailing | --drop-trailing] [--jobs N]",
    .summary = "Write repaired copies of files, where there is only one right repair",
    .help = R"(
Corrects the size fields of streams that were never finished, of chunks that are cut short by the
end of the file, and of the groups that hold them. Adds a pad byte that is missing at the end. A
size is changed for two purposes only: so that the data of a chunk ends with the file, or so that a
group ends with its last chunk. No byte of data is changed, and none is lost without
--drop-trailing. The result is checked before it gets its name: "velmor-core check" finds no damage
in it.

Damage that could be repaired in more than one way, such as a chunk that ends past the end of its
group, is reported with its offset, and nothing is written. Warnings of "check" are not repaired; those
that the result has are printed. In a WAVE file that is not cut short, the data may get a new size
that reaches to the end of the file. This size must be a whole number of sample blocks. Otherwise,
nothing is written.

Two kinds of bytes after the last chunk are kept in a top-level chunk "tail" at the end of the file:
tags (ID3v1, ID3v2, APE), and a chunk header that is cut short by the end of the file. For other
bytes you have to decide: they may be data of the last chunk, left there by an interrupted edit.

-o OUTPUT         write to this file, even if there is nothing to repair; for one FILE only. Without
                  -o, the copy of song.wav is song.repaired.wav
--force           replace OUTPUT or the repaired copy if it exists
--in-place        write to the file itself; see "velmor-core set --help"
--keep-trailing   keep any bytes after the last chunk, in a chunk "tail"
--drop-trailing   drop any bytes after the last chunk
--jobs N          repair N files at the same time; see "velmor-core --help"
)",
    .examples = R"(
  velmor-core repair cut.wav
  velmor-core repair --in-place --jobs 4 *.wav
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = OPTIONS,
    .run = runRepair,
};

}  // namespace tool
