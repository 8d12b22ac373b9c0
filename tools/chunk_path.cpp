#include "chunk_path.h"

#include <charconv>

#include "errors.h"

namespace tool {

namespace {

PathStep parseStep(std::string_view text) {
  PathStep step;
  step.text = text;
  if (const std::size_t bracket = text.find('['); bracket != std::string_view::npos) {
    const std::string_view digits = text.substr(bracket + 1);
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || number == 0 || std::string_view(end, digits.end()) != "]") {
      throw UsageError("\"" + step.text +
                       "\": [ ] stands last, after the group id, and holds a number from 1");
    }
    step.number = number;
    text = text.substr(0, bracket);
  }
  if (const std::size_t colon = text.find(':'); colon != std::string_view::npos) {
    step.groupId = parseId(text.substr(colon + 1));
    text = text.substr(0, colon);
  }
  step.id = parseId(text);
  return step;
}

// The chunk among from's children that a step names; none where nothing fits.
Chunk takeStep(const Chunk& from, const PathStep& step) {
  Chunk found;
  uint64_t fitting = 0;
  for (Chunk child = from.firstChild(); child; child = child.next()) {
    if (!step.fits(child)) continue;
    ++fitting;
    if (!step.number && fitting == 1) found = child;
    if (step.number == fitting) return child;
  }
  if (!step.number && fitting > 1) {
    throw Failure("\"" + step.text + "\" fits " + std::to_string(fitting) +
                  " chunks: name one of them as " + step.text + "[1] to " + step.text + "[" +
                  std::to_string(fitting) + "]");
  }
  return found;
}

}  // namespace

bool PathStep::fits(const Chunk& chunk) const {
  if (chunk.id() != id) return false;
  return !groupId || (chunk.isGroup() && chunk.groupId() == *groupId);
}

ChunkPath::ChunkPath(std::string_view text) : typed(text) {
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find('/', begin), text.size());
    steps.push_back(parseStep(text.substr(begin, end - begin)));
    begin = end + 1;
  }
}

Chunk ChunkPath::find(const Chunk& virtualRoot) const { return follow(virtualRoot, steps); }

Chunk ChunkPath::findParent(const Chunk& virtualRoot) const {
  return follow(virtualRoot, std::span(steps).first(steps.size() - 1));
}

Chunk ChunkPath::follow(Chunk from, std::span<const PathStep> way) const {
  for (const PathStep& step : way) {
    const Chunk found = takeStep(from, step);
    if (!found) {
      const std::string place = from.isVirtualRoot() ? "at the top" : "in " + from.name();
      throw Failure("there is no chunk " + step.text + " " + place);
    }
    from = found;
  }
  return from;
}

}  // namespace tool
