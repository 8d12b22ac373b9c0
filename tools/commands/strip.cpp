// velmor-core strip: drops what players do not need

#include <algorithm>
#include <array>
#include <iostream>
#include <map>
#include <vector>

#include "app/command.h"
#include "app/errors.h"
#include "app/jobs.h"
#include "app/text.h"
#include "editing/editing.h"
#include "verdict/form.h"

namespace tool {

namespace {

constexpr Option KEEP{"--keep", true};
constexpr std::array OPTIONS = {KEEP, DRY_RUN, OUTPUT, FORCE, IN_PLACE, JOBS};

// What a player needs of a RIFF group, by the names of the chunks directly in it.
struct NeededChunks {
  std::string_view form;  // the group id
  std::array<std::string_view, 7> names;
};
constexpr std::array NEEDED = {
    NeededChunks{"WAVE", {"fmt", "fact", "data", "LIST:wavl"}},
    NeededChunks{"AVI", {"LIST:hdrl", "LIST:movi", "idx1"}},
    NeededChunks{"AVIX", {"LIST:movi", "idx1"}},  // the further parts of a large AVI
    NeededChunks{"WEBP", {"VP8X", "ICCP", "ANIM", "ANMF", "ALPH", "VP8", "VP8L"}}};

class Stripper {
 public:
  // `kept` are the lists of names that were given with --keep.
  explicit Stripper(const std::vector<std::string>& kept) {
    for (const std::string& list : kept) {
      for (std::size_t begin = 0; begin <= list.size();) {
        const std::size_t end = std::min(list.find(',', begin), list.size());
        names.push_back(nameOf(list.substr(begin, end - begin)));
        begin = end + 1;
      }
    }
  }

  Change check(const Chunk& virtualRoot) {
    dropped.clear();
    const PlacedChunk top(virtualRoot, 0);
    for (PlacedChunk chunk = top.firstChild(); chunk; chunk = chunk.next()) {
      if (chunk.id() == ID_RIFF) {
        dropFrom(chunk);
      } else if (!isNamed(chunk)) {
        dropped.push_back(chunk);
      }
    }
    sumUp();
    return removeChunks(virtualRoot, dropped);
  }

  // What the last call of check() found to drop, such as "JUNK (2 times), LIST:INFO: 1,024 bytes".
  // Empty if there was nothing to drop.
  const std::string& summary() const { return said; }

 private:
  static PathStep nameOf(const std::string& text) {
    const ChunkPath path(text);
    if (&path.first() != &path.last() || path.last().number) {
      throw UsageError("\"" + text + "\": --keep takes names such as data or LIST:INFO");
    }
    return path.last();
  }

  void dropFrom(const PlacedChunk& riff) {
    const auto* const needed = std::ranges::find_if(
        NEEDED, [&](const NeededChunks& chunks) { return parseId(chunks.form) == riff.groupId(); });
    if (needed == NEEDED.end() && names.empty()) {
      throw Failure("what a player needs of " + riff.name() + " is not known; --keep names it");
    }
    for (PlacedChunk chunk = riff.firstChild(); chunk; chunk = chunk.next()) {
      const bool isNeeded =
          needed != NEEDED.end() && std::ranges::count(needed->names, chunk.name()) > 0;
      if (!isNeeded && !isNamed(chunk)) dropped.push_back(chunk);
    }
  }

  bool isNamed(const Chunk& chunk) const {
    return std::ranges::any_of(names, [&](const PathStep& name) { return name.fits(chunk); });
  }

  void sumUp() {
    constexpr std::size_t SHOWN = 10;
    uint64_t bytes = 0;
    std::map<std::string, uint64_t> counts;
    for (const PlacedChunk& chunk : dropped) {
      bytes += chunk.totalSize();
      ++counts[chunk.name()];
    }
    std::string list;
    std::size_t kinds = 0;
    for (const auto& [name, count] : counts) {
      if (++kinds > SHOWN) break;
      list += (list.empty() ? "" : ", ") + name;
      if (count > 1) list += " (" + grouped(count) + " times)";
    }
    if (kinds > SHOWN) list += ", and " + counted(counts.size() - SHOWN, "other name");
    said = dropped.empty() ? "" : list + ": " + grouped(bytes) + " bytes";
  }

  std::vector<PathStep> names;
  std::vector<PlacedChunk> dropped;
  std::string said;
};

int runStrip(const Arguments& arguments) {
  const EditWay way(arguments);
  if (way.output && arguments.count() > 1) throw UsageError("-o takes the result of one file");
  Stripper stripper(arguments.values(KEEP.name));
  return forEachFile(arguments, [&](const std::string& file) {
    editFile({file, "strip", ROOM_FOR_PAD}, way,
             [&](const Chunk& virtualRoot) { return stripper.check(virtualRoot); });
    const std::string& summary = stripper.summary();
    std::cout << printable(file) << ": "
              << (summary.empty() ? "nothing to drop"
                                  : (way.isDryRun ? "would drop " : "dropped ") + summary)
              << '\n';
    return 0;
  });
}

}  // namespace

const Command STRIP = {
    .name = "strip",
    .synopsis = "[--keep NAMES] [--dry-run | -o OUTPUT [--force] | --in-place] [--jobs N] FILE...",
    .summary = "Drop the chunks that a player does not need: tags, padding and others",
    .help = R"(
Sound and pictures stay as they are, bit for bit. The form of the RIFF group decides which chunks
stay, with everything in them:

  WAVE   fmt, fact, data, LIST:wavl
  AVI    LIST:hdrl, LIST:movi, idx1
  AVIX   LIST:movi, idx1
  WEBP   VP8X, ICCP, ANIM, ANMF, ALPH, VP8, VP8L

All other chunks of these groups, and all chunks beside them, are dropped, among them free chunks
(JUNK), cue points and markers. A file of another form is refused without --keep. Each file is an
edit of its own: if one fails, the others are done all the same.

--keep NAMES   also keep chunks of these names, which are separated by commas: bext,LIST:INFO. For a
               group of another form, keep these only. May be given several times.
-o OUTPUT      write the result to this file; for one FILE only
--jobs N       strip N files at the same time; see "velmor-core --help"

See "velmor-core set --help" for the other options.
)",
    .examples = R"(
  velmor-core strip clip.avi alpha.webp
  velmor-core strip --keep bext,LIST:INFO song.wav
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = OPTIONS,
    .run = runStrip,
};

}  // namespace tool
