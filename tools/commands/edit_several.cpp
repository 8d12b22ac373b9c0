// velmor-core edit: several edits as one

#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <vector>

#include "app/command.h"
#include "app/errors.h"
#include "app/text.h"
#include "editing/editing.h"
#include "editing/typed_edit.h"
#include "file/bytes.h"

namespace tool {

namespace {

constexpr Option ONE_EDIT{"-e", true};
constexpr Option LINES{"-f", true};
constexpr std::array OPTIONS = {ONE_EDIT, LINES, DRY_RUN, OUTPUT, FORCE, IN_PLACE};
constexpr std::array COMMANDS = {&SET, &ADD, &REMOVE, &RECYCLE};

constexpr std::string_view BLANKS = " \t";

// The text of an edit, and its place among the edits, for messages: "edit 2", "line 7".
struct Line {
  std::string text;
  std::string place;

  std::string name() const { return place + ", \"" + text + "\": "; }
};

// Cuts a text into words. A pair of quotes, single or double, keeps everything between them. No
// other character is special.
std::vector<std::string> wordsOf(std::string_view text) {
  std::vector<std::string> words;
  for (std::size_t at = text.find_first_not_of(BLANKS); at < text.size();
       at = text.find_first_not_of(BLANKS, at)) {
    std::string& word = words.emplace_back();
    while (at < text.size() && BLANKS.find(text[at]) == std::string_view::npos) {
      if (text[at] != '\'' && text[at] != '"') {
        word += text[at++];
        continue;
      }
      const std::size_t end = text.find(text[at], at + 1);
      if (end == std::string_view::npos) throw UsageError("a quote is not closed");
      word += text.substr(at + 1, end - at - 1);
      at = end + 1;
    }
  }
  return words;
}

const Command& findCommand(const std::string& name) {
  const auto* const* found = std::ranges::find(COMMANDS, name, &Command::name);
  if (found == COMMANDS.end()) {
    throw UsageError("\"" + name + "\" is no edit; the edits are set, add, remove and recycle");
  }
  return **found;
}

std::unique_ptr<TypedEdit> parseEdit(const std::vector<std::string>& words) {
  if (words.empty()) throw UsageError("no edit is given");
  const Command& command = findCommand(words.front());
  const Arguments arguments{std::span(words).subspan(1), command};
  for (const Option& option : {DRY_RUN, OUTPUT, IN_PLACE}) {
    if (arguments.has(option.name)) {
      throw UsageError(std::string(option.name) +
                       " applies to all edits: write it outside of them");
    }
  }
  constexpr std::size_t FILE_OPERAND = 1;
  if (arguments.count() + FILE_OPERAND < command.minOperands ||
      arguments.count() > command.maxOperands - FILE_OPERAND) {
    throw UsageError("wrong number of words after " + words.front());
  }
  return makeTypedEdit(command, arguments, arguments.all());
}

std::vector<Line> readLines(const std::string& name) {
  Bytes bytes;
  if (name == "-") {
    bytes.readToEnd(STDIN_FILENO, "standard input");
  } else {
    bytes.readToEnd(openToRead(name).get(), name);
  }
  std::vector<Line> lines;
  std::string_view rest = bytes.view();
  for (uint64_t number = 1; !rest.empty(); ++number) {
    std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    const std::size_t start = line.find_first_not_of(BLANKS);
    if (start == std::string_view::npos || line[start] == '#') continue;
    lines.push_back({std::string(line), "line " + std::to_string(number)});
  }
  return lines;
}

std::vector<Line> linesOf(const Arguments& arguments) {
  const std::optional<std::string> file = arguments.value(LINES.name);
  const std::vector<std::string>& typed = arguments.values(ONE_EDIT.name);
  if (file.has_value() == !typed.empty()) throw UsageError("edits come from -e or from -f");
  if (file) return readLines(*file);
  std::vector<Line> lines;
  lines.reserve(typed.size());
  for (const std::string& text : typed) {
    lines.push_back({text, "edit " + std::to_string(lines.size() + 1)});
  }
  return lines;
}

// Runs a step of an edit, and puts the name of the edit before the message of a failure.
template <typename Step>
auto named(const Line& line, Step step) {
  try {
    return step();
  } catch (const UsageError& error) {
    throw UsageError(line.name() + error.what());
  } catch (const Refused& refused) {
    throw Refused(line.name() + refused.what(), refused.systemError());
  } catch (const Failure& failure) {
    throw Failure(line.name() + failure.what());
  }
}

Edit namedEdit(const Line& line, TypedEdit& edit) {
  return [&](const Chunk& root) -> Change {
    Change change = named(line, [&] { return edit.check(root); });
    if (change.getCut() || change.isNothing()) return change;
    return [&line, change = std::move(change)] { named(line, [&] { change(); }); };
  };
}

int runEdits(const Arguments& arguments) {
  const EditWay way(arguments);
  const std::vector<Line> lines = linesOf(arguments);
  if (lines.empty()) throw UsageError("no edit is given");
  EditJob job{arguments[0], {}, 0};
  std::vector<std::unique_ptr<TypedEdit>> typed;
  std::vector<Edit> edits;
  bool readsInput = arguments.value(LINES.name) == "-";
  for (const Line& line : lines) {
    typed.push_back(named(line, [&] {
      const std::vector<std::string> words = wordsOf(line.text);
      if (std::ranges::count(words, "@-") > (readsInput ? 0 : 1)) {
        throw UsageError("standard input can be read only once");
      }
      readsInput |= std::ranges::count(words, "@-") > 0;
      return parseEdit(words);
    }));
    edits.push_back(namedEdit(line, *typed.back()));
    job.room += typed.back()->room();
    job.what += (job.what.empty() ? "" : "\n") + line.text;
  }
  editFile(job, way, edits);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::string note = typed[i]->note();
    if (!note.empty()) complain(arguments[0] + ": note: " + lines[i].name() + note);
  }
  return 0;
}

}  // namespace

const Command EDIT = {
    .name = "edit",
    .synopsis = "[--dry-run | -o OUTPUT [--force] | --in-place] FILE {-e EDIT... | -f LINES}",
    .summary = "Make several edits at once: all of them, or none",
    .help = R"(
An EDIT is one of the commands "set", "add", "remove" and "recycle", written without FILE. It may
have the options --add, --top and --force of that command:
"set --add RIFF:WAVE/LIST:INFO/INAM 'Concert pitch'". Each edit sees the results of those before it.
If an edit cannot be made, a message names the edit, and the file stays as it is. The file is copied
and replaced once.

In an EDIT, blanks separate words. Blanks between quotes, '...' or "...", belong to the word. A
double quote between single quotes is an ordinary character, and so is a single quote between double
quotes. A backslash is always an ordinary character.

-e EDIT      an edit; may be given several times
-f LINES     read the edits from a file, one on each line; "-" is standard input. Empty lines and
             lines that begin with # are left out.
--in-place   edit the file itself. If there are several edits, or if the file is damaged, the edits
             are first made in memory. The file is changed only if all of them can be made there.
             The memory has to hold all bytes that change or move.

See "velmor-core set --help" for values and the other options.
)",
    .examples = R"(
  velmor-core edit song.wav -e 'remove RIFF/LIST/ICMT' -e 'set --add RIFF/LIST:INFO/IGNR "Test tone"'
)",
    .minOperands = 1,
    .maxOperands = 1,
    .options = OPTIONS,
    .run = runEdits,
};

}  // namespace tool
