/** RIFF chunk trees: open, walk, read, write and edit in place.
 *
 *  An object is a store of bytes (a file, a buffer of the caller's, a growing cache) together with
 *  the tree of chunks that is read from them when it is opened. The format is RIFF (Resource
 *  Interchange File Format, Microsoft and IBM, 1991): a chunk is an id of four bytes, a
 *  little-endian 32-bit data size, that many bytes of data and a pad byte if the size is odd.
 *  Chunks with the id "RIFF" or "LIST" are groups: their data is a group id of four bytes and, back
 *  to back, further chunks. Every other chunk is a data chunk. An object holds any number of
 *  top-level chunks; the virtual root is the group above them, without a header of its own.
 *
 *  Every change reaches the stored bytes at once: closing has nothing to flush, and nothing is
 *  rolled back when an edit fails half-way (a full disk, a file that cannot be written). Work on a
 *  copy where that matters.
 *
 *  Chunks with the id "JUNK" are free space. velmor_core_riff_chunk_recycle() turns a chunk into
 *  free space without moving a byte, and adding data chunks or a cache uses free space of the same
 *  group before the group grows. Not all of it: a chunk that was added or poured in under the id
 *  "JUNK" where free space lay, and one whose size came down to 0 as a new chunk took the rest, are
 *  not used until the object is opened anew.
 *
 *  Sizes and offsets.  Data size: the size field of the header, without header and pad byte. Total
 *  size: 8 + data size, rounded up to even. Offsets within data count from its first byte.
 *
 *  Handles.  A chunk handle points into its object's tree and is never freed. It ends with its
 *  object (velmor_core_riff_close(), velmor_core_riff_cache_clear()) or with its chunk: when the
 *  chunk or a group around it is removed, and where velmor_core_riff_chunk_recycle() and the
 *  functions that add chunks say so. No other edit ends a handle, however far it moves the chunk.
 *
 *  Chunks that were cut short.  A last chunk whose data runs past the end of the bytes is kept as
 *  its header tells; reading what is missing fails. If only the last pad byte is missing, an edit
 *  that needs it adds it first; it stays, even if there is no room for the rest of the edit. If
 *  more is missing, an edit that needs it fails before it changes anything, and so does adding to
 *  the virtual root.
 *
 *  Stack.  However deep groups nest, a call takes little stack, but for a buffer of 64 KiB where an
 *  edit moves bytes of a file, and of 32 KiB where a chunk is copied.
 */
#ifndef VELMOR_CORE_RIFF_H
#define VELMOR_CORE_RIFF_H

#include <velmor_core/base.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A store of bytes with its chunk tree; from an open function to velmor_core_riff_close(). */
typedef struct velmor_core_riff_object velmor_core_riff_object_t;

/** A chunk in the tree of an object, which owns it. */
typedef struct velmor_core_riff_chunk velmor_core_riff_chunk_t;

/** How velmor_core_riff_open_file() opens a file. Every other value reads only. */
enum {
  /** An existing file, for reading. */
  VELMOR_CORE_RIFF_READ_ONLY = 0,
  /** An existing file, for reading and writing. */
  VELMOR_CORE_RIFF_READ_WRITE = 1,
  /** For reading and writing; creates the file or empties an existing one. */
  VELMOR_CORE_RIFF_CREATE = 2
};

/** A chunk id or group id from its four characters, as a constant expression:
 *  VELMOR_CORE_RIFF_ID('d', 'a', 't', 'a'). In memory the id's bytes are the characters in order.
 */
#define VELMOR_CORE_RIFF_ID(c0, c1, c2, c3)                            \
  (VELMOR_CORE_RIFF_ID_BYTE(c0, 0) | VELMOR_CORE_RIFF_ID_BYTE(c1, 8) | \
   VELMOR_CORE_RIFF_ID_BYTE(c2, 16) | VELMOR_CORE_RIFF_ID_BYTE(c3, 24))

/** Part of VELMOR_CORE_RIFF_ID(). */
#ifdef __cplusplus
#define VELMOR_CORE_RIFF_ID_BYTE(c, shift) \
  (static_cast<uint32_t>(static_cast<uint8_t>(c)) << (shift))
#else
#define VELMOR_CORE_RIFF_ID_BYTE(c, shift) ((uint32_t)(uint8_t)(c) << (shift))
#endif

/* --- Objects ---------------------------------------------------------------------------------- */

/** Open a file and read its chunk tree.
 *
 *  Only headers are read. Each access to the file is one lseek(2) and one transfer; nothing is
 *  cached and the file is not locked. What cannot seek (a pipe) opens as an empty tree.
 *
 *  In:   path    the file; null is refused
 *        mode    VELMOR_CORE_RIFF_READ_ONLY, _READ_WRITE or _CREATE; a file is created with the
 *                permission bits 0644, less the umask
 *  Out:  object  receives the object, to be closed with velmor_core_riff_close()
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_FAILURE  path is null, the file does not open or cannot be read, its bytes are no
 *                         chunks (a header is cut short, or the children of a group do not end
 *                         where the group does), or memory runs out
 */
