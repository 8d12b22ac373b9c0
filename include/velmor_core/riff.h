/** RIFF chunk trees: open, walk, read, write and edit in place.
 *
 *  Format.  RIFF is the Resource Interchange File Format (Microsoft and IBM, 1991). A chunk is an
 *  id of four bytes, a little-endian 32-bit data size, that many bytes of data, and a pad byte if
 *  the size is odd. A chunk with the id "RIFF" or "LIST" is a group: its data is a group id of four
 *  bytes and then, back to back, further chunks. Every other chunk is a data chunk.
 *
 *  Objects.  An object is bytes plus the tree of the chunks in them. The bytes are a file, a buffer
 *  of the caller's, or a cache, which is memory that grows. Opening an object reads the tree. An
 *  object holds any number of top-level chunks. Above them is the virtual root, a group that has no
 *  header in the bytes.
 *
 *  Edits.  An edit changes the stored bytes before it returns. Closing has nothing to flush. An
 *  edit that fails is not undone: see "When an edit fails" below.
 *
 *  Sizes and offsets.  The data size of a chunk is its size field: it counts neither the header nor
 *  the pad byte. The total size is 8 + data size, rounded up to even. Offsets within data count
 *  from the first data byte.
 *
 *  Size limit.  A group must stay below 4 GiB: its data size has 32 bits. The library does not
 *  check this. An edit that makes a group larger than 2^32 - 1 bytes succeeds, but the size field
 *  wraps to a small number. Then the bytes do not open again. So check the size before you add or
 *  lengthen a chunk. Of the groups that a chunk is in, the top-level group is the largest. It is
 *  enough to check the top-level group:
 *
 *    (uint64_t)velmor_core_riff_chunk_get_data_size(top) + added <= UINT32_MAX
 *
 *  `added` is the total size of a new chunk, or the number of bytes by which the total size of a
 *  chunk grows. The virtual root has no size field: an object may hold any number of top-level
 *  chunks of up to 4 GiB each.
 *
 *  Opening does not validate.  Any bytes that can be read as a sequence of chunks can be opened. A
 *  PNG, JPEG, FLAC or text file opens as one data chunk: its first eight bytes are read as id and
 *  data size, and most of the data is missing. A million zero bytes open as 125,000 empty chunks.
 *  Check the ids, and the data that you need. In detail:
 *
 *  - Each group has to end exactly where its last child ends. A stream that has the same
 *    placeholder in all sizes, such as 0 or 2^32 - 1, does not open.
 *  - Bytes after the last top-level chunk are read as further chunks, whatever they are. An ID3 tag
 *    opens as a data chunk that runs past the end. If one to seven bytes are left, fewer than a
 *    header has, the object does not open.
 *  - A last chunk may run past the end of the bytes: see "Chunks that were cut short".
 *
 *  Free space.  A data chunk with the id "JUNK" is free space. velmor_core_riff_chunk_recycle()
 *  turns a chunk into free space. velmor_core_riff_chunk_add_data_chunk() and
 *  velmor_core_riff_chunk_add_cache() use the free chunks of the group that they add to, before the
 *  group grows. Two kinds of free chunks are not used until the object is opened again, even if
 *  recycling a neighbour makes them larger:
 *
 *  - a chunk with the id "JUNK" that was itself added into free space
 *  - an empty free chunk of 8 bytes that remained when a new chunk took all other bytes
 *
 *  A group that was added under the id "JUNK" is a group, not free space. But when the object is
 *  opened again, the group is read as a data chunk. Then this chunk is free space.
 *
 *  Order of free space.  A group's free chunks are tried in the order of a list, and the first one
 *  that fits is used. A free chunk fits in two cases: its total size is exactly the number of new
 *  bytes, or its data size is at least that number. In the second case, the rest has room for a
 *  header. The new bytes include headers and pad bytes.
 *
 *  The list is sorted from the smallest data size to the largest. Chunks of equal size are in the
 *  order of their offsets. A free chunk that is the last top-level chunk of the object comes last
 *  whatever its size is, since it can grow without moving anything. This holds for top-level chunks
 *  only, not for the last chunk inside a group.
 *
 *  The list is sorted when a chunk is recycled, when a free chunk is split and keeps at least one
 *  byte of data, and when a free chunk enters the list. The list is not sorted when
 *  velmor_core_riff_chunk_set_data_size() resizes a free chunk, nor when another chunk becomes the
 *  last top-level chunk.
 *
 *  While an object is opened, its chunks are read one by one, from offset 0 on, and each free chunk
 *  enters the list. For example, an object has the top-level chunks "JUNK" with 100 bytes, "JUNK"
 *  with 20 bytes, and "data". When the second "JUNK" enters the list, it is the last chunk that has
 *  been read, so it is sorted to the end. Then "data" is read and becomes the last chunk, but this
 *  does not sort the list. So after opening, the free chunks are tried in the order 100, 20.
 *
 *  Handles.  A chunk handle points into the tree of its object. The caller never frees it. A handle
 *  that has ended must not be used any more. These calls end a chunk handle:
 *
 *  - velmor_core_riff_close() and velmor_core_riff_cache_clear() of its object
 *  - removing the chunk or one of its ancestors
 *  - recycling one of its ancestors
 *  - recycling the chunk or a neighbour: velmor_core_riff_chunk_recycle() says when this ends the
 *    handle
 *  - if it is a free chunk: adding chunks that fill it exactly
 *
 *  No other edit ends a handle, even if it moves the chunk. A call that fails ends no handle.
 *
 *  Null.  These may be null:
 *
 *  - a chunk handle in velmor_core_riff_chunk_get_group_id(), _get_child(), _get_child_count() and
 *    all functions that read data, write data or edit
 *  - an object handle in velmor_core_riff_close() and velmor_core_riff_chunk_add_cache()
 *  - the path of velmor_core_riff_open_file()
 *  - the data of velmor_core_riff_chunk_add_data_chunk()
 *  - both arguments of velmor_core_riff_open_asset()
 *  - the buffer of velmor_core_riff_open_buffer_rw() if its capacity is 0; in all other functions,
 *    a buffer whose size is 0
 *
 *  These must not be null, and the functions do not test this:
 *
 *  - a chunk handle in velmor_core_riff_chunk_get_id(), _get_parent(), _get_next() and
 *    _get_data_size()
 *  - an object handle in all other functions
 *  - the out-pointer of an open function, except that of velmor_core_riff_open_asset()
 *
 *  New bytes.  An edit leaves some of the bytes that it adds uninitialised. These are the new bytes
 *  of a lengthened data chunk, the data of a data chunk that is added with null data, and every new
 *  pad byte, unless it is copied with its chunk. Uninitialised bytes hold what was stored at their
 *  place before, such as a part of a chunk that has moved, or the old data of free space. Where a
 *  file grows at its end, they are zeros. Overwrite them if the old data is secret.
 *
 *  Chunks that were cut short.  A last chunk whose data runs past the end of the bytes keeps the
 *  size that its header states. Reading or writing the missing data fails. An edit that needs
 *  missing bytes of the object that it changes does one of two things:
 *
 *  - If only the last pad byte is missing, the edit appends it first. The pad byte stays, even if
 *    there is no room for the rest of the edit.
 *  - If more is missing, the edit fails and changes nothing.
 *
 *  These are the bytes that an edit needs. Every edit needs the bytes that it writes, copies or
 *  removes. If a pad byte becomes data, the edit needs the pad byte. If the edit changes the size
 *  of the object, it needs all bytes before the place of the change. If the edit adds chunks into
 *  free space of the virtual root, it needs all bytes of the object except the last pad byte.
 *
 *  When an edit fails.  All handles stay valid. Each function says which failures change nothing.
 *  Even then, the edit may have appended the missing pad byte. A failure that is not said to change
 *  nothing leaves one of two states:
 *
 *  - If the object is read-only, no byte has changed, but a chunk in the tree may show a new data
 *    size or id. If the call is repeated, it may return success without writing anything, since the
 *    tree already shows the result. Open the object again before you rely on the tree.
 *  - Otherwise the edit has stopped half-way. Bytes and tree may disagree, and a further edit may
 *    do more damage. Close the object and go back to a copy of the bytes. If the bytes open again,
 *    that proves nothing: damaged bytes often do.
 *
 *  In a buffer or cache, only velmor_core_riff_chunk_add_chunk() and
 *  velmor_core_riff_chunk_add_cache() can stop half-way: if memory runs out, or if the new bytes
 *  cannot be read as chunks. In a file, these two can stop half-way for the same reasons. In
 *  addition, every edit of a file can stop half-way if a system call fails after some bytes have
 *  changed. These are the steps of each edit, in order:
 *
 *    set_data                     write the data
 *    set_data_size, longer        lengthen the object; move up what follows; write the size fields
 *                                 of the chunk and its ancestors
 *    set_data_size, shorter       move down what follows; shorten the object; write the size fields
 *    remove                       as set_data_size, shorter
 *    add_..., no free space       lengthen the object; move up what follows; write the size fields
 *                                 of the ancestors; write header and data; update the tree
 *    add_..., into free space     write header and data; write the header of what stays free;
 *                                 update the tree
 *    add_..., last chunk is free  lengthen the object; write the size field of the free chunk; then
 *                                 as into free space
 *    recycle                      write 4 bytes of a header, or 8; update the tree
 *
 *  The caller cannot tell from the result how far an edit got. To be safe, edit a copy of the file,
 *  fsync(2) it and rename(2) it over the original, as examples/retag_wav.c does.
 *
 *  Full disk.  Before an edit moves bytes up in a file, it reserves the room for them with
 *  fallocate(2). If the disk is full, the edit fails; the file and the tree stay as they were.
 *  Trying again has the same result. Two cases are not protected: a file system that cannot
 *  reserve, and an edit that lengthens the file at its end, where nothing has to move. In both
 *  cases, the file may become longer before the system refuses the bytes. Then the edit stops
 *  half-way. On a file system that cannot reserve, bytes that had to move may have overwritten
 *  others.
 *
 *  Signals.  A system call that a signal interrupts counts as failed. There is one exception:
 *  fallocate(2) is repeated. Install handlers with SA_RESTART, or block signals during an edit. If
 *  the process is killed during an edit, the file can be left half-way. An edit that would lengthen
 *  a file past RLIMIT_FSIZE raises SIGXFSZ, which kills the process. If the signal is ignored, the
 *  edit fails and changes nothing.
 *
 *  Power failure.  The library never calls fsync(2). Other programs see a change at once, but the
 *  change reaches the disk only when the system writes it back. An error in writing it back is not
 *  reported. To be sure, fsync(2) the file through a descriptor of your own after the last edit.
 *
 *  Two objects over one file.  Each object has a tree of its own, read when the object was opened.
 *  The tree does not show chunks that were added, moved or removed through another object or by
 *  another program. An edit through a tree that is out of date succeeds and damages the file.
 *  Nothing locks the file. Any number of objects may read a file that nobody edits.
 *
 *  Threads.  Only one thread at a time may use an object and its chunks. Different objects are
 *  independent of each other. velmor_core_riff_chunk_add_chunk() uses the objects of both chunks.
 *  velmor_core_riff_chunk_add_cache() uses the object of the group, and the cache.
 *
 *  Fork.  After fork(2), each process has its own copy of a cache or of a buffer in private memory.
 *  The two copies of a file object share one file position. So simultaneous calls may read and
 *  write at wrong places. Use the object in one of the processes only. In the other, open the file
 *  again. exec(3) closes the descriptor.
 *
 *  Costs.  Opening reads the id of each chunk twice, its data size once, and the group id of each
 *  group once. In a file, each read costs an lseek(2) and a read(2). The functions that walk the
 *  tree read no bytes and take constant time. velmor_core_riff_chunk_get_child() takes the same
 *  time for every index. An edit that changes the size of the object moves all bytes that follow,
 *  writes the size field of each ancestor, and passes once over the later chunks of the tree.
 *  Recycling a chunk and adding into free space move no bytes; their time grows with the number of
 *  siblings.
 *
 *  Stack.  A call takes little stack, even if groups are nested deeply. There are two exceptions:
 *  an edit that moves bytes of a file has a buffer of 64 KiB on the stack, and
 *  velmor_core_riff_chunk_add_chunk() has a buffer of 32 KiB.
 */
