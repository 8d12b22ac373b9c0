/** RIFF chunk trees as C++ types: see riff.h for the format, the effect of each edit, the state
 *  after a failed edit, and how long handles live.
 *
 *  An Object owns an open file, buffer or cache. A Chunk is a handle to a chunk in it. The handle
 *  ends as riff.h says: with its object, or when an edit deletes the chunk. Using it after that is
 *  undefined.
 */
#ifndef VELMOR_CORE_RIFF_HPP
#define VELMOR_CORE_RIFF_HPP

#include <velmor_core/base.hpp>
#ifndef VELMOR_CORE_CPP_TOO_OLD
#include <velmor_core/riff.h>

#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace velmor_core {

class Chunk;
class Children;
class Matches;
class Object;

namespace detail {
struct ChunkKind;
struct GroupKind;
}  // namespace detail

/** Four characters as one value: an Id or a GroupId. Neither converts to the other. */
template <typename Kind>
class FourCharacters {
 public:
  /** The null id, which the virtual root has: four bytes of 0. */
  constexpr FourCharacters() noexcept = default;
  /** The id with this value in the C interface (VELMOR_CORE_RIFF_ID()). */
  constexpr explicit FourCharacters(uint32_t raw) noexcept : number(raw) {}
  /** The id of a text of one to four characters, padded with spaces; empty for any other text. */
  [[nodiscard]] static constexpr std::optional<FourCharacters> parse(
      std::string_view text) noexcept {
    if (text.empty() || text.size() > 4) return std::nullopt;
    char padded[] = {' ', ' ', ' ', ' '};
    for (std::size_t i = 0; i < text.size(); ++i) padded[i] = text[i];
    return FourCharacters(VELMOR_CORE_RIFF_ID(padded[0], padded[1], padded[2], padded[3]));
  }

  /** The value in the C interface; also for switch labels. */
  constexpr uint32_t value() const noexcept { return number; }
  /** The four characters as they are stored: spaces and bytes that do not print are included. */
  std::string text() const {
    return {static_cast<char>(number & 0xff), static_cast<char>(number >> 8 & 0xff),
            static_cast<char>(number >> 16 & 0xff), static_cast<char>(number >> 24)};
  }
  /** Whether all four characters are equal. */
  friend constexpr bool operator==(FourCharacters a, FourCharacters b) noexcept {
    return a.number == b.number;
  }
  /** Whether any of them differs. */
  friend constexpr bool operator!=(FourCharacters a, FourCharacters b) noexcept {
    return a.number != b.number;
  }

 private:
  uint32_t number = 0;
};

/** The id of a chunk: "fmt "_id. */
using Id = FourCharacters<detail::ChunkKind>;
/** The group id of a group: "WAVE"_group. */
using GroupId = FourCharacters<detail::GroupKind>;

/* The literals of ids. C++17 has no functions that run at compile time only. There, the literals
   are templates whose arguments are the characters. This is an extension of g++ and clang. */
inline namespace literals {
#if defined(__cplusplus) && __cplusplus < 202002L
#pragma GCC diagnostic push
#ifdef __clang__
#pragma GCC diagnostic ignored "-Wgnu-string-literal-operator-template"
#else
#pragma GCC diagnostic ignored "-Wpedantic"
#endif
template <typename Char, Char... text>
constexpr std::enable_if_t<(sizeof...(text) > 0 && sizeof...(text) <= 4), Id> operator""_id() {
  const char characters[] = {text...};
  return *Id::parse(std::string_view(characters, sizeof...(text)));
}
template <typename Char, Char... text>
constexpr std::enable_if_t<(sizeof...(text) > 0 && sizeof...(text) <= 4), GroupId>
operator""_group() {
  const char characters[] = {text...};
  return *GroupId::parse(std::string_view(characters, sizeof...(text)));
}
#pragma GCC diagnostic pop
#else
/** The id of a literal: "fmt "_id, "LIST"_id. It has one to four characters and is padded with
 *  spaces; any other literal does not compile.
 */
consteval Id operator""_id(const char* text, std::size_t length) {
  return Id::parse(std::string_view(text, length)).value();
}
/** The group id of a literal: "WAVE"_group, "INFO"_group. As operator""_id(). */
consteval GroupId operator""_group(const char* text, std::size_t length) {
  return GroupId::parse(std::string_view(text, length)).value();
}
#endif
}  // namespace literals

