// velmor-core tag

#include <unistd.h>

#include <algorithm>
#include <array>
#include <iostream>

#include "app/command.h"
#include "app/encoding.h"
#include "app/errors.h"
#include "app/jobs.h"
#include "app/text.h"
#include "chunks/file_kind.h"
#include "chunks/input.h"
#include "editing/tag_edit.h"
#include "known/bext_value.h"
#include "known/info_names.h"
#include "looking/tags.h"

namespace tool {

namespace {

constexpr Option ENCODING{"--encoding", true};
constexpr std::array OPTIONS = {JSON, ENCODING, JOBS, DRY_RUN, OUTPUT, FORCE, IN_PLACE};

// --- the operands

// Common names may be typed in capitals, as in tags of other formats.
std::string lowered(std::string_view name) {
  std::string text(name);
  for (char& each : text) {
    if (each >= 'A' && each <= 'Z') each = static_cast<char>(each - 'A' + 'a');
  }
  return text;
}

// The ids that a name stands for: those of a common name, or the id itself.
std::vector<uint32_t> infoIdsOf(std::string_view name) {
  std::vector<uint32_t> ids;
  for (const InfoName& known : INFO_NAMES) {
    if (known.name == lowered(name)) ids.push_back(known.id);
  }
  constexpr std::size_t ID_SIZE = 4;
  const bool isId =
      name.size() == ID_SIZE && std::ranges::all_of(name, [](char character) {
        return (character >= 'A' && character <= 'Z') || (character >= '0' && character <= '9');
      });
  if (ids.empty() && isId) ids.push_back(parseId(name));
  return ids;
}

// The operands of the command, divided into files and assignments.
class Operands {
 public:
  Operands(const Arguments& arguments, const Encoding& encoding) : encoding(encoding) {
    for (const std::string& word : arguments.all()) {
      if (!takeAssignment(word)) files.push_back(word);
    }
    if (files.empty()) throw UsageError("no file is given");
  }

  std::vector<std::string> files;
  TagAssignments assignments;
  bool areAssigning() const { return !assignments.info.empty() || !assignments.bext.empty(); }

 private:
  bool takeAssignment(const std::string& word) {
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos) return false;
    const std::string name = word.substr(0, equals);
    const std::string text = word.substr(equals + 1);
    if (const BextField* field = findBextField(lowered(name))) {
      addBext(*field, text);
    } else if (const std::vector<uint32_t> ids = infoIdsOf(name); !ids.empty()) {
      addInfo(name, ids, text);
    } else if (name.find('/') == std::string::npos && ::access(word.c_str(), F_OK) == -1) {
      throw UsageError("there is no tag \"" + name + "\" (and no file \"" + word + "\")");
    } else {
      return false;
    }
    return true;
  }

  void addInfo(const std::string& name, const std::vector<uint32_t>& ids, const std::string& text) {
    if (isGroupId(ids[0]) || ids[0] == ID_JUNK) throw UsageError(name + " cannot hold a text");
    for (const InfoAssignment& before : assignments.info) {
      if (std::ranges::find_first_of(before.ids, ids) != before.ids.end()) throwTwice(name);
    }
    assignments.info.push_back({ids, encoded(name, text)});
  }

  void addBext(const BextField& field, const std::string& text) {
    if (field.name == "bext-version") {
      throw UsageError("bext-version cannot be set: it follows from the other fields");
    }
    if (std::ranges::count(assignments.bext, &field, &BextAssignment::field) > 0) {
      throwTwice(std::string(field.name));
    }
    const std::string bytes = bextBytes(field, encoded(std::string(field.name), text));
    assignments.bext.push_back({&field, bytes, text.empty()});
  }

  [[noreturn]] static void throwTwice(const std::string& name) {
    throw UsageError(name + " is given twice");
  }

  std::string encoded(const std::string& name, const std::string& text) const {
    if (const auto bytes = encoding.fromUtf8(text)) return *bytes;
    throw UsageError(name + "=\"" + text + "\": cannot be converted from UTF-8");
  }