#ifndef VELMOR_CORE_RIFF_H
#define VELMOR_CORE_RIFF_H

#include <velmor_core/base.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Bytes with their chunk tree: from an open function to velmor_core_riff_close(). */
typedef struct velmor_core_riff_object velmor_core_riff_object_t;

/** A chunk in the tree of an object, which owns it. */
typedef struct velmor_core_riff_chunk velmor_core_riff_chunk_t;

/** How velmor_core_riff_open_file() opens a file. Every other value acts as READ_ONLY. */
enum {
  /** An existing file, for reading. */
  VELMOR_CORE_RIFF_READ_ONLY = 0,
  /** An existing file, for reading and writing. */
  VELMOR_CORE_RIFF_READ_WRITE = 1,
  /** For reading and writing. Creates the file, or empties an existing one. */
  VELMOR_CORE_RIFF_CREATE = 2
};

/** A chunk id or group id from its four characters, as a constant expression:
 *  VELMOR_CORE_RIFF_ID('d', 'a', 't', 'a'). In memory the id's bytes are the characters in order.
 */
#define VELMOR_CORE_RIFF_ID(c0, c1, c2, c3)                            \
  (VELMOR_CORE_RIFF_ID_BYTE(c0, 0) | VELMOR_CORE_RIFF_ID_BYTE(c1, 8) | \
   VELMOR_CORE_RIFF_ID_BYTE(c2, 16) | VELMOR_CORE_RIFF_ID_BYTE(c3, 24))