/** A handle to a chunk of an open object, or an empty handle. It is one pointer, is copied as one,
 *  and owns nothing. If it is empty, all queries give 0, an empty handle or an empty range, and all
 *  edits fail.
 *
 *  Operations that can fail have two forms, as velmor_core.hpp says; the forms with std::nothrow
 *  come first and have the full text.
 */
class Chunk {
 public:
  /** An empty handle. */
  constexpr Chunk() noexcept = default;
  /** The chunk of a handle of the C interface, which may be null. */
  constexpr explicit Chunk(velmor_core_riff_chunk_t* raw) noexcept : chunk(raw) {}

  /** Whether there is a chunk. */
  constexpr explicit operator bool() const noexcept { return chunk != nullptr; }
  /** The handle for the C interface; null if there is no chunk. */
  constexpr velmor_core_riff_chunk_t* handle() const noexcept { return chunk; }
  /** Whether both are the same chunk, or both are empty. */
  friend constexpr bool operator==(Chunk a, Chunk b) noexcept { return a.chunk == b.chunk; }
  /** Whether they differ: they are different chunks, or only one of them is empty. */
  friend constexpr bool operator!=(Chunk a, Chunk b) noexcept { return a.chunk != b.chunk; }

  /* --- Queries: none of them fails, allocates or reads the object's bytes --- */

  /** The id; the null id for the virtual root. */
  Id id() const noexcept { return Id(chunk ? velmor_core_riff_chunk_get_id(chunk) : 0); }
  /** The group id; the null id for a data chunk and the virtual root. */
  GroupId groupId() const noexcept { return GroupId(velmor_core_riff_chunk_get_group_id(chunk)); }
  /** The size field: bytes of data, without header and pad byte. */
  uint32_t dataSize() const noexcept {
    return chunk ? velmor_core_riff_chunk_get_data_size(chunk) : 0;
  }
  /** The total size: bytes of data, header and pad byte. 0 for the virtual root, which has neither
   *  header nor size.
   */
  uint64_t totalSize() const noexcept { return parent() ? totalSizeOf(dataSize()) : 0; }
  /** The group that holds the chunk; none for the virtual root. */
  Chunk parent() const noexcept {
    return Chunk(chunk ? velmor_core_riff_chunk_get_parent(chunk) : nullptr);
  }
  /** The next chunk in the same group, or none. */
  Chunk next() const noexcept {
    return Chunk(chunk ? velmor_core_riff_chunk_get_next(chunk) : nullptr);
  }
  /** The number of a group's children; 0 for a data chunk. */
  uint32_t childCount() const noexcept { return velmor_core_riff_chunk_get_child_count(chunk); }
  /** A child by its index from 0, or none. Takes constant time. */
  Chunk child(uint32_t index) const noexcept {
    return Chunk(velmor_core_riff_chunk_get_child(chunk, index));
  }

  /** The children of a group, in the order of the bytes; an empty range for a data chunk. The view
   *  and its iterators are valid as long as this chunk.
   */
  Children children() const noexcept;
  /** The children with an id, in the order of the bytes. */
  Matches findAll(Id wanted) const noexcept;
  /** The child groups with an id and group id, in the order of the bytes. */
  Matches findAll(Id wanted, GroupId wantedGroup) const noexcept;
  /** The first child with this id, or none. Takes time linear in the number of children. */
  Chunk find(Id wanted) const noexcept;
  /** The first child group with this id and group id, or none. */
  Chunk find(Id wanted, GroupId wantedGroup) const noexcept;
  /** The first chunk, in the order of the bytes, that a path names, or none. The path starts with
   *  the children of this group:
   *
   *    file.root().find("RIFF:WAVE/LIST:INFO/INAM")
   *
   *  Steps are separated by slashes. A step is an id, or an id and a group id separated by a colon.
   *  Ids of fewer than four characters are padded with spaces. Where several groups fit a step, all
   *  of them are searched, in order. A malformed path finds nothing. Use the other forms for ids
   *  that contain a slash or colon. Looks at each chunk at most once, and allocates nothing.
   */
  Chunk find(std::string_view path) const noexcept;

  /* --- Data of a data chunk --- */