VELMOR_CORE_API int32_t velmor_core_riff_open_file(const char* path, int32_t mode,
                                                   velmor_core_riff_object_t** object);

/** Open a buffer for reading.
 *
 *  The buffer stays the caller's: it is never written or freed, and has to live, unchanged, as long
 *  as the object. Edits fail, but for those that have nothing to write: giving a chunk the size it
 *  has, recycling a free chunk that has no free neighbour, and removing the only top-level chunk,
 *  which leaves the object empty and the buffer as it is. Its capacity is 0.
 *
 *  In:   buffer  the bytes; may be null if size is 0
 *        size    their number
 *  Out:  object  receives the object, to be closed with velmor_core_riff_close()
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_FAILURE  the bytes are no chunks, or memory runs out
 */
VELMOR_CORE_API int32_t velmor_core_riff_open_buffer_ro(const void* buffer, uint64_t size,
                                                        velmor_core_riff_object_t** object);

/** Open a buffer for reading and writing.
 *
 *  The buffer stays the caller's and is never freed; it has to live as long as the object, and only
 *  the object may change it. Edits lengthen the content up to `capacity`, never beyond, and fail
 *  where that is too small. velmor_core_riff_cache_get_size() tells the current length.
 *
 *  In:   buffer    room for capacity bytes; may be null if capacity is 0
 *        size      how many of them hold chunks, at most capacity
 *        capacity  size of the buffer in bytes
 *  Out:  object    receives the object, to be closed with velmor_core_riff_close()
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_FAILURE  the first size bytes are no chunks, or memory runs out
 */
VELMOR_CORE_API int32_t velmor_core_riff_open_buffer_rw(void* buffer, uint64_t size,
                                                        uint64_t capacity,
                                                        velmor_core_riff_object_t** object);

/** Open an asset of the application package: not available on Linux.
 *
 *  Returns VELMOR_CORE_FAILURE; nothing is read or written.
 */
VELMOR_CORE_API int32_t velmor_core_riff_open_asset(const char* path,
                                                    velmor_core_riff_object_t** object);

/** Open an empty cache: an object in memory of its own that grows as chunks are added.
 *
 *  Gather chunks under its virtual root, pour them into another object with
 *  velmor_core_riff_chunk_add_cache(), then clear it for the next batch.
 *
 *  In:   capacity  bytes to begin with. A growth takes the next multiple of the capacity above the
 *                  size needed, so it doubles at least; from 0 it takes just that size.
 *  Out:  object    receives the object, to be closed with velmor_core_riff_close()
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_FAILURE  memory runs out
 */
VELMOR_CORE_API int32_t velmor_core_riff_open_cache(uint64_t capacity,
                                                    velmor_core_riff_object_t** object);

/** Close an object: its tree, descriptor and own memory go, a buffer of the caller's stays.
 *
 *  In:   object  null does nothing. The handle and all chunk handles of the object end.
 */
VELMOR_CORE_API void velmor_core_riff_close(velmor_core_riff_object_t* object);

/** The first top-level chunk of an object, null if it holds none. */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_object_get_root_chunk(
    velmor_core_riff_object_t* object);

/** The group above an object's top-level chunks; never null.
 *
 *  It has no header: its id, group id and data size are 0, and it has no parent.
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_object_get_virtual_root_chunk(
    velmor_core_riff_object_t* object);

/** Bytes that an object's buffer can hold: of a cache as it has grown, of a buffer as it was opened
 *  (0 if for reading only). 0 for a file.
 */
VELMOR_CORE_API uint64_t velmor_core_riff_cache_get_capacity(velmor_core_riff_object_t* object);

/** Bytes that an object of any kind holds now. 2^64 - 1 for a file that cannot seek. */
VELMOR_CORE_API uint64_t velmor_core_riff_cache_get_size(velmor_core_riff_object_t* object);

/** Drop all chunks of a cache and set its size to 0; its capacity stays.
 *
 *  No byte is written. On other objects it does the same to tree and size, and nothing to the
 *  storage: a file keeps its length until the next edit. All chunk handles of the object end, but
 *  for that of the virtual root.
 */
VELMOR_CORE_API void velmor_core_riff_cache_clear(velmor_core_riff_object_t* object);

/* --- Walking ---------------------------------------------------------------------------------- */

/** The id of a chunk; 0 for a virtual root. */
VELMOR_CORE_API uint32_t velmor_core_riff_chunk_get_id(velmor_core_riff_chunk_t* chunk);