/** Internal to VELMOR_CORE_RIFF_ID(). */
#ifdef __cplusplus
#define VELMOR_CORE_RIFF_ID_BYTE(c, shift) \
  (static_cast<uint32_t>(static_cast<uint8_t>(c)) << (shift))
#else
#define VELMOR_CORE_RIFF_ID_BYTE(c, shift) ((uint32_t)(uint8_t)(c) << (shift))
#endif

/* --- Objects ---------------------------------------------------------------------------------- */

/** Open a file and read its chunk tree.
 *
 *  Only headers are read. Nothing is cached: each later access is an lseek(2) and a transfer. The
 *  file is not locked. A file that cannot seek, such as a pipe, opens as an empty tree.
 *
 *  In:   path    the file; may be null, which fails
 *        mode    VELMOR_CORE_RIFF_READ_ONLY, _READ_WRITE or _CREATE; a file is created with the
 *                permission bits 0644, less the umask
 *  Out:  object  receives the object, to be closed with velmor_core_riff_close(); not null
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_FAILURE  path is null
 *    VELMOR_CORE_FAILURE  the file cannot be opened in this mode
 *    VELMOR_CORE_FAILURE  the file cannot be read
 *    VELMOR_CORE_FAILURE  the bytes end inside a header
 *    VELMOR_CORE_FAILURE  the children of a group do not end where the group ends
 *    VELMOR_CORE_FAILURE  memory runs out
 */