  /** Fills a view with data, beginning `offset` bytes from the start of the data. False if this is
   *  no data chunk, the range ends past the end of the data, or the object cannot be read.
   */
  [[nodiscard]] bool read(MutableBytes bytes, uint32_t offset,
                          const std::nothrow_t&) const noexcept {
    return readStatus(bytes, offset) == VELMOR_CORE_SUCCESS;
  }
  /** Overwrites data, beginning `offset` bytes from the start of the data. The data size stays.
   *  False if this is no data chunk, the range ends past the end of the data, or the object cannot
   *  be written.
   */
  [[nodiscard]] bool write(Bytes bytes, uint32_t offset, const std::nothrow_t&) const noexcept {
    return writeStatus(bytes, offset) == VELMOR_CORE_SUCCESS;
  }
  /** All data, in a std::vector, std::string or other container of single bytes that can be
   *  resized. Empty if this is no data chunk, or the data cannot be read. The container may throw
   *  std::bad_alloc. The last byte is read before the container allocates. So nothing is allocated
   *  for a chunk that was cut short, however large its size field is.
   */
  template <typename Container>
  [[nodiscard]] std::optional<Container> data(const std::nothrow_t&) const {
    std::optional<Container> bytes(std::in_place);
    if (readAll(*bytes) != VELMOR_CORE_SUCCESS) bytes.reset();
    return bytes;
  }

  /* --- Edits: false or an empty handle on failure. riff.h says what a failed edit leaves --- */

  /** Lengthens or shortens the data at its end. The bytes after the chunk move if its total
   *  size changes. New bytes are uninitialised. Fails without a change if the data size of an
   *  ancestor would exceed 2^32 - 1 bytes.
   */
  [[nodiscard]] bool resize(uint32_t size, const std::nothrow_t&) const noexcept {
    return hasRoomToResize(size) &&
           velmor_core_riff_chunk_set_data_size(chunk, size) == VELMOR_CORE_SUCCESS;
  }
  /** Adds a data chunk to this group. It fills free space if it fits there, and is appended
   *  otherwise. Fails without a change if an append would make the data size of the chunk, this
   *  group or an ancestor exceed 2^32 - 1 bytes. Free space is ignored in this check.
   */
  [[nodiscard]] Chunk addData(Id newId, Bytes bytes, const std::nothrow_t&) const noexcept {
    if (bytes.size() > MAX_SIZE || !hasRoom(totalSizeOf(bytes.size()))) return Chunk();
    return Chunk(velmor_core_riff_chunk_add_data_chunk(chunk, newId.value(), bytes.data(),
                                                       static_cast<uint32_t>(bytes.size())));
  }
  /** Appends an empty group to this group. The size limit of addData() applies. */
  [[nodiscard]] Chunk addGroup(Id newId, GroupId newGroupId, const std::nothrow_t&) const noexcept {
    if (!hasRoom(EMPTY_GROUP_SIZE)) return Chunk();
    return Chunk(velmor_core_riff_chunk_add_group_chunk(chunk, newId.value(), newGroupId.value()));
  }
  /** Appends a copy of a chunk of this or another object, with everything in it. The size limit of
   *  addData() applies.
   */
  [[nodiscard]] Chunk addCopy(Chunk source, const std::nothrow_t&) const noexcept {
    if (!hasRoom(source.totalSize())) return Chunk();
    return Chunk(velmor_core_riff_chunk_add_chunk(chunk, source.chunk));
  }
  /** Adds all chunks of a cache or buffer, one directly after the other, in free space or as the
   *  last children. Returns the first of the new chunks. The cache is not changed. Fails if the
   *  cache is empty. The size limit of addData() applies.
   */
  [[nodiscard]] Chunk addCache(const Object& cache, const std::nothrow_t&) const noexcept;
  /** Removes the chunk and everything in it. The bytes after it move. The handles of the chunk and
   *  of all chunks in it end.
   */
  [[nodiscard]] bool remove(const std::nothrow_t&) const noexcept {
    return velmor_core_riff_chunk_remove(chunk) == VELMOR_CORE_SUCCESS;
  }
  /** Turns the chunk into free space without moving a byte. On success this handle refers to the
   *  free chunk that covers the bytes. On failure it is unchanged.
   */
  [[nodiscard]] bool recycle(const std::nothrow_t&) noexcept {
    return velmor_core_riff_chunk_recycle(&chunk) == VELMOR_CORE_SUCCESS;
  }

#ifdef __cpp_exceptions
  /* --- The same operations; they throw Error on failure --- */

