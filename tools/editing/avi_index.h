// Keeps the indexes of an AVI right when an edit moves, changes or removes chunks.
#ifndef VELMOR_CORE_TOOLS_EDITING_AVI_INDEX_H
#define VELMOR_CORE_TOOLS_EDITING_AVI_INDEX_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "editing/cut.h"
#include "editing/store.h"

namespace tool {

// What became of an entry; GONE if it has to be removed.
enum class EntryChange { NONE, CHANGED, GONE };

// Made before the edit, from the object that the edit will change. Afterwards, correct() makes each
// entry point at the chunk that it pointed at before.
//
// These stay as they are: entries that pointed at no chunk of their id; indexes whose data the edit
// itself has changed. If the edit removes a frame, its entry is removed, and a warning says so.
class AviIndexes {
 public:
  // Does nothing with a file of another form.
  explicit AviIndexes(const Chunk& root);

  // Corrects the object after the edit, and adds warnings. If the edit was a cut, the object is a
  // new one. Throws Failure if the object cannot be read or written.
  void correct(const Chunk& root, const Cut* cut, std::vector<std::string>& warnings);

 private:
  struct Place {
    // Identifies the chunk. In a Place that was made before the edit, this pointer is only
    // compared. It is never used as a handle, because the edit may have removed the chunk.
    velmor_core_riff_chunk_t* chunk;
    uint64_t offset;
    uint32_t id;  // for a group, its group id: an index refers to a LIST:rec by "rec "
    uint32_t dataSize;
    bool operator==(const Place&) const = default;
  };
  struct Index {
    Chunk chunk;
    uint64_t movi;    // the offset of the first LIST:movi before it in the same RIFF; 0 if none
    std::size_t sum;  // checksum of the data
  };
  struct Layout {
    explicit Layout(const Chunk& root);
    std::vector<Place> places;
    std::vector<Index> indexes;
  };
  struct Moved {
    bool isGone;
    uint64_t offset;
    uint32_t oldSize;
    uint32_t newSize;
  };

  const Place* placeBefore(uint64_t offset);
  // The argument is where a chunk was before the edit: its Place, or its offset and id. Returns
  // where the chunk is now, or nothing if there was no such chunk.
  std::optional<Moved> follow(const Place* place);
  std::optional<Moved> follow(uint64_t offset, uint32_t id);

  struct OpenDml {
    uint64_t entrySize;
    uint64_t count;
    uint32_t id;    // of the chunks that it points at
    uint64_t base;  // of the offsets
  };

  void correctIdx1(const Chunk& index, uint64_t oldMovi, uint64_t newMovi);
  void correctOpenDml(const Chunk& index);
  EntryChange correctIndexEntry(uint8_t* entry);
  // A base of 0 stays 0. Any other base moves by the same distance as the chunk of the first entry
  // whose chunk still exists. If all chunks move by this distance, the offsets in the entries stay
  // as they are.
  EntryChange correctFrame(uint8_t* entry, const OpenDml& header, std::optional<uint64_t>& newBase);
  void followCut(const Cut& cut, const Layout& after);
  void warn(std::vector<std::string>& warnings) const;

  std::optional<Layout> before;  // none if there is no index
  std::vector<Place> now;        // after the edit, sorted by chunk
  // Where the last searches in `before` and `now` ended. The next ones start there, because the
  // entries of an index usually follow the order of the file.
  std::size_t lastBefore = 0;
  std::size_t lastNow = 0;
  uint64_t removed = 0;     // entries whose frame was removed
  uint64_t outOfReach = 0;  // entries whose field is too small for the new offset
};

}  // namespace tool

#endif