  const Encoding& encoding;
};

// --- the two ways to run

// Setting tags mostly waits for the disk, and the disk can write several files at once.
constexpr std::size_t USUAL_JOBS = 8;

int listTags(const Operands& operands, const Arguments& arguments, const Encoding& encoding) {
  for (const Option& option : EDIT_OPTIONS) {
    if (arguments.has(option.name)) {
      throw UsageError(std::string(option.name) + " needs a tag to set, such as title=\"...\"");
    }
  }
  const auto print = arguments.has(JSON.name) ? printTagsJson : printTags;
  return forEachFile(arguments, operands.files, [&](const std::string& file) {
    const std::string name = inputName(file);
    const Input input(file);
    RawBytes bytes = input.bytes();
    requireRiff(name, bytes);
    try {
      print(arguments.has(JSON.name) ? file : name, bytes, encoding);
    } catch (const Failure& failure) {
      throw Failure(name, failure.what());
    }
    return 0;
  });
}

int editTags(const Operands& operands, const Arguments& arguments) {
  if (arguments.has(JSON.name)) throw UsageError("--json lists tags, and does not set them");
  const EditWay way(arguments);
  if (way.output && operands.files.size() > 1) throw UsageError("-o takes the result of one file");
  const auto edit = [&](const std::string& file) {
    bool isChanged = true;
    editFile({file, "tag", operands.assignments.room()}, way, [&](const Chunk& root) {
      Change change = setTags(root, operands.assignments);
      isChanged = !change.isNothing();
      return change;
    });
    if (!isChanged) std::cout << printable(file) << ": has these tags already\n";
    return 0;
  };
  return forEachFile(arguments, operands.files, edit, 1, USUAL_JOBS);
}

int runTag(const Arguments& arguments) {
  const auto name = arguments.value(ENCODING.name);
  const Encoding encoding = name ? Encoding(*name) : Encoding();
  const Operands operands(arguments, encoding);
  return operands.areAssigning() ? editTags(operands, arguments)
                                 : listTags(operands, arguments, encoding);
}

// --- the help

// The common names and their ids, in columns.
std::string infoNamesText() {
  constexpr std::size_t COLUMNS = 4;
  constexpr std::size_t NAME_WIDTH = 14;
  constexpr std::string_view GAP = "   ";
  std::string text;
  std::size_t count = 0;
  for (const InfoName& each : INFO_NAMES) {
    text.append(count % COLUMNS == 0 ? "  " : GAP).append(each.name);
    text.append(NAME_WIDTH - each.name.size(), ' ').append(idText(each.id));
    if (++count % COLUMNS == 0 || count == INFO_NAMES.size()) text += '\n';
  }
  return text;
}

const std::string HELP = R"(
Without NAME=TEXT, lists the tags of each file: the common name, the chunk that holds it, and the
value. With NAME=TEXT, sets the tags of all files: a text replaces the one before, and an empty TEXT
removes it. All tags of a file are set in one edit. A file that has them already is not written.

WAVE and AVI files have texts in LIST:INFO. These are the common names and their chunks:

)" + infoNamesText() + R"(
Any other chunk of LIST:INFO is named by its id, four capital letters or digits: ISBN="...". If a
name has two ids, a new chunk gets the first. If a file has several chunks for one name, the first
is replaced and the others are removed. A file without LIST:INFO gets one. A WAVE file gets it after
its data. An AVI file gets it in free space (JUNK) if it fits there, and at the end of its RIFF
group otherwise. A list that becomes empty is removed.

WAVE files may also have a bext chunk (EBU Tech 3285), with these names:

  description             256 bytes            umid                      64 or 128 hex digits
  originator              32 bytes             loudness                  LUFS, such as -23.0
  originator-reference    32 bytes             loudness-range            LU
  origination-date        yyyy-mm-dd           max-true-peak             dBTP
  origination-time        hh:mm:ss             max-momentary-loudness    LUFS
  time-reference          samples              max-short-term-loudness   LUFS
  coding-history          lines of text

A file without bext chunk gets one, in free space if it fits there, and after its data otherwise.
The version of the chunk is listed as bext-version. It becomes at least 1 if a UMID is set, at least
2 if a loudness is set, and is never lowered. All values are checked before a file is changed.

Names may be typed in capitals. A word in which "=" follows a name or an id always sets a tag: write
./title=x.wav for a file with such a name. The tags of RF64, BW64 and RIFX files can be listed, but
not set.

When tags are listed, FILE "-" is standard input. Of a text in a pipe, only the first 64 KiB are
kept, and files with longer texts are refused.

--encoding NAME   the texts in the files have this encoding instead of UTF-8, such as ISO-8859-1 or
                  WINDOWS-1252, both when they are listed and when they are set. Texts on the
                  command line and in the list are always UTF-8. If a text in a file cannot be
                  converted, it is listed unconverted, and \xHH stands for each byte that is not
                  UTF-8.
--jobs N, -j N    work on N files at the same time; 0 is the number of processors. The default is 1.
                  When tags are set it is 8, because the program mostly waits for the disk, and the
                  disk can write several files at once.
--json            list the tags of each file as one JSON object on a line of its own:
                    {"version":1,"command":"tag","file":"a.wav","tags":[
                     {"name":"title","chunk":"INAM","value":"Concert pitch"},...
                  Numbers of bext are JSON numbers. U+FFFD replaces bytes that cannot be converted.

A WebP file has no tags of this kind. Its texts are in the chunks XMP and EXIF, which "velmor-core
show" and "velmor-core set" read and write. See "velmor-core set --help" also for the other options.
)";

}  // namespace

const Command TAG = {
    .name = "tag",
    .synopsis =
        "[--json] [--encoding NAME] [--dry-run | -o OUTPUT [--force] | --in-place] [--jobs N] "
        "FILE... [NAME=TEXT...]",
    .summary = "List, set and remove the tags of WAVE and AVI files",
    .help = HELP,
    .examples = R"(
  velmor-core tag song.wav clip.avi
  velmor-core tag song.wav title="Concert pitch" artist="A Fork" comment=
  velmor-core tag tone.wav originator="A Fork" origination-date=2025-12-31 loudness=-23
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = OPTIONS,
    .run = runTag,
};

}  // namespace tool
