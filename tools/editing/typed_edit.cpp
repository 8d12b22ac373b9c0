// The edits set, add, remove and recycle as users type them, alone or as one of several.

#include "editing/typed_edit.h"

#include <algorithm>
#include <optional>

#include "app/errors.h"
#include "app/text.h"
#include "chunks/chunk_path.h"
#include "editing/room_beside.h"

namespace tool {

namespace {

template <typename Fits>
uint64_t countChildren(const Chunk& group, Fits fits) {
  uint64_t count = 0;
  for (Chunk child = group.firstChild(); child; child = child.next()) count += fits(child) ? 1 : 0;
  return count;
}

uint64_t countRiffs(const Chunk& virtualRoot) {
  return countChildren(virtualRoot, [](const Chunk& child) { return child.id() == ID_RIFF; });
}

// Programs read the chunks of a RIFF group and none beside it. So a path without the RIFF group is
// most likely a slip.
void requireInRiff(const Chunk& virtualRoot, const ChunkPath& path) {
  if (countRiffs(virtualRoot) != 1) return;
  Chunk riff = virtualRoot.firstChild();
  while (riff.id() != ID_RIFF) riff = riff.next();
  const std::size_t slash = path.text().find('/');
  const bool hasRiff = path.first().id == ID_RIFF && slash != std::string::npos;
  throw Failure(path.first().text + " would be added beside " + riff.name() +
                ", where programs do not look for it: use the path " + riff.name() + "/" +
                (hasRiff ? path.text().substr(slash + 1) : path.text()) +
                ", or --top if it belongs there");
}

// If a typed text is the name of a file, the user most likely meant @FILE.
std::string noteOn(const Value& value, const std::string& word) {
  if (!value.namesFile()) return "";
  return "the value is the text \"" + word + "\"; @" + word + " stands for the bytes of that file";
}

class SetEdit : public TypedEdit {
 public:
  SetEdit(const Arguments& options, std::span<const std::string> operands)
      : path(operands[0]),
        value(operands[1]),
        slip(noteOn(value, operands[1])),
        makesMissing(options.has(MAKE_MISSING.name)),
        atTop(options.has(AT_TOP.name)) {
    if (atTop && !makesMissing) throw UsageError("--top needs --add");
  }

  Change check(const Chunk& virtualRoot) override {
    const auto [found, missing] = path.reach(virtualRoot);
    if (missing.empty()) {
      return useRoomBeside(found, [this](const Chunk& chunk) { return setValue(chunk, value); });
    }
    if (!makesMissing) {
      throw Failure(missingText(missing.front(), ChunkPath::placeOf(found)) + " (--add makes it)");
    }
    requireNew(missing);
    if (found.isVirtualRoot() && !atTop) requireInRiff(virtualRoot, path);
    return useRoomBeside(found, [this, steps = missing](const Chunk& group) {
      return addNested(group, steps, value);
    });
  }
  uint64_t room() const override { return roomFor(value) + path.text().size() * GROUP_HEADER_SIZE; }
  std::string note() const override { return slip; }

 private:
  // Throws Failure unless these steps name groups that can be made, and a data chunk in the last.
  static void requireNew(std::span<const PathStep> missing) {
    for (const PathStep& step : missing) {
      const bool isLast = &step == &missing.back();
      const std::string why =
          step.number                    ? "a new chunk is named without a number"
          : isLast && isGroupId(step.id) ? "a group has no value"
          : !isLast && !(isGroupId(step.id) && step.groupId)
              ? "a group that is missing is named with its group id, such as LIST:INFO"
          : isLast && step.groupId ? "RIFF and LIST, and no others, have a group id"
                                   : "";
      if (!why.empty()) throw Failure("cannot make " + step.text + ": " + why);
    }
  }

  ChunkPath path;
  Value value;
  std::string slip;
  bool makesMissing;
  bool atTop;
};

class AddEdit : public TypedEdit {
 public:
  AddEdit(const Arguments& options, std::span<const std::string> operands)
      : path(operands[0]), atTop(options.has(AT_TOP.name)) {
    requireNew(operands.size() == 2);
    if (operands.size() < 2) return;
    value.emplace(operands[1]);
    slip = noteOn(*value, operands[1]);
  }

