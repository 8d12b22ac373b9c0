#include "chunks/chunk_path.h"

#include <algorithm>
#include <charconv>

#include "app/errors.h"
#include "chunks/chunk_id.h"

namespace tool {

namespace {

constexpr std::string_view ALL = "*]";

// Reads what follows the opening bracket of a step: a number or "*", and then the closing bracket.
void parseSelection(std::string_view text, PathStep& step) {
  if (text == ALL) {
    step.all = true;
    return;
  }
  uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || number == 0 || std::string_view(end, text.end()) != "]") {
    throw UsageError("\"" + step.text +
                     "\": [ ] comes last, after the group id, and holds a number from 1, or *");
  }
  step.number = number;
}

PathStep parseStep(std::string_view text) {
  PathStep step;
  step.text = text;
  if (const std::size_t bracket = text.find('['); bracket != std::string_view::npos) {
    parseSelection(text.substr(bracket + 1), step);
    text = text.substr(0, bracket);
  }
  if (const std::size_t colon = text.find(':'); colon != std::string_view::npos) {
    step.groupId = parseId(text.substr(colon + 1));
    text = text.substr(0, colon);
  }
  step.id = parseId(text);
  return step;
}

}  // namespace

void throwAmbiguous(const PathStep& step, uint64_t fitting) {
  throw Failure("\"" + step.text + "\" fits " + std::to_string(fitting) +
                " chunks: name one of them as " + step.text + "[1] to " + step.text + "[" +
                std::to_string(fitting) + "]");
}

void throwMissing(const PathStep& step, const std::string& place) {
  throw Failure(missingText(step, place));
}

std::string missingText(const PathStep& step, const std::string& place) {
  return "there is no chunk " + step.text + " " + place;
}

ChunkPath::ChunkPath(std::string_view text, Reach reach) {
  while (text.starts_with('/')) text.remove_prefix(1);
  while (text.ends_with('/')) text.remove_suffix(1);
  typed = text;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find('/', begin), text.size());
    steps.push_back(parseStep(text.substr(begin, end - begin)));
    if (steps.back().all && reach == ONE) {
      throw UsageError("\"" + steps.back().text +
                       "\": [*] names all that fit, and one chunk is needed here");
    }
    begin = end + 1;
  }
}

}  // namespace tool
