// Which chunks the program can decode, and their values.
#ifndef VELMOR_CORE_TOOLS_KNOWN_KNOWN_H
#define VELMOR_CORE_TOOLS_KNOWN_KNOWN_H

#include <span>
#include <string>

#include "known/fields.h"

namespace tool {

// A chunk whose format is known. It is recognised by its id and by the group that it is in.
struct Known {
  uint32_t parent;  // the group id of the group
  uint32_t id;
  uint64_t needed;  // bytes of data without which the chunk has no value
  // The value in words, for one line. Null if the whole data is a text.
  std::string (*words)(const ChunkData& data);
  void (*fields)(FieldList& list);  // null if the whole data is a text
  uint32_t idBits = 0xFFFF'FFFF;    // the bits of the id that are compared
  uint32_t stream = 0;              // of an AVI's "strf": the type of its stream

  bool isText() const { return words == nullptr; }
};

// The chunks of each family.
std::span<const Known> waveChunks();
std::span<const Known> aviChunks();
std::span<const Known> webpChunks();
std::span<const Known> textChunks();

// Null for a chunk that is not known.
const Known* findKnown(const ChunkData& data);

// A chunk's value: a text from the file, or words about the data. Empty if it has none.
struct ChunkValue {
  std::string text;
  bool isText = false;
};
// At most `maxText` bytes of a text are read. If `maxText` bytes were read and the data has more
// bytes, "..." is appended.
ChunkValue valueOf(const ChunkData& data, uint64_t maxText);

// The type of the stream that an AVI's LIST:strl describes, such as "vids"; 0 if it states none.
uint32_t streamType(const ChunkData& data);

}  // namespace tool

#endif
