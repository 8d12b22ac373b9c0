// Lets a chunk grow into the free space beside it.
//
// The chunk, or the nearest ancestor that has enough free space beside it, is copied into memory
// and edited there. Then the original is recycled, which merges it with that space, and the copy is
// added, which the library puts there.
#include "editing/room_beside.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "chunks/layout.h"
#include "known/ids.h"

namespace tool {

namespace {

// Larger chunks are not copied into memory.
constexpr uint64_t MAX_COPIED = 1 << 24;

bool isFree(const Chunk& chunk) { return chunk && chunk.id() == ID_JUNK; }

bool isStored(const Chunk& chunk) {
  std::array<char, 1> last{};
  return chunk.dataSize() == 0 || chunk.read(last, chunk.dataSize() - 1, std::nothrow);
}

bool fits(uint64_t size, uint64_t free) { return free == size || free >= size + HEADER_SIZE; }

// The free space that recycling a chunk would give, and the other free chunks of its group.
struct Space {
  explicit Space(const Chunk& chunk) : merged(chunk.totalSize()) {
    Chunk previous;
    for (Chunk at = chunk.parent().firstChild(); at; previous = at, at = at.next()) {
      if (isFree(at) && previous == chunk) {
        take(at);
      } else if (isFree(at)) {
        others.push_back(at.totalSize());
      } else if (at == chunk && isFree(previous)) {
        take(previous);
        others.pop_back();
      }
    }
  }

  // Whether the library would put a chunk of this size into the merged space. It takes the smallest
  // free chunk that fits.
  bool isTakenFor(uint64_t size) const {
    const auto isBetter = [&](uint64_t other) { return other <= merged && fits(size, other); };
    return areStored && merged <= MAX_SIZE && fits(size, merged) &&
           std::ranges::none_of(others, isBetter);
  }

  uint64_t merged;  // total sizes
  std::vector<uint64_t> others;
  bool areStored = true;

 private:
  void take(const Chunk& neighbour) {
    merged += neighbour.totalSize();
    areStored = areStored && isStored(neighbour);
  }
};

// Edits a chunk at `place`, which is that chunk or an ancestor. `way` has the indexes of the
// children that lead from the place to the chunk, the last one first. Returns false, and changes
// nothing, if there is not enough space beside the place.
bool editAt(const Chunk& place, const std::vector<uint32_t>& way,
            const std::function<Change(const Chunk&)>& edit, const Change& plain) {
  const Chunk group = place.parent();
  const Space space(place);
  if (space.merged == place.totalSize() || place.totalSize() > MAX_COPIED) return false;

  // The copy has a group like the original's, since that decides how texts are stored.
  const Object copies = Object::openCache(space.merged, std::nothrow);
  const Chunk groupOfCopy(copies.root().addGroup(
      velmor_core::Id(group.id()), velmor_core::GroupId(group.groupId()), std::nothrow));
  Chunk chunk(groupOfCopy.addCopy(place, std::nothrow));
  for (auto index = way.rbegin(); index != way.rend(); ++index) chunk = Chunk(chunk.child(*index));
  if (!chunk) return false;
  edit(chunk)();
  const Chunk copy = groupOfCopy.firstChild();
  if (copy.totalSize() <= place.totalSize()) {
    plain();
    return true;
  }
  if (!space.isTakenFor(copy.totalSize())) return false;

  const Object edited = Object::openCache(copy.totalSize(), std::nothrow);
  if (!edited.root().addCopy(copy, std::nothrow)) return false;
  const std::string name = place.name();
  Chunk recycled = place;
  required("make room for " + name, [&] { return recycled.recycle(std::nothrow); });
  required("store " + name, [&] { return group.addCache(edited, std::nothrow); });
  return true;
}

uint32_t indexOf(const Chunk& chunk) {
  uint32_t index = 0;
  for (Chunk at = chunk.parent().firstChild(); at != chunk; at = at.next()) ++index;
  return index;
}

// The pictures and sound of an AVI are not copied: indexes point at each of them.
bool isInMovi(Chunk chunk) {
  while (chunk && chunk.groupId() != ID_MOVI) chunk = chunk.parent();
  return static_cast<bool>(chunk);
}

}  // namespace

Change useRoomBeside(const Chunk& chunk, const std::function<Change(const Chunk&)>& edit) {
  const Change plain = edit(chunk);
  if (isFree(chunk) || isInMovi(chunk)) return plain;
  return [=] {
    std::vector<uint32_t> way;
    // Top-level chunks stay where they are: they hold nearly all of the file.
    for (Chunk place = chunk; place.parent() && !place.parent().isVirtualRoot();
         place = place.parent()) {
      if (editAt(place, way, edit, plain)) return;
      way.push_back(indexOf(place));
    }
    plain();
  };
}

}  // namespace tool