VELMOR_CORE_API int32_t velmor_core_riff_open_file(const char* path, int32_t mode,
                                                   velmor_core_riff_object_t** object);

/** Open a buffer for reading.
 *
 *  The buffer stays the caller's: it is never written or freed. It has to live as long as the
 *  object, and must not change. The object's capacity is 0. Edits fail, except these, which write
 *  no byte:
 *
 *  - giving a chunk the data size that it has
 *  - recycling a free chunk that has no free neighbour
 *  - removing the only top-level chunk, if neither data nor its pad byte is missing: the object
 *    becomes empty, and the buffer stays as it was. In a read-only file, the same edit fails.
 *
 *  In:   buffer  the bytes; may be null if size is 0
 *        size    their number
 *  Out:  object  receives the object, to be closed with velmor_core_riff_close(); not null
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_FAILURE  the bytes cannot be read as chunks: see velmor_core_riff_open_file()
 *    VELMOR_CORE_FAILURE  memory runs out
 */
VELMOR_CORE_API int32_t velmor_core_riff_open_buffer_ro(const void* buffer, uint64_t size,
                                                        velmor_core_riff_object_t** object);

/** Open a buffer for reading and writing.
 *
 *  The buffer stays the caller's and is never freed. It has to live as long as the object, and only
 *  the object may change it. The object can grow up to `capacity`. An edit that needs more fails.
 *  velmor_core_riff_cache_get_size() gives the current size.
 *
 *  In:   buffer    room for capacity bytes; may be null if capacity is 0
 *        size      how many of them hold chunks. It must not be above capacity. This is not tested:
 *                  with a larger size, the object reads past the end of the buffer.
 *        capacity  size of the buffer in bytes
 *  Out:  object    receives the object, to be closed with velmor_core_riff_close(); not null
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_FAILURE  the first size bytes cannot be read as chunks: see
 *                         velmor_core_riff_open_file()
 *    VELMOR_CORE_FAILURE  memory runs out
 */
VELMOR_CORE_API int32_t velmor_core_riff_open_buffer_rw(void* buffer, uint64_t size,
                                                        uint64_t capacity,
                                                        velmor_core_riff_object_t** object);

/** Open an asset of the application package: not available on Linux.
 *
 *  Both arguments may be null; neither is used.
 *
 *  Returns VELMOR_CORE_FAILURE
 */
VELMOR_CORE_API int32_t velmor_core_riff_open_asset(const char* path,
                                                    velmor_core_riff_object_t** object);

