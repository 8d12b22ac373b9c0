// The base of every node in a chunk tree, and the four-character ids that name chunks.

#ifndef RIFF_CHUNK_H
#define RIFF_CHUNK_H

#include <cstdint>

namespace RIFF {

class GroupChunk;
class Object;

// A chunk id: four bytes in storage order, the first one in the low 8 bits. x86-64 keeps them in
// memory in that order too, so a FourCC is read and written as it is.
struct FourCC {
  constexpr FourCC() = default;
  constexpr explicit FourCC(uint32_t value) : value(value) {}
  constexpr FourCC(char c0, char c1, char c2, char c3)
      : value(byte(c0) | byte(c1) << 8 | byte(c2) << 16 | byte(c3) << 24) {}
  constexpr bool operator==(const FourCC&) const = default;

  uint32_t value = 0;

 private:
  static constexpr uint32_t byte(char c) { return static_cast<unsigned char>(c); }
};

constexpr FourCC RIFF_ID('R', 'I', 'F', 'F');
constexpr FourCC LIST_ID('L', 'I', 'S', 'T');
constexpr FourCC JUNK_ID('J', 'U', 'N', 'K');

constexpr uint32_t ID_SIZE = 4;
constexpr uint32_t CHUNK_HEADER_SIZE = 8;   // id, data size
constexpr uint32_t GROUP_HEADER_SIZE = 12;  // id, data size, group id

// A data size rounded up to even: the bytes that the data and its pad byte take.
constexpr uint64_t padded(uint32_t size) { return uint64_t{size} + (size & 1U); }

// One chunk: its position, what its header says, and its place in the tree.
//
// A chunk is a DataChunk or a GroupChunk. Only its run-time type says which: a group that was
// created under an id other than "RIFF" or "LIST" is a group all the same.
class Chunk {
 public:
  Chunk(const Chunk&) = delete;
  Chunk& operator=(const Chunk&) = delete;
  virtual ~Chunk() = default;

  Object& getObject() const { return *object; }
  FourCC getId() const { return id; }
  GroupChunk* getParent() const { return parent; }
  Chunk* getNext() const { return next; }
  uint32_t getDataSize() const { return size; }

  // Offset of the header from the object's first byte; -1 for a virtual root, which has none.
  int64_t getOffset() const { return offset; }
  // The bytes that the chunk takes in storage, header and pad byte included. It needs 64 bits:
  // the largest chunk takes 2^32 + 8 bytes.
  uint64_t totalSize() const { return CHUNK_HEADER_SIZE + padded(size); }
  // Offset of the first byte after the chunk and its pad byte.
  uint64_t end() const { return static_cast<uint64_t>(offset) + totalSize(); }

  // Writes the chunk's id and newSize as a header at newOffset, in one write. The node stays as it
  // is: an edit changes the tree last, when nothing can fail any more.
  void writeHeader(int64_t newOffset, uint32_t newSize) const;
  // Both store the value in the node and then write it. If the write fails, the node has the new
  // value and the bytes have the old one.
  void setId(FourCC newId);
  void setSizeField(uint32_t newSize);

 protected:
  Chunk(Object& object, int64_t offset, FourCC id, uint32_t size, GroupChunk* parent);
  // Reads id and size from the header at offset.
  Chunk(Object& object, int64_t offset, GroupChunk* parent);

  // Offset of the first byte after the 8-byte header, from the object's first byte.
  uint64_t dataStart() const { return static_cast<uint64_t>(offset) + CHUNK_HEADER_SIZE; }

 private:
  // Group and object update position and links when the bytes change.
  friend class GroupChunk;
  friend class Object;

  Object* object;
  int64_t offset;
  FourCC id;
  uint32_t size = 0;
  GroupChunk* parent;
  Chunk* next = nullptr;
};

}  // namespace RIFF

#endif