  /** Fills a view with data; throws Error on failure. */
  void read(MutableBytes bytes, uint32_t offset = 0) const {
    const int32_t status = readStatus(bytes, offset);
    if (status != VELMOR_CORE_SUCCESS) {
      fail(isInside(bytes.size(), offset) ? "the data of the chunk cannot be read" : PAST_END,
           status);
    }
  }
  /** Overwrites data; throws Error on failure. */
  void write(Bytes bytes, uint32_t offset = 0) const {
    const int32_t status = writeStatus(bytes, offset);
    if (status != VELMOR_CORE_SUCCESS) {
      fail(isInside(bytes.size(), offset) ? "the data of the chunk cannot be written" : PAST_END,
           status);
    }
  }
  /** All data in a container; throws Error on failure, and what the container throws. */
  template <typename Container>
  [[nodiscard]] Container data() const {
    Container bytes;
    const int32_t status = readAll(bytes);
    if (status != VELMOR_CORE_SUCCESS) fail("the data of the chunk cannot be read", status);
    return bytes;
  }
  /** Lengthens or shortens the data at its end; throws Error on failure. */
  void resize(uint32_t size) const {
    if (!hasRoomToResize(size)) fail(TOO_LARGE);
    const int32_t status = velmor_core_riff_chunk_set_data_size(chunk, size);
    if (status != VELMOR_CORE_SUCCESS) fail("the chunk cannot be resized", status);
  }
  /** Adds a data chunk to this group; throws Error on failure. */
  Chunk addData(Id newId, Bytes bytes) const {
    return added(addData(newId, bytes, std::nothrow), totalSizeOf(bytes.size()));
  }
  /** Appends an empty group to this group; throws Error on failure. */
  Chunk addGroup(Id newId, GroupId newGroupId) const {
    return added(addGroup(newId, newGroupId, std::nothrow), EMPTY_GROUP_SIZE);
  }
  /** Appends a copy of a chunk with everything in it; throws Error on failure. */
  Chunk addCopy(Chunk source) const {
    return added(addCopy(source, std::nothrow), source.totalSize());
  }
  /** Adds all chunks of a cache or buffer; throws Error on failure, and if there are none. */
  Chunk addCache(const Object& cache) const;
  /** Removes the chunk and everything in it; throws Error on failure. */
  void remove() const {
    const int32_t status = velmor_core_riff_chunk_remove(chunk);
    if (status != VELMOR_CORE_SUCCESS) fail("the chunk cannot be removed", status);
  }
  /** Turns the chunk into free space; throws Error on failure. */
  void recycle() {
    const int32_t status = velmor_core_riff_chunk_recycle(&chunk);
    if (status != VELMOR_CORE_SUCCESS) fail("the chunk cannot be recycled", status);
  }
#endif

 private:
  static constexpr uint32_t MAX_SIZE = (std::numeric_limits<uint32_t>::max)();
  static constexpr uint64_t EMPTY_GROUP_SIZE = 12;

  static constexpr uint64_t evenSize(uint64_t size) noexcept { return size + size % 2; }
  static constexpr uint64_t totalSizeOf(uint64_t size) noexcept { return 8 + evenSize(size); }

  int32_t readStatus(MutableBytes bytes, uint32_t offset) const noexcept {
    if (bytes.size() > MAX_SIZE) return VELMOR_CORE_FAILURE;
    return velmor_core_riff_chunk_get_data(chunk, bytes.data(), static_cast<uint32_t>(bytes.size()),
                                           offset);
  }
  int32_t writeStatus(Bytes bytes, uint32_t offset) const noexcept {
    if (bytes.size() > MAX_SIZE) return VELMOR_CORE_FAILURE;
    return velmor_core_riff_chunk_set_data(chunk, bytes.data(), static_cast<uint32_t>(bytes.size()),
                                           offset);
  }
  template <typename Container>
  int32_t readAll(Container& bytes) const {
    static_assert(sizeof(detail::ElementOf<Container>) == 1, "elements have to be single bytes");
    const uint32_t size = dataSize();
    char last = 0;
    const int32_t status =
        velmor_core_riff_chunk_get_data(chunk, &last, size > 0 ? 1 : 0, size > 0 ? size - 1 : 0);
    if (status != VELMOR_CORE_SUCCESS || size == 0) return status;
    bytes.resize(size);
    return velmor_core_riff_chunk_get_data(chunk, std::data(bytes), size, 0);
  }