/** Open an empty cache: an object in its own memory, which grows as chunks are added.
 *
 *  Add chunks to its virtual root. Then add all of them to a group of another object in one call
 *  with velmor_core_riff_chunk_add_cache(). Clear the cache for the next batch.
 *
 *  In:   capacity  bytes to begin with, 0 allowed. When the cache needs more, it multiplies its
 *                  capacity by the smallest whole number that gives more than it needs. So the
 *                  capacity at least doubles. A capacity of 0 becomes exactly what is needed.
 *  Out:  object    receives the object, to be closed with velmor_core_riff_close(); not null
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_FAILURE  memory runs out
 */
VELMOR_CORE_API int32_t velmor_core_riff_open_cache(uint64_t capacity,
                                                    velmor_core_riff_object_t** object);

/** Close an object.
 *
 *  Frees its tree and its own memory and closes its descriptor. The caller's buffer is not freed.
 *  The handle and all chunk handles of the object end. An error of close(2) is not reported.
 *
 *  In:   object  may be null, which does nothing
 */
VELMOR_CORE_API void velmor_core_riff_close(velmor_core_riff_object_t* object);

/** The first top-level chunk of an object.
 *
 *  In:   object  must not be null
 *
 *  Returns the chunk, or null if the object holds none
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_object_get_root_chunk(
    velmor_core_riff_object_t* object);

/** The virtual root of an object: the group above its top-level chunks.
 *
 *  It has no header and no parent. Its id, group id and data size are 0.
 *
 *  In:   object  must not be null
 *
 *  Returns the virtual root, never null
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_object_get_virtual_root_chunk(
    velmor_core_riff_object_t* object);

/** The capacity of an object's buffer in bytes.
 *
 *  In:   object  must not be null
 *
 *  Returns the current capacity of a cache; the capacity that a buffer was opened with; 0 for a
 *  read-only buffer and for a file
 */
VELMOR_CORE_API uint64_t velmor_core_riff_cache_get_capacity(velmor_core_riff_object_t* object);

/** The number of bytes that an object of any kind holds.
 *
 *  For a file, the number is the length at the time of opening, changed by the object's own edits.
 *  Changes by others are not seen.
 *
 *  In:   object  must not be null
 *
 *  Returns the number, or 2^64 - 1 for a file that cannot seek
 */
VELMOR_CORE_API uint64_t velmor_core_riff_cache_get_size(velmor_core_riff_object_t* object);

/** Drop all chunks of a cache and set its size to 0.
 *
 *  The capacity stays, and no byte is written. All chunk handles of the object end, except that of
 *  the virtual root. An object over a buffer or a file loses its tree and its size in the same way.
 *  The bytes of the buffer stay. The file keeps its length until the next edit changes it.
 *
 *  In:   object  must not be null
 */
VELMOR_CORE_API void velmor_core_riff_cache_clear(velmor_core_riff_object_t* object);

/* --- Walking ---------------------------------------------------------------------------------- */

/** The id of a chunk.
 *
 *  In:   chunk  must not be null
 *
 *  Returns the id, or 0 for a virtual root
 */
VELMOR_CORE_API uint32_t velmor_core_riff_chunk_get_id(velmor_core_riff_chunk_t* chunk);

/** The group id of a group.
 *
 *  In:   chunk  may be null
 *
 *  Returns the group id, or 0 for null, a data chunk and a virtual root
 */
VELMOR_CORE_API uint32_t velmor_core_riff_chunk_get_group_id(velmor_core_riff_chunk_t* chunk);

/** The group that holds a chunk.
 *
 *  In:   chunk  must not be null
 *
 *  Returns the group, or null for a virtual root. The group of a top-level chunk is the virtual
 *  root.
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_chunk_get_parent(
    velmor_core_riff_chunk_t* chunk);

/** The next chunk in the same group.
 *
 *  In:   chunk  must not be null
 *
 *  Returns the chunk, or null for the last one and for a virtual root
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_chunk_get_next(
    velmor_core_riff_chunk_t* chunk);

/** The number of a group's children.
 *
 *  In:   chunk  may be null
 *
 *  Returns the number, or 0 for null and for a data chunk
 */
VELMOR_CORE_API uint32_t velmor_core_riff_chunk_get_child_count(velmor_core_riff_chunk_t* chunk);

