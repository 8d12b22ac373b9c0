// An object: bytes, and the chunk tree that mirrors them.

#ifndef RIFF_OBJECT_H
#define RIFF_OBJECT_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "riff/chunk_pool.h"
#include "riff/virtual_root_chunk.h"

namespace RIFF {

// A header field as bytes in storage order: RIFF is little-endian, and so is x86-64.
template <typename Field>
std::byte* bytesOf(Field& field) {
  return reinterpret_cast<std::byte*>(&field);
}
template <typename Field>
const std::byte* bytesOf(const Field& field) {
  return reinterpret_cast<const std::byte*>(&field);
}

// Every access to the stored bytes is a call of resize(), read(), write() or move(). There are two
// exceptions, both for bytes in memory: readField() while the object is opened, and adding a cache,
// which reads the cache's buffer. Every access takes place at once. Nothing is cached.
//
// The stored bytes are those from offset 0 to size - 1. The tree covers them all. It may reach past
// them: files are cut short, and many programs leave out the last pad byte. Such a tree is kept as
// it was read. Before an edit relies on bytes, it calls one of the require functions.
class Object {
 public:
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  // Makes newSize the stored length. What new bytes hold depends on the kind of object.
  virtual void resize(uint64_t newSize) = 0;
  virtual void read(uint64_t offset, std::byte* destination, uint64_t length) = 0;
  virtual void write(uint64_t offset, const std::byte* source, uint64_t length) = 0;
  // The ranges may overlap: the result is as if the bytes went through a separate buffer. The size
  // stays.
  virtual void move(uint64_t source, uint64_t destination, uint64_t length) = 0;
  virtual ~Object();

  uint64_t getSize() const { return size; }
  VirtualRootChunk* getVirtualRootChunk() { return &virtualRoot; }
  // The first top-level chunk, null if there is none.
  Chunk* getRootChunk() const { return virtualRoot.getChild(0); }

  // Builds the node of a chunk from the header that is stored at offset. Parent is the group that
  // it will be attached to. An edit that makes a chunk writes the header and then calls this, too.
  // So every node is built in the same way, and agrees with the bytes.
  template <typename Kind>
  ChunkPointer makeChunk(int64_t offset, GroupChunk& parent) {
    return pool.make<Kind>(*this, offset, &parent);
  }
  ChunkPool& getPool() { return pool; }

  // Builds the chunk at offset with everything in it, to be attached to parent, and advances offset
  // to the end of the chunk.
  ChunkPointer loadChunk(uint64_t& offset, GroupChunk& parent);

  // Reads a header field. Calls read(), with one exception: while an object whose bytes lie in
  // memory is opened, the field is copied from the memory. Calls of read() would make up a third of
  // the time that opening such an object takes.
  template <typename Field>
  void readField(uint64_t offset, Field& field) {
    static_assert(sizeof(Field) == 4);
    if (loading && size >= sizeof(Field) && offset <= size - sizeof(Field)) {
      std::memcpy(&field, loading + offset, sizeof(Field));
    } else {
      read(offset, bytesOf(field), sizeof(Field));
    }
  }

  // One write each: the header of a data chunk; the header of a group without children.
  void writeChunkHeader(uint64_t offset, FourCC id, uint32_t dataSize);
  void writeGroupHeader(uint64_t offset, FourCC id, FourCC groupId);

  // Opens (delta > 0) or closes (delta < 0) a gap and updates sizes and offsets. Without `removed`,
  // the gap lies at the end of chunk. With it, `removed` is a child of chunk, and its bytes are the
  // gap to close. Returns the offset of the first byte after chunk, or after `removed` if it is
  // given, as it was before the edit. An opened gap begins there.
  uint64_t resizeChunk(Chunk& chunk, int64_t delta, const Chunk* removed);

  // Makes sure that all bytes before upTo are stored. If only the pad byte of the last chunk is
  // missing, adds it. If more is missing, throws "invalid read".
  void requireStored(uint64_t upTo);
  // Throws "invalid read" if more is missing than the pad byte of the last chunk.
  void requireComplete() const;
  // Makes sure that the pad byte at the end of a chunk is stored. Call it before the pad byte
  // becomes data. Does nothing if the chunk ends without a pad byte.
  void requirePad(const Chunk& chunk);

  // Destroys all chunks and sets the size to 0. Writes nothing.
  void clear();

 protected:
  Object() : virtualRoot(*this) {}
  // Builds the tree from the stored bytes. The last step of the constructors of MemoryObject and
  // FileObject. If the bytes lie in memory, `bytes` points to them, and header fields are read
  // there.
  void loadChunks(const std::byte* bytes = nullptr);

 private:
  void grow(uint64_t delta);
  bool onlyPadIsMissing() const;
  static void shiftOffsets(GroupChunk* group, int64_t delta, const Chunk* after);

  VirtualRootChunk virtualRoot;

 protected:
  uint64_t size = 0;

 private:
  ChunkPool pool;                      // memory of the tree below virtualRoot
  const std::byte* loading = nullptr;  // the bytes in memory, while the tree is built from them
};

// Defined here, where Object is complete, so that the compiler can inline it into the loader.
inline Chunk::Chunk(Object& object, int64_t offset, GroupChunk* parent)
    : object(&object), offset(offset), parent(parent) {
  const auto header = static_cast<uint64_t>(offset);
  object.readField(header, id);
  object.readField(header + ID_SIZE, size);
}

}  // namespace RIFF

#endif