  // Whether the size fields of this group and all its ancestors can count `growth` more bytes. The
  // C functions let them wrap, which makes the file unreadable. The virtual root has no such field.
  bool hasRoom(uint64_t growth) const noexcept {
    Chunk group = *this;
    for (Chunk above = parent(); above; above = above.parent()) {
      if (growth > MAX_SIZE || evenSize(group.dataSize()) + growth > MAX_SIZE) return false;
      group = above;
    }
    return true;
  }
  bool hasRoomToResize(uint32_t size) const noexcept {
    const uint64_t before = evenSize(dataSize());
    const uint64_t after = evenSize(size);
    return after <= before || parent().hasRoom(after - before);
  }

#ifdef __cpp_exceptions
  static constexpr const char* PAST_END = "the range ends past the end of the chunk's data";
  static constexpr const char* TOO_LARGE = "a group would become larger than 4 GiB";

  [[noreturn]] static void fail(const char* what, int32_t status = VELMOR_CORE_FAILURE) {
    detail::fail(
        status == VELMOR_CORE_BAD_HANDLE ? "there is no chunk, or it is of another kind" : what,
        status);
  }
  bool isInside(uint64_t size, uint32_t offset) const noexcept {
    return size <= dataSize() && offset <= dataSize() - size;
  }
  // `result` is what an edit that adds `growth` bytes has returned. Returns it, or throws Error
  // with the reason if it is empty.
  Chunk added(Chunk result, uint64_t growth) const {
    if (!result) {
      fail(hasRoom(growth) ? "the chunk cannot be added" : TOO_LARGE,
           chunk ? VELMOR_CORE_FAILURE : VELMOR_CORE_BAD_HANDLE);
    }
    return result;
  }
#endif

  velmor_core_riff_chunk_t* chunk = nullptr;
};

namespace detail {

// What findAll() looks for. Without an id and a group id, it fits every chunk.
struct ChunkFilter {
  std::optional<Id> id;
  std::optional<GroupId> groupId;

  bool fits(Chunk chunk) const noexcept {
    return (!id || chunk.id() == *id) && (!groupId || chunk.groupId() == *groupId);
  }
};

}  // namespace detail

/** A forward iterator over the chunks of a group that gives them by value. A step in children()
 *  takes constant time. A step in findAll() takes time linear in the number of chunks that it
 *  skips. An iterator is valid as long as its current chunk: advance it before you remove that
 *  chunk. Do not recycle chunks in such a loop, because recycling a chunk can end the next one,
 *  too. Go from the last child to the first instead:
 *
 *    for (uint32_t i = group.childCount(); i-- > 0;) {
 *      Chunk child = group.child(i);
 *      if (child.id() == wanted) child.recycle();
 *    }
 */
class ChunkIterator {
 public:
  using iterator_concept = std::forward_iterator_tag;  ///< For C++20's ranges.
  using iterator_category = std::input_iterator_tag;   ///< For C++17: it gives values.
  using value_type = Chunk;                            ///< What it gives.
  using difference_type = std::ptrdiff_t;              ///< For std::iterator_traits.
  using reference = Chunk;                             ///< What dereferencing gives.
  /** Holds the chunk for `iterator->id()`. */
  class pointer {
   public:
    /** The chunk; valid in the same expression. */
    const Chunk* operator->() const noexcept { return &chunk; }

   private:
    friend class ChunkIterator;
    explicit pointer(Chunk target) noexcept : chunk(target) {}

    Chunk chunk;
  };

  /** The end of every range. */
  ChunkIterator() noexcept = default;
  /** The chunk. */
  reference operator*() const noexcept { return at; }
  /** The chunk. */
  pointer operator->() const noexcept { return pointer(at); }
  /** Goes to the next chunk. */
  ChunkIterator& operator++() noexcept {
    at = at.next();
    skip();
    return *this;
  }
  /** Goes to the next chunk; returns the previous position. */
  ChunkIterator operator++(int) noexcept {  // NOLINT(cert-dcl21-cpp): as iterators have it
    const ChunkIterator before = *this;
    ++*this;
    return before;
  }
  /** Whether both have the same current chunk, or both are at the end. */
  friend bool operator==(const ChunkIterator& a, const ChunkIterator& b) noexcept {
    return a.at == b.at;
  }
  /** Whether they differ. */
  friend bool operator!=(const ChunkIterator& a, const ChunkIterator& b) noexcept {
    return a.at != b.at;
  }