/** A group's child by its index. Takes the same time for every index.
 *
 *  In:   chunk  may be null
 *        index  0 for the first child, in the order of the bytes
 *
 *  Returns the child, or null when
 *    - index is at or past the child count;
 *    - chunk is null or a data chunk.
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_chunk_get_child(
    velmor_core_riff_chunk_t* chunk, uint32_t index);

/** The data size of a chunk in bytes: its size field.
 *
 *  The data size of a group counts its group id and its children.
 *
 *  In:   chunk  must not be null
 *
 *  Returns the data size, or 0 for a virtual root
 */
VELMOR_CORE_API uint32_t velmor_core_riff_chunk_get_data_size(velmor_core_riff_chunk_t* chunk);

/* --- Data ------------------------------------------------------------------------------------- */

/** Copy bytes out of a data chunk.
 *
 *  Copies `size` bytes to `buffer`. The first one is `offset` bytes into the chunk's data. The
 *  range has to lie within the data size. So the pad byte cannot be read. Nothing is cached: a file
 *  object reads the file each time.
 *
 *  In:   chunk   a data chunk; may be null, which fails
 *        size    bytes to copy, 0 allowed
 *        offset  bytes from the start of the data
 *  Out:  buffer  receives `size` bytes; may be null if size is 0
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_BAD_HANDLE  chunk is null or not a data chunk; buffer is untouched
 *    VELMOR_CORE_FAILURE     the range is not within the data size; buffer is untouched
 *    VELMOR_CORE_FAILURE     the chunk was cut short within the range; buffer may hold the first
 *                            bytes
 *    VELMOR_CORE_FAILURE     the object cannot be read; buffer may hold the first bytes
 */
VELMOR_CORE_API int32_t velmor_core_riff_chunk_get_data(velmor_core_riff_chunk_t* chunk,
                                                        void* buffer, uint32_t size,
                                                        uint32_t offset);

/** Copy bytes into a data chunk.
 *
 *  Overwrites `size` bytes of the chunk's data. The first one is `offset` bytes into the data. The
 *  data size and the pad byte do not change. velmor_core_riff_chunk_set_data_size() lengthens a
 *  chunk.
 *
 *  In:   chunk   a data chunk; may be null, which fails
 *        buffer  the bytes to write; may be null if size is 0
 *        size    their number, 0 allowed
 *        offset  bytes from the start of the data
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_BAD_HANDLE  chunk is null or not a data chunk; nothing is changed
 *    VELMOR_CORE_FAILURE     the range is not within the data size; nothing is changed
 *    VELMOR_CORE_FAILURE     the chunk was cut short within the range; nothing is changed
 *    VELMOR_CORE_FAILURE     the object is read-only; nothing is changed. If size is 0, the call
 *                            succeeds for a file and fails for a buffer
 *    VELMOR_CORE_FAILURE     the file cannot be written; the first bytes may have changed
 */
VELMOR_CORE_API int32_t velmor_core_riff_chunk_set_data(velmor_core_riff_chunk_t* chunk,
                                                        const void* buffer, uint32_t size,
                                                        uint32_t offset);

/* --- Editing ---------------------------------------------------------------------------------- */

/** Lengthen or shorten a data chunk at its end.
 *
 *  The bytes after the chunk move if its total size changes. New bytes are uninitialised. Ancestors
 *  must stay below 4 GiB: see "Size limit". No handle ends.
 *
 *  In:   chunk      a data chunk; may be null, which fails
 *        data_size  the new data size in bytes
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_BAD_HANDLE  chunk is null or not a data chunk; nothing is changed
 *    VELMOR_CORE_FAILURE     the buffer has no room; nothing is changed
 *    VELMOR_CORE_FAILURE     memory runs out; nothing is changed
 *    VELMOR_CORE_FAILURE     the file cannot be lengthened; nothing is changed
 *    VELMOR_CORE_FAILURE     the total size would change, and the chunk was cut short by more than
 *                            its pad byte; nothing is changed
 *    VELMOR_CORE_FAILURE     the pad byte would become data, and the chunk was cut short by more
 *                            than its pad byte; nothing is changed
 *    VELMOR_CORE_FAILURE     the object is read-only; no byte is changed, but the chunk shows the
 *                            new data size if the total size stays the same
 *    VELMOR_CORE_FAILURE     the file cannot be read, written or shortened; the edit may stop
 *                            half-way
 */
VELMOR_CORE_API int32_t velmor_core_riff_chunk_set_data_size(velmor_core_riff_chunk_t* chunk,
                                                             uint32_t data_size);

