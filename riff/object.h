// A byte store and the chunk tree that mirrors its bytes.

#ifndef RIFF_OBJECT_H
#define RIFF_OBJECT_H

#include <cstdint>

#include "riff/chunk_pool.h"
#include "riff/virtual_root_chunk.h"

namespace RIFF {

// Every access to the stored bytes goes through the four virtual operations, in the order in which
// the edits make them; nothing is cached.
//
// Stored bytes are those from offset 0 to size - 1. The tree covers them all and may reach past
// them: files are cut short, and many programs leave out the last pad byte. Such a tree is kept as
// it was read; requireStored() is how edits find out.
class Object {
 public:
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;

  // Makes the stored length newSize. What a growth adds is up to the kind of object.
  virtual void resize(uint64_t newSize) = 0;
  virtual void read(uint64_t offset, void* destination, uint64_t length) = 0;
  virtual void write(uint64_t offset, const void* source, uint64_t length) = 0;
  // As if through a separate buffer: the ranges may overlap. The size stays.
  virtual void move(uint64_t source, uint64_t destination, uint64_t length) = 0;

  uint64_t getSize() const { return size; }
  VirtualRootChunk* getVirtualRootChunk() { return &virtualRoot; }
  // The first top-level chunk, null if there is none.
  Chunk* getRootChunk() const { return virtualRoot.getChild(0); }

  // Builds the node of a chunk whose header is stored at offset, a child-to-be of parent.
  template <typename Kind>
  ChunkPointer makeChunk(int64_t offset, GroupChunk& parent) {
    return pool.make<Kind>(*this, offset, &parent);
  }
  ChunkPool& getPool() { return pool; }

  // Builds the chunk at offset with everything in it, as a child to be attached to parent, and
  // moves offset behind it.
  ChunkPointer loadChunk(uint64_t& offset, GroupChunk& parent);

  // One write each: the header of a data chunk; the header of a group without children.
  void writeChunkHeader(uint64_t offset, FourCC id, uint32_t dataSize);
  void writeGroupHeader(uint64_t offset, FourCC id, FourCC groupId);

  // Opens (delta > 0) or closes (delta < 0) a gap and keeps sizes and offsets in step. The gap lies
  // at the end of chunk, or, where a child of chunk is removed, in place of that child. Returns the
  // offset at which the gap begins, as it was before the edit.
  uint64_t resizeChunk(Chunk& chunk, int64_t delta, const Chunk* removed);

  // Makes sure that all bytes in front of upTo are stored. If nothing but the pad byte behind the
  // last chunk is missing, the object is lengthened by it; if more is missing, this throws.
  void requireStored(uint64_t upTo);
  // Throws if more is missing than that pad byte.
  void requireComplete() const;
  // The same for the pad byte at the end of a chunk, which is about to become data; a chunk without
  // one needs none.
  void requirePad(const Chunk& chunk);

  // Empties the tree and forgets the bytes; none is written.
  void clear();

 protected:
  Object() : virtualRoot(*this) {}
  // Builds the tree from the stored bytes; the last step of every constructor.
  void loadChunks();

 private:
  void grow(uint64_t delta);
  bool onlyPadIsMissing() const;
  static void shiftOffsets(const Chunk& after, int64_t delta);

  ChunkPool pool;  // outlives the tree
  VirtualRootChunk virtualRoot;

 protected:
  uint64_t size = 0;
};

}  // namespace RIFF

#endif