 private:
  friend class Children;
  friend class Matches;
  explicit ChunkIterator(Chunk start, const detail::ChunkFilter& wanted = {}) noexcept
      : at(start), filter(wanted) {
    skip();
  }

  // Goes on to a chunk that fits, or to the end.
  void skip() noexcept {
    while (at && !filter.fits(at)) at = at.next();
  }

  Chunk at;
  detail::ChunkFilter filter;
};

/** The children of a group, as a view for a range `for`, the algorithms of the standard library and
 *  std::ranges. It holds the handle of the group and nothing else. So it is cheap to copy, and its
 *  iterators may outlive it. Each pass sees the children that the group has at that time.
 */
class Children {
 public:
  /** An empty view. */
  Children() noexcept = default;
  /** The first child. */
  ChunkIterator begin() const noexcept { return ChunkIterator(group.child(0)); }
  /** Past the last child. */
  ChunkIterator end() const noexcept { return ChunkIterator(); }
  /** Whether there are none. */
  bool empty() const noexcept { return size() == 0; }
  /** The number of children. */
  uint32_t size() const noexcept { return group.childCount(); }

 private:
  friend class Chunk;
  explicit Children(Chunk parent) noexcept : group(parent) {}

  Chunk group;
};

/** The children of a group that findAll() finds, as a view like Children. Nothing is cached: each
 *  pass looks through the children again.
 */
class Matches {
 public:
  /** An empty view. */
  Matches() noexcept = default;
  /** The first that fits. */
  ChunkIterator begin() const noexcept { return ChunkIterator(group.child(0), filter); }
  /** Past the last. */
  ChunkIterator end() const noexcept { return ChunkIterator(); }
  /** Whether none fits. */
  bool empty() const noexcept { return begin() == end(); }

 private:
  friend class Chunk;
  Matches(Chunk parent, const detail::ChunkFilter& wanted) noexcept
      : group(parent), filter(wanted) {}

  Chunk group;
  detail::ChunkFilter filter;
};

inline Children Chunk::children() const noexcept { return Children(*this); }
inline Matches Chunk::findAll(Id wanted) const noexcept { return Matches(*this, {wanted, {}}); }
inline Matches Chunk::findAll(Id wanted, GroupId wantedGroup) const noexcept {
  return Matches(*this, {wanted, wantedGroup});
}
inline Chunk Chunk::find(Id wanted) const noexcept { return *findAll(wanted).begin(); }
inline Chunk Chunk::find(Id wanted, GroupId wantedGroup) const noexcept {
  return *findAll(wanted, wantedGroup).begin();
}

namespace detail {

// The step of a path that begins at `start`. Empty if the step is malformed.
inline std::optional<ChunkFilter> pathStep(std::string_view path, std::size_t start) noexcept {
  const std::string_view step = path.substr(start, path.find('/', start) - start);
  const std::size_t colon = step.find(':');
  ChunkFilter filter{Id::parse(step.substr(0, colon)), std::nullopt};
  if (!filter.id) return std::nullopt;
  if (colon != std::string_view::npos) {
    filter.groupId = GroupId::parse(step.substr(colon + 1));
    if (!filter.groupId) return std::nullopt;
  }
  return filter;
}

}  // namespace detail

inline Chunk Chunk::find(std::string_view path) const noexcept {
  Chunk group = *this;
  Chunk at = child(0);
  // Where the current step begins in the path. The children of `group` are compared with this step.
  std::size_t start = 0;
  for (;;) {
    const std::optional<detail::ChunkFilter> step = detail::pathStep(path, start);
    if (!step) return Chunk();
    while (at && !step->fits(at)) at = at.next();
    const std::size_t slash = path.find('/', start);
    if (at && slash == std::string_view::npos) return at;
    if (at) {  // enter it and take the next step of the path
      group = at;
      at = group.child(0);
      start = slash + 1;
    } else if (group == *this) {
      return Chunk();
    } else {  // leave the group and return to the previous step
      at = group.next();
      group = group.parent();
      start = start > 1 ? path.rfind('/', start - 2) + 1 : 0;
    }
  }
}

/** How Object::openFile() opens a file. */
enum class Mode : int32_t {
  ReadOnly = VELMOR_CORE_RIFF_READ_ONLY,    ///< An existing file, for reading.
  ReadWrite = VELMOR_CORE_RIFF_READ_WRITE,  ///< An existing file, for reading and writing.
  /** For reading and writing; creates the file or empties an existing one. */
  Create = VELMOR_CORE_RIFF_CREATE
};