/** The group id of a group; 0 for null, for a data chunk and for a virtual root. */
VELMOR_CORE_API uint32_t velmor_core_riff_chunk_get_group_id(velmor_core_riff_chunk_t* chunk);

/** The group around a chunk: the virtual root for a top-level chunk, null for a virtual root. */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_chunk_get_parent(
    velmor_core_riff_chunk_t* chunk);

/** The chunk behind a chunk in the same group, null behind the last one. */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_chunk_get_next(
    velmor_core_riff_chunk_t* chunk);

/** The number of a group's children; 0 for null and for a data chunk. */
VELMOR_CORE_API uint32_t velmor_core_riff_chunk_get_child_count(velmor_core_riff_chunk_t* chunk);

/** A group's child by its index from 0, in the order of the bytes.
 *
 *  Returns null for an index at or past the child count, for null and for a data chunk.
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_chunk_get_child(
    velmor_core_riff_chunk_t* chunk, uint32_t index);

/** The data size of a chunk in bytes: its size field. For a group it counts group id and children;
 *  for a virtual root it is 0.
 */
VELMOR_CORE_API uint32_t velmor_core_riff_chunk_get_data_size(velmor_core_riff_chunk_t* chunk);

/* --- Data ------------------------------------------------------------------------------------- */

/** Copy bytes out of a data chunk.
 *
 *  Copies `size` bytes, the first of them `offset` bytes into the chunk's data, to `buffer`. The
 *  range has to lie within the data (velmor_core_riff_chunk_get_data_size()); the pad byte behind
 *  data of odd size is out of reach. Nothing is cached: a file object reads the file each time.
 *
 *  In:   chunk   a data chunk; what a group holds is reached through its children
 *        size    bytes to copy, 0 allowed
 *        offset  bytes from the start of the data
 *  Out:  buffer  receives `size` bytes
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_BAD_HANDLE  chunk is null or not a data chunk; buffer is untouched
 *    VELMOR_CORE_FAILURE     the range leaves the data: buffer is untouched;
 *                            the object cannot be read: buffer may hold the first bytes
 */
VELMOR_CORE_API int32_t velmor_core_riff_chunk_get_data(velmor_core_riff_chunk_t* chunk,
                                                        void* buffer, uint32_t size,
                                                        uint32_t offset);

/** Copy bytes into a data chunk.
 *
 *  Overwrites `size` bytes of the chunk's data, the first of them `offset` bytes into it. The data
 *  size stays, and so does the pad byte; velmor_core_riff_chunk_set_data_size() lengthens a chunk.
 *
 *  In:   chunk   a data chunk
 *        buffer  the bytes to write
 *        size    their number, 0 allowed
 *        offset  bytes from the start of the data
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_BAD_HANDLE  chunk is null or not a data chunk
 *    VELMOR_CORE_FAILURE     the range leaves the data, or the object is for reading only or lacks
 *                            bytes of the range: nothing is changed; the object cannot be written:
 *                            the first bytes may be
 */
VELMOR_CORE_API int32_t velmor_core_riff_chunk_set_data(velmor_core_riff_chunk_t* chunk,
                                                        const void* buffer, uint32_t size,
                                                        uint32_t offset);

/* --- Editing ---------------------------------------------------------------------------------- */

/** Lengthen a data chunk, or cut it, at its end.
 *
 *  The bytes behind the chunk move if its size rounded up to even changes. Bytes that are won are
 *  not cleared: they hold whatever the storage held there. Size fields wrap at 2^32: keep groups
 *  below that.
 *
 *  In:   chunk      a data chunk
 *        data_size  the new data size in bytes
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_BAD_HANDLE  chunk is null or not a data chunk
 *    VELMOR_CORE_FAILURE     the object cannot grow or lacks bytes that the edit needs: nothing is
 *                            changed; it is for reading only: no byte is changed, but the chunk
 *                            shows the new size if nothing had to move; it cannot be read or
 *                            written: the edit stops half-way
 */
VELMOR_CORE_API int32_t velmor_core_riff_chunk_set_data_size(velmor_core_riff_chunk_t* chunk,
                                                             uint32_t data_size);

