// velmor-core diff

#include "looking/diff.h"

#include <array>
#include <iostream>

#include "app/command.h"
#include "app/errors.h"
#include "app/json.h"
#include "app/terminal.h"
#include "app/text.h"
#include "chunks/file_kind.h"
#include "file/original.h"

namespace tool {

namespace {

constexpr Option QUIET{"--quiet"};
constexpr Option ANY{"--any"};
constexpr std::array OPTIONS = {JSON, QUIET, ANY};

enum Status { SAME = 0, DIFFERENT = 1, TROUBLE = 2 };

std::string_view wordFor(Difference::Kind kind) {
  constexpr std::array<std::string_view, 4> WORDS = {"removed", "added", "changed", "moved"};
  return WORDS.at(kind);
}

// The data size of a chunk; the number of bytes that are no chunk.
uint64_t sizeOf(const TreeItem& item) {
  return item.kind == TreeItem::CHUNK ? item.chunk.dataSize : item.size;
}

std::string sizeAndPlace(const TreeItem& item) {
  const uint64_t size = sizeOf(item);
  return grouped(size) + (size == 1 ? " byte" : " bytes") + " at " +
         std::to_string(item.chunk.offset);
}

std::string details(const Difference& difference) {
  if (!difference.second) return sizeAndPlace(*difference.first);
  if (!difference.first) return sizeAndPlace(*difference.second);
  const TreeItem& a = *difference.first;
  const TreeItem& b = *difference.second;
  const std::string places =
      std::to_string(a.chunk.offset) + " to " + std::to_string(b.chunk.offset);
  if (difference.kind == Difference::MOVED) return "from " + places;
  if (difference.differsAt) {
    return sizeAndPlace(a) + " and " + std::to_string(b.chunk.offset) + "; data byte " +
           std::to_string(*difference.differsAt) + " is the first that differs";
  }
  if (sizeOf(a) == sizeOf(b)) return sizeAndPlace(a) + ", cut short in one file";
  return "from " + sizeAndPlace(a) + " to " + sizeAndPlace(b);
}

void printDifference(const Difference& difference) {
  constexpr std::size_t WIDTH = 9;
  std::string word(wordFor(difference.kind));
  word.resize(WIDTH, ' ');
  const bool isChange = difference.kind == Difference::CHANGED;
  std::cout << styled(isChange ? Style::WARNING : Style::GROUP, word) << difference.path << "  "
            << details(difference) << '\n';
}

void printSide(std::string_view name, const std::optional<TreeItem>& item) {
  if (!item) return;
  std::cout << ",\"" << name << "\":{\"offset\":" << item->chunk.offset
            << ",\"size\":" << sizeOf(*item) << '}';
}

void printJsonDifference(const Difference& difference) {
  std::cout << "{\"change\":" << quoted(wordFor(difference.kind))
            << ",\"path\":" << quoted(difference.path);
  printSide("first", difference.first);
  printSide("second", difference.second);
  if (difference.differsAt) std::cout << ",\"differsAt\":" << *difference.differsAt;
  std::cout << '}';
}

bool compareJson(RawBytes& first, RawBytes& second, const Arguments& arguments) {
  std::cout << jsonStart("diff", arguments[0]) << ",\"other\":" << quoted(arguments[1])
            << ",\"differences\":[";
  std::string_view separator;
  const bool isSame = compareFiles(first, second, [&](const Difference& difference) {
    std::cout << separator;
    separator = ",";
    printJsonDifference(difference);
    return true;
  });
  std::cout << "],\"same\":" << (isSame ? "true" : "false") << "}\n";
  return isSame;
}

bool compare(RawBytes& first, RawBytes& second, const Arguments& arguments) {
  const bool isQuiet = arguments.has(QUIET.name);
  if (arguments.has(JSON.name) && !isQuiet) return compareJson(first, second, arguments);
  return compareFiles(first, second, [&](const Difference& difference) {
    if (!isQuiet) printDifference(difference);
    return !isQuiet;
  });
}

int runDiff(const Arguments& arguments) {
  try {
    const Original first(arguments[0], Original::LOOK);
    const Original second(arguments[1], Original::LOOK);
    RawBytes firstBytes(first.get());
    RawBytes secondBytes(second.get());
    if (!arguments.has(ANY.name)) {
      requireRiff(first.name(), firstBytes);
      requireRiff(second.name(), secondBytes);
    }
    return compare(firstBytes, secondBytes, arguments) ? SAME : DIFFERENT;
  } catch (const Failure& failure) {
    complain(failure.what());
    return TROUBLE;
  }
}

}  // namespace

const Command DIFF = {
    .name = "diff",
    .synopsis = "[--json] [--quiet] [--any] FILE1 FILE2",
    .summary = "Show which chunks differ between two files",
    .help = R"(
Compares the chunks in groups with the same path. In a group, chunks with the same id and the same
data are paired first. The rest of the chunks with this id are paired in their order. Each line
shows one difference:

  removed   only FILE1 has the chunk
  added     only FILE2 has it
  changed   its data differs; the line shows both sizes, or, if they are equal, the first byte
            that differs, counted from 0
  moved     its place among the other chunks of its group is not the same in both files

Sizes are those of the data, offsets those of the header in each file. Different offsets, different
pad bytes and different sizes of groups do not count as differences by themselves. A group that is
only in one file is one line, without the chunks in it. Runs of zeros and other bytes that are no
chunk are compared too. If the sizes of two chunks differ, their data is usually not read. Large
holes that both files have at the same place in a chunk are skipped.

--quiet   print nothing, and stop at the first difference
--any     compare any files, even those that are no RIFF files, as if they were made of chunks
--json    print one JSON object:
            {"version":1,"command":"diff","file":"a.wav","other":"b.wav","differences":[
             {"change":"changed","path":"RIFF:WAVE/data","first":{"offset":36,"size":8},
              "second":{"offset":36,"size":8},"differsAt":5},...],"same":false}
          Added chunks have no "first", removed ones no "second". Only chunks of the same size
          have "differsAt".

Exit status: 0 nothing differs, 1 something differs, 2 wrong use, or a file cannot be read.
)",
    .examples = R"(
  velmor-core remove song.wav RIFF/LIST -o bare.wav
  velmor-core diff song.wav bare.wav || echo "they differ"
  velmor-core diff --json song.wav song.wav
)",
    .minOperands = 2,
    .maxOperands = 2,
    .options = OPTIONS,
    .run = runDiff,
};

}  // namespace tool