/** Owns an open object, or is empty; closes the object when it is destroyed. It can be moved, not
 *  copied, and chunks stay valid when it is moved. The queries of an empty Object give 0 and empty
 *  chunks.
 */
class Object {
 public:
  /** An empty one. */
  Object() noexcept = default;
  /** Takes ownership of an object of the C interface, which may be null. */
  explicit Object(velmor_core_riff_object_t* raw) noexcept : object(raw) {}
  /** Takes ownership from another one, which is empty afterwards. */
  Object(Object&& other) noexcept : object(other.release()) {}
  /** Closes the object that this owns, then takes ownership from another one. */
  Object& operator=(Object&& other) noexcept {
    if (this != &other) {
      close();
      object = other.release();
    }
    return *this;
  }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  /** Closes the object. */
  ~Object() { close(); }

  /** Opens a file; its path is passed on without conversion. Empty if the path is null, the file
   *  does not open or cannot be read, its bytes are not RIFF chunks, or memory runs out. The time
   *  is linear in the number of chunks. Their data is not read.
   */
  [[nodiscard]] static Object openFile(const char* path, Mode mode,
                                       const std::nothrow_t&) noexcept {
    Object result;
    velmor_core_riff_open_file(path, static_cast<int32_t>(mode), &result.object);
    return result;
  }
  /** The same for a std::string or std::filesystem::path. Empty also for a path with a NUL in it.
   */
  [[nodiscard]] static Object openFile(const std::string& path, Mode mode,
                                       const std::nothrow_t&) noexcept {
    if (path.find('\0') != std::string::npos) return Object();
    return openFile(path.c_str(), mode, std::nothrow);
  }
  /** Opens bytes in memory for reading. They are not copied. They have to live as long as the
   *  object, and must not change. A temporary container does not compile. Takes the ranges that
   *  Bytes takes, but no text. Empty if the bytes are not RIFF chunks, or memory runs out.
   */
  template <typename Range, std::enable_if_t<detail::IsBuffer<Range>::value, int> = 0>
  [[nodiscard]] static Object openBuffer(Range&& range, const std::nothrow_t&) noexcept {
    const Bytes bytes(range);
    Object result;
    velmor_core_riff_open_buffer_ro(bytes.data(), bytes.size(), &result.object);
    return result;
  }
  /** Opens bytes in memory for editing. The first `size` bytes of the range hold chunks, and edits
   *  may use all of it. The range has to stay at its address as long as the object lives: a
   *  std::vector must not grow. Empty if `size` is larger than the range, its first bytes are not
   *  RIFF chunks, or memory runs out.
   */
  [[nodiscard]] static Object openBuffer(MutableBytes bytes, uint64_t size,
                                         const std::nothrow_t&) noexcept {
    Object result;
    if (size <= bytes.size()) {
      velmor_core_riff_open_buffer_rw(bytes.data(), size, bytes.size(), &result.object);
    }
    return result;
  }
  /** Opens an empty cache with room for `capacity` bytes, which grows as chunks are added. Empty
   *  if memory runs out.
   */
  [[nodiscard]] static Object openCache(uint64_t capacity, const std::nothrow_t&) noexcept {
    Object result;
    velmor_core_riff_open_cache(capacity, &result.object);
    return result;
  }

#ifdef __cpp_exceptions
  /** Opens a file; throws Error on failure. */
  [[nodiscard]] static Object openFile(const char* path, Mode mode = Mode::ReadOnly) {
    return opened(openFile(path, mode, std::nothrow), NO_FILE);
  }
  /** Opens a file; throws Error on failure. */
  [[nodiscard]] static Object openFile(const std::string& path, Mode mode = Mode::ReadOnly) {
    return opened(openFile(path, mode, std::nothrow), NO_FILE);
  }
  /** Opens bytes in memory for reading; throws Error on failure. */
  template <typename Range, std::enable_if_t<detail::IsBuffer<Range>::value, int> = 0>
  [[nodiscard]] static Object openBuffer(Range&& range) {
    return opened(openBuffer(std::forward<Range>(range), std::nothrow), NO_BUFFER);
  }
  /** Opens bytes in memory for editing; throws Error on failure. */
  [[nodiscard]] static Object openBuffer(MutableBytes bytes, uint64_t size) {
    return opened(openBuffer(bytes, size, std::nothrow), NO_BUFFER);
  }
  /** Opens an empty cache; throws Error on failure. */
  [[nodiscard]] static Object openCache(uint64_t capacity = 0) {
    return opened(openCache(capacity, std::nothrow), "the cache cannot be opened: out of memory");
  }
#endif