  Change check(const Chunk& virtualRoot) override {
    const PathStep& step = path.last();
    const Chunk group = path.findParent(virtualRoot);
    if (group.isVirtualRoot() && step.id != ID_RIFF && !atTop) requireInRiff(virtualRoot, path);
    const uint64_t present =
        countChildren(group, [&](const Chunk& child) { return step.fits(child); });
    said = present == 0 ? "" : twins(group, present + 1);
    return useRoomBeside(group, [this, &step](const Chunk& to) {
      return value ? addValue(to, step.id, *value) : addGroup(to, step.id, *step.groupId);
    });
  }
  uint64_t room() const override { return value ? roomFor(*value) : ROOM_FOR_GROUP; }
  std::string note() const override {
    return slip + (slip.empty() || said.empty() ? "" : "; ") + said;
  }

 private:
  // Throws UsageError unless the last step names a chunk that can be added, with or without a
  // value.
  void requireNew(bool hasValue) const {
    const PathStep& step = path.last();
    if (step.number) {
      throw UsageError("\"" + step.text + "\": a new chunk is named without a number");
    }
    if (isGroupId(step.id) != step.groupId.has_value()) {
      throw UsageError("\"" + step.text + "\": RIFF and LIST, and no others, have a group id");
    }
    if (hasValue == step.groupId.has_value()) {
      throw UsageError("\"" + step.text + "\": " +
                       (hasValue ? "a group is added without a value" : "a value is needed"));
    }
  }

  std::string twins(const Chunk& group, uint64_t count) const {
    return "with the new one, there are " + std::to_string(count) + " chunks " + path.last().text +
           (group.isVirtualRoot() ? " at the top level" : " in " + group.name());
  }

  ChunkPath path;
  bool atTop;
  std::optional<Value> value;  // none for a group
  std::string slip;
  std::string said;
};

// remove and recycle
class DropEdit : public TypedEdit {
 public:
  DropEdit(bool recycles, const Arguments& options, std::span<const std::string> operands)
      : recycles(recycles), mayDropAll(options.has(FORCE.name)) {
    for (const std::string& operand : operands) paths.emplace_back(operand, ChunkPath::MANY);
  }

  Change check(const Chunk& virtualRoot) override {
    std::vector<PlacedChunk> chunks = find(virtualRoot);
    const auto riffs = static_cast<uint64_t>(std::ranges::count_if(chunks, [](const Chunk& chunk) {
      return chunk.id() == ID_RIFF && chunk.parent().isVirtualRoot();
    }));
    if (riffs > 0 && riffs == countRiffs(virtualRoot) && !mayDropAll) {
      throw Failure("no RIFF group would be left in the file: --force allows that");
    }
    return recycles ? recycleChunks(std::move(chunks)) : removeChunks(virtualRoot, chunks);
  }
  uint64_t room() const override { return ROOM_FOR_PAD; }

 private:
  struct Found {
    PlacedChunk chunk;
    const ChunkPath* path;
  };

  // The chunks of all paths in the order of their bytes. Throws Failure if two paths name the same
  // chunk, or if one path names a chunk that lies in a chunk of another path.
  std::vector<PlacedChunk> find(const Chunk& virtualRoot) const {
    std::vector<Found> all;
    for (const ChunkPath& path : paths) {
      for (const PlacedChunk& chunk : path.findAll(PlacedChunk(virtualRoot, 0))) {
        all.push_back({chunk, &path});
      }
    }
    std::ranges::sort(all, {}, [](const Found& found) { return found.chunk.offset; });
    std::vector<PlacedChunk> chunks;
    for (std::size_t i = 0; i < all.size(); ++i) {
      if (i > 0 && all[i].chunk.offset < all[i - 1].chunk.end()) throwOverlap(all[i - 1], all[i]);
      chunks.push_back(all[i].chunk);
    }
    return chunks;
  }

  [[noreturn]] static void throwOverlap(const Found& outer, const Found& inner) {
    if (outer.chunk == inner.chunk) {
      throw Failure(outer.path->text() + " and " + inner.path->text() + " name the same chunk");
    }
    throw Failure(inner.path->text() + " names a chunk that lies inside a chunk that " +
                  outer.path->text() + " names");
  }

  bool recycles;
  bool mayDropAll;
  std::vector<ChunkPath> paths;
};

}  // namespace

std::unique_ptr<TypedEdit> makeTypedEdit(const Command& command, const Arguments& options,
                                         std::span<const std::string> operands) {
  if (&command == &SET) return std::make_unique<SetEdit>(options, operands);
  if (&command == &ADD) return std::make_unique<AddEdit>(options, operands);
  return std::make_unique<DropEdit>(&command == &RECYCLE, options, operands);
}

}  // namespace tool