/** Append a copy of a chunk, with everything in it, to a group.
 *
 *  The copy takes header, data and pad byte as they are stored. The kind of the copy depends on the
 *  stored id: a group that was added under an id other than "RIFF" or "LIST" is copied as a data
 *  chunk. The source stays where it is. Free space is not used. Ancestors must stay below 4 GiB:
 *  see "Size limit". No handle ends.
 *
 *  The call uses the objects of both arguments: no other thread may use either of them.
 *
 *  In:   group  where the copy is appended, as the last child; may be null, which fails
 *        chunk  the source, of the same or another object; may be null, which fails. A child of
 *               `group` is copied like any other.
 *
 *  Returns the copy, or null when
 *    - group is null or not a group; nothing is changed;
 *    - chunk is null or a virtual root; nothing is changed;
 *    - chunk is `group` or one of its ancestors; nothing is changed;
 *    - chunk was cut short by more than its pad byte; nothing is changed;
 *    - chunk is in another object and lacks its pad byte; nothing is changed;
 *    - the object of group was cut short, and the edit needs missing bytes; nothing is changed;
 *    - the object of group cannot grow or is read-only; nothing is changed;
 *    - memory runs out; the edit may stop half-way;
 *    - a file cannot be read or written; the edit may stop half-way;
 *    - the copied bytes hold a data chunk that was added under the id "RIFF" or "LIST", and whose
 *      data is not a list of chunks; the edit stops half-way.
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_chunk_add_chunk(
    velmor_core_riff_chunk_t* group, velmor_core_riff_chunk_t* chunk);

/** Add all chunks of a cache, or of an object over a buffer, to a group.
 *
 *  The chunks are added one directly after the other, in the same order. Their place is where
 *  velmor_core_riff_chunk_add_data_chunk() would add one chunk of the same total size: in free
 *  space, or as the last children. Unlike that function, velmor_core_riff_chunk_add_cache() uses
 *  free space also for a single chunk without data. If the chunks fill a free chunk exactly, the
 *  handle of the free chunk ends. The cache is not changed. Ancestors must stay below 4 GiB: see
 *  "Size limit".
 *
 *  The call uses the object of the group and the cache: no other thread may use either of them.
 *
 *  In:   group  where the chunks go; may be null, which fails
 *        cache  a cache, or an object over a buffer, other than the object of group; may be null,
 *               which fails
 *
 *  Returns the first of the chunks that were added, or null when
 *    - group is null or not a group; nothing is changed;
 *    - cache is null, a file, or the object of group; nothing is changed;
 *    - cache is empty; nothing is changed;
 *    - the last chunk of cache was cut short, even by the pad byte alone; nothing is changed;
 *    - the object of group was cut short, and the edit needs missing bytes; nothing is changed;
 *    - the object of group cannot grow; nothing is changed;
 *    - the object of group is read-only; no byte is changed. If the last top-level chunk is free,
 *      its data size in the tree may grow by 1;
 *    - memory runs out; the edit may stop half-way;
 *    - the file cannot be read or written; the edit may stop half-way;
 *    - cache holds a data chunk that was added under the id "RIFF" or "LIST", and whose data is not
 *      a list of chunks; the edit stops half-way.
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_chunk_add_cache(
    velmor_core_riff_chunk_t* group, velmor_core_riff_object_t* cache);

/** Add a data chunk to a group.
 *
 *  The new chunk goes into the first free chunk of the group that fits: see "Order of free space".
 *  If none fits, and the last free chunk in that order is the last top-level chunk of the object,
 *  this free chunk grows: its data size becomes the total size of the new chunk. Then the new chunk
 *  goes into it, and an empty free chunk of 8 bytes remains after the new chunk. In all other
 *  cases, and always if data_size is 0, the new chunk is appended as the group's last child, and
 *  the bytes after the group move.
 *
 *  If the new chunk fills a free chunk exactly, the handle of the free chunk ends. The pad byte of
 *  data of odd size is not written. Ancestors must stay below 4 GiB: see "Size limit".
 *
 *  In:   group      where the chunk goes; may be null, which fails
 *        id         its id. Do not use "RIFF" or "LIST": they give a data chunk here, but a group
 *                   when the bytes are opened again. To add a group, use
 *                   velmor_core_riff_chunk_add_group_chunk().
 *        data       its data; may be null, which leaves the data uninitialised
 *        data_size  its data size in bytes
 *
 *  Returns the new chunk, or null when
 *    - group is null or not a group; nothing is changed;
 *    - the object cannot grow; nothing is changed;
 *    - the object was cut short, and the edit needs missing bytes; nothing is changed;
 *    - memory runs out; nothing is changed;
 *    - the object is read-only; no byte is changed. If the last top-level chunk is free, its data
 *      size in the tree may grow by 1;
 *    - the file cannot be read or written; the edit may stop half-way.
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_chunk_add_data_chunk(
    velmor_core_riff_chunk_t* group, uint32_t id, const void* data, uint32_t data_size);

/** Append an empty group to a group.
 *
 *  The new group takes 12 bytes. Free space is not used. Ancestors must stay below 4 GiB: see "Size
 *  limit". No handle ends.
 *
 *  In:   group     where the new group is appended, as the last child; may be null, which fails
 *        id        "RIFF" or "LIST". Under any other id, it is a group until the object is closed.
 *                  When the object is opened again, it is a data chunk whose data begins with the
 *                  group id.
 *        group_id  its group id
 *
 *  Returns the new group, or null when
 *    - group is null or not a group; nothing is changed;
 *    - the object cannot grow or is read-only; nothing is changed;
 *    - the object was cut short, and the edit needs missing bytes; nothing is changed;
 *    - memory runs out; nothing is changed;
 *    - the file cannot be read or written; the edit may stop half-way.
 */
