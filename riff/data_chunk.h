// A leaf of the chunk tree: a chunk whose data belongs to the caller and is never looked into.

#ifndef RIFF_DATA_CHUNK_H
#define RIFF_DATA_CHUNK_H

#include <cstdint>
#include <typeinfo>

#include "riff/chunk.h"

namespace RIFF {

class DataChunk final : public Chunk {
 public:
  // Reads the header at offset.
  DataChunk(Object& object, int64_t offset, GroupChunk* parent) : Chunk(object, offset, parent) {}

  // Copy `length` bytes out of or into the data, starting `offset` bytes into it. A range that
  // leaves the data throws "chunk to small" before anything is copied. The pad byte is out of
  // reach.
  void getData(void* destination, uint32_t length, uint32_t offset) const;
  void setData(const void* source, uint32_t length, uint32_t offset);

  // Lengthens or cuts the data at its end. New bytes are uninitialised.
  void setDataSize(uint32_t newSize);

 private:
  void checkRange(uint32_t length, uint32_t offset) const;
};

// Compares the addresses of the type_info objects. The types are known only inside this library, so
// each has one type_info. The operator== of type_info is slower: if the addresses differ, it also
// compares the names.
inline bool isDataChunk(const Chunk& chunk) { return &typeid(chunk) == &typeid(DataChunk); }

// A "JUNK" data chunk is free space, which new chunks may take. A group under that id holds chunks
// and is not free.
inline bool isFree(const Chunk& chunk) { return chunk.getId() == JUNK_ID && isDataChunk(chunk); }

}  // namespace RIFF

#endif
