// The edits of chunks. Each checks before it changes anything.
#ifndef VELMOR_CORE_TOOLS_EDITING_CHANGES_H
#define VELMOR_CORE_TOOLS_EDITING_CHANGES_H

#include <concepts>
#include <functional>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "chunks/chunk_path.h"
#include "editing/cut.h"
#include "editing/gap.h"
#include "editing/placed_chunk.h"
#include "editing/store.h"
#include "editing/value.h"

namespace tool {

// The second step of an edit: calls of the library, or a cut, or nothing. After a cut, the chunks
// are loaded again.
class Change {
 public:
  Change() = default;  // nothing is to be done
  template <std::invocable Calls>
  Change(Calls calls) : calls(std::move(calls)) {}  // NOLINT(google-explicit-constructor)
  Change(Cut cut) : cut(std::move(cut)) {}          // NOLINT(google-explicit-constructor)
  // `gap` returns the gap that a copy of the file should have. If the copy has it, the calls fill
  // it.
  Change(std::function<void()> calls, std::function<std::optional<Gap>()> gap)
      : calls(std::move(calls)), gap(std::move(gap)) {}

  bool isNothing() const { return !calls && !cut; }
  const std::optional<Cut>& getCut() const { return cut; }
  // Makes the calls.
  void operator()() const { calls(); }
  // The gap that a copy of the file should have before the calls are made in the copy. The calls
  // then leave the same bytes as without a gap. Nothing if a gap does not help.
  std::optional<Gap> wantedGap() const { return gap ? gap() : std::nullopt; }

 private:
  std::function<void()> calls;
  std::optional<Cut> cut;
  std::function<std::optional<Gap>()> gap;
};

// An edit in two steps. The first finds the chunks and throws Failure for what cannot be done; it
// changes nothing. The second, which it returns, changes the bytes.
using Edit = std::function<Change(const Chunk& virtualRoot)>;

// Each function checks an edit of chunks that have been found, and returns the change. The chunks,
// the group and the value have to live until the change has run.

// Replaces a data chunk's bytes. The chunk takes the new size, and a pad byte is 0.
Change setValue(const Chunk& chunk, const Value& value);
// Adds a data chunk to a group; a pad byte is 0.
Change addValue(const Chunk& group, uint32_t id, const Value& value);
Change addGroup(const Chunk& group, uint32_t id, uint32_t groupId);
// Adds groups, each within the one before it, and a data chunk in the last one. The last step names
// the data chunk.
Change addNested(const Chunk& group, std::span<const PathStep> steps, const Value& value);
Change removeChunk(const Chunk& chunk);
// The chunks are in the order of their bytes, and none lies in another.
Change removeChunks(const Chunk& virtualRoot, std::span<const PlacedChunk> chunks);
Change recycleChunk(const Chunk& chunk);
Change recycleChunks(std::vector<PlacedChunk> chunks);

// Throws Failure unless the size fields of the group and of its ancestors have room for `growth`
// more bytes.
void requireGrowingGroup(const Chunk& group, uint64_t growth);

// How much an edit can lengthen a file: header, data, and the pad byte that the file may lack at
// its end.
uint64_t roomFor(const Value& value);
constexpr uint64_t ROOM_FOR_GROUP = 16;
constexpr uint64_t ROOM_FOR_PAD = 2;

// Throws Failure unless the chunk's last data byte can be read: the file may be cut short.
void requireAllBytes(const Chunk& chunk);

}  // namespace tool

#endif