  /** Closes the object now; this is empty afterwards, and all handles to its chunks end. Does
   *  nothing if this is empty.
   */
  void close() noexcept { velmor_core_riff_close(release()); }
  /** Gives up ownership: the caller closes the object with velmor_core_riff_close(). */
  [[nodiscard]] velmor_core_riff_object_t* release() noexcept {
    return std::exchange(object, nullptr);
  }
  /** Whether there is an object. */
  explicit operator bool() const noexcept { return object != nullptr; }
  /** The handle for the C interface; null if this is empty. Ownership stays here. */
  velmor_core_riff_object_t* handle() const noexcept { return object; }

  /** The virtual root: the group of the top-level chunks. Valid as long as the object is open. */
  Chunk root() const& noexcept {
    return Chunk(object ? velmor_core_riff_object_get_virtual_root_chunk(object) : nullptr);
  }
  /** The first top-level chunk, or none. Valid until it is removed or the object is closed. */
  Chunk first() const& noexcept {
    return Chunk(object ? velmor_core_riff_object_get_root_chunk(object) : nullptr);
  }
  Chunk root() const&& = delete;   ///< The chunk would end with the temporary object.
  Chunk first() const&& = delete;  ///< The chunk would end with the temporary object.
  /** The size of the object in bytes; 2^64 - 1 for a file that cannot seek. */
  uint64_t size() const noexcept { return object ? velmor_core_riff_cache_get_size(object) : 0; }
  /** The capacity of its memory in bytes; 0 for a file and for a buffer opened for reading. */
  uint64_t capacity() const noexcept {
    return object ? velmor_core_riff_cache_get_capacity(object) : 0;
  }
  /** Removes all chunks of a cache and keeps its capacity; only the handle of the virtual root
   *  stays valid.
   */
  void clear() const noexcept {
    if (object) velmor_core_riff_cache_clear(object);
  }

 private:
#ifdef __cpp_exceptions
  static constexpr const char* NO_FILE = "the file cannot be read as RIFF chunks";
  static constexpr const char* NO_BUFFER = "the buffer does not hold RIFF chunks";

  static Object opened(Object result, const char* what) {
    if (!result) detail::fail(what);
    return result;
  }
#endif

  velmor_core_riff_object_t* object = nullptr;
};

inline Chunk Chunk::addCache(const Object& cache, const std::nothrow_t&) const noexcept {
  if (!hasRoom(evenSize(cache.size()))) return Chunk();
  return Chunk(velmor_core_riff_chunk_add_cache(chunk, cache.handle()));
}

#ifdef __cpp_exceptions
inline Chunk Chunk::addCache(const Object& cache) const {
  if (cache.size() == 0) fail("the cache holds no chunks");
  return added(addCache(cache, std::nothrow), evenSize(cache.size()));
}
#endif

}  // namespace velmor_core

namespace std {

/** Hashes ids and group ids for std::unordered_map and its like. */
template <typename Kind>
struct hash<velmor_core::FourCharacters<Kind>> {
  /** The hash of an id. */
  std::size_t operator()(velmor_core::FourCharacters<Kind> id) const noexcept {
    return std::hash<uint32_t>()(id.value());
  }
};

/** Hashes chunks for std::unordered_map and its like, by their handles. */
template <>
struct hash<velmor_core::Chunk> {
  /** The hash of a chunk. */
  std::size_t operator()(velmor_core::Chunk chunk) const noexcept {
    return std::hash<const void*>()(chunk.handle());
  }
};

}  // namespace std

#if __cplusplus >= 202002L
/* For std::ranges: the views are cheap to copy, and their iterators may outlive them. */
template <>
inline constexpr bool std::ranges::enable_view<velmor_core::Children> = true;
template <>
inline constexpr bool std::ranges::enable_borrowed_range<velmor_core::Children> = true;
template <>
inline constexpr bool std::ranges::enable_view<velmor_core::Matches> = true;
template <>
inline constexpr bool std::ranges::enable_borrowed_range<velmor_core::Matches> = true;
#endif

#endif  // C++17
#endif
