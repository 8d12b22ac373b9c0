// Lets a chunk grow into the free space beside it.
//
// The chunk, or the nearest ancestor that has enough free space beside it, is copied into memory
// and edited there. Then the original is recycled, which merges it with the free space. The library
// puts the copy into the merged space when the copy is added.
#include "editing/room_beside.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
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

// Recorders keep a free chunk at the start of a WAVE, which becomes "ds64" if the file grows past
// 4 GiB.
bool isReserved(const Chunk& chunk) {
  return chunk.parent().parent().isVirtualRoot() && chunk == chunk.parent().firstChild();
}

bool fits(uint64_t size, uint64_t free) { return free == size || free >= size + HEADER_SIZE; }

// The free space that recycling a chunk would give, and the other free chunks of its group.
struct FreeSpace {
  explicit FreeSpace(const Chunk& chunk) : merged(chunk.totalSize()) {
    Chunk previous;
    for (Chunk at = chunk.parent().firstChild(); at; previous = at, at = at.next()) {
      if (isFree(at) && previous == chunk) {
        take(at);
      } else if (isFree(at)) {
        others.push_back(at.totalSize());
      } else if (at == chunk && isFree(previous)) {
        take(previous);
        others.pop_back();
        if (isReserved(previous)) isUsable = false;
      }
    }
  }

  // Whether the library would put a chunk of this size into the merged space. It takes the smallest
  // free chunk that fits.
  bool isTakenFor(uint64_t size) const {
    const auto isBetter = [&](uint64_t other) { return other <= merged && fits(size, other); };
    return isUsable && merged <= MAX_SIZE && fits(size, merged) &&
           std::ranges::none_of(others, isBetter);
  }

  uint64_t merged;  // total sizes
  std::vector<uint64_t> others;
  bool isUsable = true;

 private:
  void take(const Chunk& neighbour) {
    merged += neighbour.totalSize();
    isUsable = isUsable && isStored(neighbour);
  }
};

// A copy of `place`, which is the chunk or an ancestor, with the chunk edited. `way` has the
// indexes of the children that lead from the place to the chunk, the last one first. The copy is in
// a group like the original's, since that decides how texts are stored. Empty if memory runs out,
// or the place cannot be read.
Object editedCopy(const Chunk& place, const std::vector<uint32_t>& way,
                  const std::function<Change(const Chunk&)>& edit) {
  const Chunk group = place.parent();
  Object copies = Object::openCache(place.totalSize() + GROUP_HEADER_SIZE, std::nothrow);
  const Chunk groupOfCopy(copies.root().addGroup(
      velmor_core::Id(group.id()), velmor_core::GroupId(group.groupId()), std::nothrow));
  Chunk chunk(groupOfCopy.addCopy(place, std::nothrow));
  for (auto index = way.rbegin(); index != way.rend(); ++index) chunk = Chunk(chunk.child(*index));
  if (!chunk) return {};
  edit(chunk)();
  return copies;
}

uint32_t indexOf(const Chunk& chunk) {
  uint32_t index = 0;
  for (Chunk at = chunk.parent().firstChild(); at != chunk; at = at.next()) ++index;
  return index;
}

// Replaces `place` by its edited copy. The handles of the place and of everything in it end.
void replace(Chunk place, const Chunk& copy) {
  const Chunk group = place.parent();
  const std::string name = place.name();
  const Object bytes = required("copy " + name, [&] {
    Object cache = Object::openCache(copy.totalSize(), std::nothrow);
    return cache.root().addCopy(copy, std::nothrow) ? std::move(cache) : Object();
  });
  required("make room for " + name, [&] { return place.recycle(std::nothrow); });
  required("store " + name, [&] { return group.addCache(bytes, std::nothrow); });
}

struct Room {
  Chunk place;          // has enough free space beside it; an empty handle if nothing has
  Object copies;        // of the place
  uint64_t growth = 0;  // by how many bytes the chunk, and so each ancestor, grows; 0 if not known
};

Chunk copyIn(const Object& copies) { return virtualRoot(copies).firstChild().firstChild(); }

// Finds the chunk, or the nearest ancestor, that can grow into the free space beside it.
Room findRoom(const Chunk& chunk, const std::function<Change(const Chunk&)>& edit) {
  std::vector<uint32_t> way;
  Room room;
  // Top-level chunks stay where they are: they hold nearly all of the file.
  for (Chunk place = chunk; place.parent() && !place.parent().isVirtualRoot();
       place = place.parent()) {
    const uint64_t size = place.totalSize();
    if (size > MAX_COPIED) break;
    const FreeSpace space(place);
    if (space.merged > size && (room.growth == 0 || space.isTakenFor(size + room.growth))) {
      Object copies = editedCopy(place, way, edit);
      const uint64_t newSize = copyIn(copies).totalSize();
      if (newSize <= size) break;
      room.growth = newSize - size;
      if (space.isTakenFor(newSize)) {
        room.place = place;
        room.copies = std::move(copies);
        break;
      }
    }
    way.push_back(indexOf(place));
  }
  return room;
}

// Returns a gap directly after the chunk. Its size is the number of bytes by which the edit makes
// the chunk grow. Returns nothing in these cases:
//   - The chunk is at the top level, or it is too large to be copied into memory.
//   - Free space lies beside the chunk already, or an ancestor can grow into free space beside it.
//   - The chunk grows by less than the size of a header.
//   - The library would put the grown chunk into other free space.
std::optional<Gap> gapAfter(const Chunk& chunk, const std::function<Change(const Chunk&)>& edit) {
  const uint64_t size = chunk.totalSize();
  if (chunk.isVirtualRoot() || chunk.parent().isVirtualRoot() || size > MAX_COPIED) return {};
  FreeSpace space(chunk);
  if (space.merged != size || findRoom(chunk, edit).place) return {};
  const uint64_t newSize = copyIn(editedCopy(chunk, {}, edit)).totalSize();
  if (newSize < size + HEADER_SIZE) return {};
  space.merged = newSize;
  if (!space.isTakenFor(newSize)) return {};
  return Gap(chunk, static_cast<uint32_t>(newSize - size));
}

// The pictures and sound of an AVI are not copied: indexes point at each of them.
bool isInMovi(Chunk chunk) {
  while (chunk && chunk.groupId() != ID_MOVI) chunk = chunk.parent();
  return static_cast<bool>(chunk);
}

}  // namespace

Change useRoomBeside(const Chunk& chunk, const std::function<Change(const Chunk&)>& edit) {
  Change plain = edit(chunk);
  if (isFree(chunk) || isInMovi(chunk)) return plain;
  return {[=] {
            const Room room = findRoom(chunk, edit);
            room.place ? replace(room.place, copyIn(room.copies)) : plain();
          },
          [=] { return gapAfter(chunk, edit); }};
}

}  // namespace tool