/** Append a copy of a chunk, with everything in it, to a group.
 *
 *  The copy takes header, data and pad byte as they are stored, so a chunk that was created as a
 *  group under an id other than "RIFF" or "LIST" arrives as a data chunk. The source stays where it
 *  is. Free space is not used.
 *
 *  In:   group  where the copy goes, behind the last child
 *        chunk  the source, of the same or another object; a child of `group` is copied like any
 *               other
 *
 *  Returns the copy, or null when
 *    - group is null or not a group, or chunk is null;
 *    - chunk is a virtual root, is `group` itself or a group around it, or does not hold all its
 *      bytes (of one in another object, its pad byte too), or the object of group cannot grow:
 *      nothing is changed;
 *    - an object cannot be read or written, or memory runs out, or among the copied is a data chunk
 *      that was added under the id "RIFF" or "LIST" and whose data is no list of chunks: the edit
 *      may stop half-way.
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_chunk_add_chunk(
    velmor_core_riff_chunk_t* group, velmor_core_riff_chunk_t* chunk);

/** Pour all chunks of a cache, or of an object over a buffer, into a group.
 *
 *  They go, together and in order, into the free space that velmor_core_riff_chunk_add_data_chunk()
 *  would take, else behind the last child. A free chunk that is filled exactly ends, its handle
 *  with it. The cache is left as it is.
 *
 *  In:   group  where the chunks go
 *        cache  a cache, or an object over a buffer, other than the object of group
 *
 *  Returns the first of the chunks that were added, or null when
 *    - group is null or not a group; cache is null or a file; cache is empty;
 *    - cache is the object of group, its last chunk runs past its bytes, or the object of group
 *      cannot grow: nothing is changed;
 *    - the object cannot be read or written, or memory runs out, or the cache holds a data chunk
 *      under the id "RIFF" or "LIST" whose data is no list of chunks: the edit may stop half-way.
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_chunk_add_cache(
    velmor_core_riff_chunk_t* group, velmor_core_riff_object_t* cache);

/** Add a data chunk to a group.
 *
 *  It takes the smallest free chunk of the group that it fills exactly, or that leaves room for a
 *  header behind it. The free chunk at the very end of the object comes last, however small, and
 *  grows if nothing else fits. Without free space, and always if data_size is 0, the new chunk goes
 *  behind the last child, and the bytes behind the group move. A free chunk that is filled exactly
 *  ends, its handle with it. The pad byte of data of odd size is not written.
 *
 *  In:   group      where the chunk goes
 *        id         its id. "RIFF" or "LIST" make no group here, but the chunk will be read as one
 *                   when the bytes are opened again: use velmor_core_riff_chunk_add_group_chunk().
 *        data       its data; null leaves the bytes as the storage holds them
 *        data_size  its data size in bytes
 *
 *  Returns the new chunk, or null when
 *    - group is null or not a group;
 *    - the object cannot grow or is for reading only: nothing is changed;
 *    - the object cannot be read or written, or memory runs out: the edit may stop half-way.
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_chunk_add_data_chunk(
    velmor_core_riff_chunk_t* group, uint32_t id, const void* data, uint32_t data_size);

/** Append an empty group to a group. Free space is not used.
 *
 *  In:   group     where the new group goes, behind the last child
 *        id        "RIFF" or "LIST". Under any other id it is a group until the object is closed,
 *                  and a data chunk that begins with the group id when it is opened again.
 *        group_id  its group id
 *
 *  Returns the new group, or null as velmor_core_riff_chunk_add_data_chunk().
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_chunk_add_group_chunk(
    velmor_core_riff_chunk_t* group, uint32_t id, uint32_t group_id);

/** Turn a chunk into free space, without moving a byte.
 *
 *  It is joined with free chunks directly before and behind it, up to 2^32 - 1 bytes in all. The
 *  size of the object and of all groups stays. The data stays in the bytes until it is overwritten.
 *
 *  In:   chunk  pointer to the handle of the chunk
 *  Out:  chunk  receives the free chunk that covers the bytes now, on success
 *
 *  On success the handle ends if the chunk is joined with a free neighbour or is a group, and with
 *  it all handles into that group. A free chunk behind, if joined with one before, ends too.
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_BAD_HANDLE  chunk or the handle that it points to is null
 *    VELMOR_CORE_FAILURE     the chunk is a virtual root, or a data chunk of 2^32 - 1 bytes that is
 *                            not free, or its pad byte, which would become free data, is missing
 *                            with bytes in front of it: nothing is changed; the object is for
 *                            reading only or cannot be written, or memory runs out: the tree may
 *                            show a change that the bytes lack. Open the object anew then.
 */
VELMOR_CORE_API int32_t velmor_core_riff_chunk_recycle(velmor_core_riff_chunk_t** chunk);

/** Remove a chunk and everything in it; the bytes behind it move down.
 *
 *  Its handle and all handles into it end.
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_BAD_HANDLE  chunk is null
 *    VELMOR_CORE_FAILURE     chunk is a virtual root, the object is for reading only (and holds
 *                            more than the chunk) or lacks bytes of it: nothing is changed; it
 *                            cannot be read or written: the edit stops half-way
 */
VELMOR_CORE_API int32_t velmor_core_riff_chunk_remove(velmor_core_riff_chunk_t* chunk);

#ifdef __cplusplus
}
#endif

#endif