VELMOR_CORE_API velmor_core_riff_chunk_t* velmor_core_riff_chunk_add_group_chunk(
    velmor_core_riff_chunk_t* group, uint32_t id, uint32_t group_id);

/** Turn a chunk into free space, without moving a byte.
 *
 *  If there is a free chunk directly before or after it, they are merged. A free neighbour is left
 *  out if the total size would exceed 2^32 - 1 bytes. If a pad byte becomes free data, the edit
 *  needs it: see "Chunks that were cut short". The object and all groups keep their sizes.
 *  The data stays in the bytes until it is overwritten. 4 or 8 bytes of a header are written.
 *  Nothing is written if the chunk is free and has no free neighbour.
 *
 *  In:   chunk  pointer to the handle of the chunk; may be null, which fails
 *  Out:  chunk  receives the free chunk that covers the bytes now, on success
 *
 *  These handles end on success:
 *
 *  - that of the chunk, if it is a group or is merged with a free neighbour
 *  - those of all chunks in it, if it is a group
 *  - that of the free chunk directly after the chunk, if there is also one directly before it and
 *    all three are merged
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_BAD_HANDLE  chunk or the handle that it points to is null; nothing is changed
 *    VELMOR_CORE_FAILURE     the chunk is a virtual root; nothing is changed
 *    VELMOR_CORE_FAILURE     the chunk is a data chunk that is not free, and its data size is
 *                            2^32 - 1; nothing is changed
 *    VELMOR_CORE_FAILURE     the edit needs the pad byte, and data before it is missing, too;
 *                            nothing is changed
 *    VELMOR_CORE_FAILURE     the edit needs the pad byte, which is missing, and the object cannot
 *                            grow; nothing is changed
 *    VELMOR_CORE_FAILURE     memory runs out; nothing is changed
 *    VELMOR_CORE_FAILURE     the object is read-only; no byte is changed, but the tree may show
 *                            a new id or data size
 *    VELMOR_CORE_FAILURE     the file cannot be read or written; the edit may stop half-way
 */
VELMOR_CORE_API int32_t velmor_core_riff_chunk_recycle(velmor_core_riff_chunk_t** chunk);

/** Remove a chunk and everything in it.
 *
 *  The bytes after the chunk move down, and the object becomes shorter. The handle of the chunk
 *  ends. If it is a group, the handles of all chunks in it end, too.
 *
 *  In:   chunk  may be null, which fails
 *
 *  Returns VELMOR_CORE_SUCCESS, or
 *    VELMOR_CORE_BAD_HANDLE  chunk is null; nothing is changed
 *    VELMOR_CORE_FAILURE     chunk is a virtual root; nothing is changed
 *    VELMOR_CORE_FAILURE     chunk was cut short by more than its pad byte; nothing is changed
 *    VELMOR_CORE_FAILURE     chunk lacks its pad byte, and the object cannot grow; nothing is
 *                            changed
 *    VELMOR_CORE_FAILURE     the object is read-only; nothing is changed. In a read-only buffer,
 *                            removing the only top-level chunk can succeed: see
 *                            velmor_core_riff_open_buffer_ro()
 *    VELMOR_CORE_FAILURE     the file cannot be read, written or shortened; the edit may stop
 *                            half-way
 */
VELMOR_CORE_API int32_t velmor_core_riff_chunk_remove(velmor_core_riff_chunk_t* chunk);

#ifdef __cplusplus
}
#endif

#endif
