/** velmor-core for C++17 and later: thin types over the C interface, all of them inline.
 *
 *  What a function does, which results it has and how long handles live is told by the C header of
 *  its family; here stands what C++ adds. Nothing is allocated or kept beside the C handles.
 *
 *  Failures.  A call comes in two forms. By default it throws velmor_core::Error. With std::nothrow
 *  as the last argument, all others written out, it throws nothing and returns a std::optional, a
 *  bool, or an empty Object or Chunk, which is false in a condition:
 *
 *    using namespace velmor_core;
 *    Object wav = Object::openFile("a.wav");                             // throws on failure
 *    if (auto wav = Object::openFile("a.wav", READ_ONLY, std::nothrow))  // is empty on failure
 *
 *  Ranges of bytes.  Where data go in or out, any contiguous range of trivially copyable elements
 *  serves: std::vector, std::array, std::string, std::string_view, arrays, std::span. Of a string
 *  literal the NUL counts too: write std::string_view("abc") for three bytes.
 */
#ifndef VELMOR_CORE_VELMOR_CORE_HPP
#define VELMOR_CORE_VELMOR_CORE_HPP

#include <velmor_core/velmor_core.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace velmor_core {

/** What the throwing forms throw. */
class Error : public std::runtime_error {
 public:
  /** An error with this text and status. */
  explicit Error(const char* what, int32_t status = VELMOR_CORE_FAILURE)
      : std::runtime_error(what), code(status) {}
  /** VELMOR_CORE_FAILURE or VELMOR_CORE_BAD_HANDLE. */
  int32_t status() const noexcept { return code; }

 private:
  int32_t code;
};

/* Part of this header: nothing to call. */
namespace detail {

inline void require(int32_t status, const char* what) {
  if (status != VELMOR_CORE_SUCCESS) throw Error(what, status);
}

template <typename Range>
using ElementOf = std::remove_pointer_t<decltype(std::data(std::declval<Range&>()))>;

template <typename Range>
constexpr void requireBytes() {
  static_assert(std::is_trivially_copyable<std::remove_const_t<ElementOf<Range>>>::value,
                "the elements of a range of bytes have to be trivially copyable");
}

template <typename Range>
constexpr uint64_t byteSize(const Range& range) noexcept {
  requireBytes<const Range>();
  return static_cast<uint64_t>(std::size(range)) * sizeof(ElementOf<const Range>);
}

constexpr bool fits(uint64_t size) noexcept {
  return size <= (std::numeric_limits<uint32_t>::max)();
}

}  // namespace detail

inline namespace literals {
/** Ids from literals: "fmt "_id, "LIST"_id. Up to four characters; shorter ones are padded with
 *  spaces, as the format has it. More than four do not compile where the id is a constant, and
 *  throw Error elsewhere.
 */
constexpr uint32_t operator""_id(const char* text, std::size_t length) {
  if (length > 4) throw Error("an id has at most four characters");
  return VELMOR_CORE_RIFF_ID(length > 0 ? text[0] : ' ', length > 1 ? text[1] : ' ',
                             length > 2 ? text[2] : ' ', length > 3 ? text[3] : ' ');
}
}  // namespace literals

class Children;

/** A chunk of an open object, or none: as cheap to copy as a pointer, which it is. It owns nothing
 *  and ends as its handle does (see riff.h). Of no chunk, all queries give 0, an empty range or no
 *  chunk, but for next() and parent(), which need one.
 */
class Chunk {
 public:
  /** No chunk. */
  constexpr Chunk() noexcept = default;
  /** The chunk of a handle of the C interface, which may be null. */
  constexpr explicit Chunk(velmor_core_riff_chunk_t* raw) noexcept : chunk(raw) {}

  /** Whether there is a chunk. */
  constexpr explicit operator bool() const noexcept { return chunk != nullptr; }
  /** The handle for the C interface; null if there is no chunk. */
  constexpr velmor_core_riff_chunk_t* handle() const noexcept { return chunk; }
  /** Whether both are the same chunk, or none. */
  friend constexpr bool operator==(Chunk a, Chunk b) noexcept { return a.chunk == b.chunk; }
  /** Whether they are two chunks, or a chunk and none. */
  friend constexpr bool operator!=(Chunk a, Chunk b) noexcept { return a.chunk != b.chunk; }

  /** The id, as "data"_id has it. */
  uint32_t id() const noexcept { return chunk ? velmor_core_riff_chunk_get_id(chunk) : 0; }
  /** The group id; 0 for a data chunk. */
  uint32_t groupId() const noexcept { return velmor_core_riff_chunk_get_group_id(chunk); }
  /** The size field: bytes of data, without header and pad byte. */
  uint32_t dataSize() const noexcept {
    return chunk ? velmor_core_riff_chunk_get_data_size(chunk) : 0;
  }
  /** The bytes that the chunk takes in all, with header and pad byte; 8 for the group above the
   *  top-level chunks, which has neither.
   */
  uint64_t totalSize() const noexcept {
    const uint64_t size = dataSize();
    return chunk ? 8 + size + size % 2 : 0;
  }

  /** The group that holds the chunk; none for the group above the top-level chunks. */
  Chunk parent() const noexcept { return Chunk(velmor_core_riff_chunk_get_parent(chunk)); }
  /** The next chunk in the same group, or none. */
  Chunk next() const noexcept { return Chunk(velmor_core_riff_chunk_get_next(chunk)); }
  /** The number of chunks that a group holds. */
  uint32_t childCount() const noexcept { return velmor_core_riff_chunk_get_child_count(chunk); }
  /** A chunk of a group by its number, from 0 on, or none. */
  Chunk child(uint32_t index) const noexcept {
    return Chunk(velmor_core_riff_chunk_get_child(chunk, index));
  }
  /** The chunks that a group holds, in the order of the bytes; none for a data chunk. */
  Children children() const noexcept;
  /** The first child with this id, or none. */
  Chunk find(uint32_t wantedId) const noexcept;
  /** The first child group with this id and group id, or none. */
  Chunk find(uint32_t wantedId, uint32_t wantedGroupId) const noexcept;

  /** Fills a range from the data, beginning `offset` bytes into them. */
  template <typename Range>
  void read(Range&& bytes, uint32_t offset = 0) const {
    detail::require(readStatus(bytes, offset), "the data of a chunk cannot be read");
  }
  /** The same; false on failure. */
  template <typename Range>
  bool read(Range&& bytes, uint32_t offset, const std::nothrow_t&) const noexcept {
    return readStatus(bytes, offset) == VELMOR_CORE_SUCCESS;
  }
  /** All data, as a std::vector, std::string or other container that can be resized. Allocates as
   *  many bytes as the size field says once the last of them has been read: a chunk that was cut
   *  short costs nothing.
   */
  template <typename Container>
  Container data() const {
    std::optional<Container> bytes = data<Container>(std::nothrow);
    if (!bytes) throw Error("the data of a chunk cannot be read");
    return *std::move(bytes);
  }
  /** The same; empty if the data cannot be read. Throws nothing but std::bad_alloc. */
  template <typename Container>
  std::optional<Container> data(const std::nothrow_t&) const {
    static_assert(sizeof(detail::ElementOf<Container>) == 1, "elements have to be single bytes");
    const uint32_t size = dataSize();
    char last = 0;
    if (velmor_core_riff_chunk_get_data(chunk, &last, size > 0 ? 1 : 0, size > 0 ? size - 1 : 0) !=
        VELMOR_CORE_SUCCESS) {
      return std::nullopt;
    }
    std::optional<Container> bytes(std::in_place);
    bytes->resize(size);
    if (!read(*bytes, 0, std::nothrow)) return std::nullopt;
    return bytes;
  }

  /** Overwrites data, beginning `offset` bytes into them; the data size stays. */
  template <typename Range>
  void write(const Range& bytes, uint32_t offset = 0) const {
    detail::require(writeStatus(bytes, offset), "the data of a chunk cannot be written");
  }
  /** The same; false on failure. */
  template <typename Range>
  bool write(const Range& bytes, uint32_t offset, const std::nothrow_t&) const noexcept {
    return writeStatus(bytes, offset) == VELMOR_CORE_SUCCESS;
  }

  /** Lengthens or cuts the data at their end; what lies behind the chunk moves. Bytes that are won
   *  hold whatever was stored there.
   */
  void resize(uint32_t size) const {
    detail::require(velmor_core_riff_chunk_set_data_size(chunk, size), "a chunk cannot be resized");
  }
  /** The same; false on failure. */
  bool resize(uint32_t size, const std::nothrow_t&) const noexcept {
    return velmor_core_riff_chunk_set_data_size(chunk, size) == VELMOR_CORE_SUCCESS;
  }

  /** Adds a data chunk to this group: in free space where it fits, else behind the last chunk. */
  template <typename Range>
  Chunk addData(uint32_t newId, const Range& bytes) const {
    return added(addData(newId, bytes, std::nothrow));
  }
  /** The same; no chunk on failure. */
  template <typename Range>
  Chunk addData(uint32_t newId, const Range& bytes, const std::nothrow_t&) const noexcept {
    const uint64_t size = detail::byteSize(bytes);
    if (!detail::fits(size)) return Chunk();
    return Chunk(velmor_core_riff_chunk_add_data_chunk(chunk, newId, std::data(bytes),
                                                       static_cast<uint32_t>(size)));
  }
  /** Appends an empty group to this group. */
  Chunk addGroup(uint32_t newId, uint32_t newGroupId) const {
    return added(addGroup(newId, newGroupId, std::nothrow));
  }
  /** The same; no chunk on failure. */
  Chunk addGroup(uint32_t newId, uint32_t newGroupId, const std::nothrow_t&) const noexcept {
    return Chunk(velmor_core_riff_chunk_add_group_chunk(chunk, newId, newGroupId));
  }
  /** Appends a copy of a chunk and all in it. */
  Chunk addCopy(Chunk source) const { return added(addCopy(source, std::nothrow)); }
  /** The same; no chunk on failure. */
  Chunk addCopy(Chunk source, const std::nothrow_t&) const noexcept {
    return Chunk(velmor_core_riff_chunk_add_chunk(chunk, source.chunk));
  }

  /** Removes the chunk and all in it: this chunk ends. */
  void remove() const {
    detail::require(velmor_core_riff_chunk_remove(chunk), "a chunk cannot be removed");
  }
  /** The same; false on failure. */
  bool remove(const std::nothrow_t&) const noexcept {
    return velmor_core_riff_chunk_remove(chunk) == VELMOR_CORE_SUCCESS;
  }
  /** Turns the chunk into free space; it becomes the free chunk that covers its bytes. */
  void recycle() {
    detail::require(velmor_core_riff_chunk_recycle(&chunk), "a chunk cannot be recycled");
  }
  /** The same; false on failure, when it stays the chunk that it was. */
  bool recycle(const std::nothrow_t&) noexcept {
    return velmor_core_riff_chunk_recycle(&chunk) == VELMOR_CORE_SUCCESS;
  }

 private:
  static Chunk added(Chunk result) {
    if (!result) throw Error("a chunk cannot be added");
    return result;
  }
  template <typename Range>
  int32_t readStatus(Range& bytes, uint32_t offset) const noexcept {
    static_assert(!std::is_const<detail::ElementOf<Range>>::value, "the range has to be writable");
    const uint64_t size = detail::byteSize(bytes);
    if (!detail::fits(size)) return VELMOR_CORE_FAILURE;
    return velmor_core_riff_chunk_get_data(chunk, std::data(bytes), static_cast<uint32_t>(size),
                                           offset);
  }
  template <typename Range>
  int32_t writeStatus(const Range& bytes, uint32_t offset) const noexcept {
    const uint64_t size = detail::byteSize(bytes);
    if (!detail::fits(size)) return VELMOR_CORE_FAILURE;
    return velmor_core_riff_chunk_set_data(chunk, std::data(bytes), static_cast<uint32_t>(size),
                                           offset);
  }

  velmor_core_riff_chunk_t* chunk = nullptr;
};

/** The children of a group as a range. A step is one call; removing or recycling the chunk that an
 *  iterator stands on ends the iterator.
 */
class Children {
 public:
  /** A forward iterator over chunks side by side. */
  class iterator {
   public:
    using iterator_category = std::forward_iterator_tag;  ///< for std::iterator_traits
    using value_type = Chunk;                             ///< for std::iterator_traits
    using difference_type = std::ptrdiff_t;               ///< for std::iterator_traits
    using pointer = const Chunk*;                         ///< for std::iterator_traits
    using reference = const Chunk&;                       ///< for std::iterator_traits

    /** The end of every range. */
    iterator() noexcept = default;
    /** Stands on a chunk. */
    explicit iterator(Chunk start) noexcept : at(start) {}
    /** The chunk. */
    reference operator*() const noexcept { return at; }
    /** The chunk. */
    pointer operator->() const noexcept { return &at; }
    /** Goes to the next chunk. */
    iterator& operator++() noexcept {
      at = at.next();
      return *this;
    }
    /** Goes to the next chunk; returns where it stood. */
    iterator operator++(int) noexcept {  // NOLINT(cert-dcl21-cpp): as the iterators of C++ have it
      const iterator before = *this;
      ++*this;
      return before;
    }
    /** Whether both stand on the same chunk, or at the end. */
    friend bool operator==(const iterator& a, const iterator& b) noexcept { return a.at == b.at; }
    /** Whether they do not. */
    friend bool operator!=(const iterator& a, const iterator& b) noexcept { return a.at != b.at; }

   private:
    Chunk at;
  };

  /** What group.children() gives. */
  explicit Children(Chunk group) noexcept : first(group.child(0)) {}
  /** The first chunk. */
  iterator begin() const noexcept { return iterator(first); }
  /** Behind the last chunk. */
  iterator end() const noexcept { return iterator(); }
  /** Whether there are none. */
  bool empty() const noexcept { return !first; }

 private:
  Chunk first;
};

inline Children Chunk::children() const noexcept { return Children(*this); }

inline Chunk Chunk::find(uint32_t wantedId) const noexcept {
  for (const Chunk found : children()) {
    if (found.id() == wantedId) return found;
  }
  return Chunk();
}

inline Chunk Chunk::find(uint32_t wantedId, uint32_t wantedGroupId) const noexcept {
  for (const Chunk found : children()) {
    if (found.id() == wantedId && found.groupId() == wantedGroupId) return found;
  }
  return Chunk();
}

/** How Object::openFile() opens a file: see the constants of riff.h. */
enum OpenMode : int32_t {
  READ_ONLY = VELMOR_CORE_RIFF_READ_ONLY,    ///< for reading
  READ_WRITE = VELMOR_CORE_RIFF_READ_WRITE,  ///< for editing
  CREATE = VELMOR_CORE_RIFF_CREATE           ///< for editing, made or emptied
};

/** An open object, closed when this goes; or none. It moves and is not copied; its chunks stay
 *  valid when it moves.
 */
class Object {
 public:
  /** None. */
  Object() noexcept = default;
  /** Takes over an object of the C interface. */
  explicit Object(velmor_core_riff_object_t* raw) noexcept : object(raw) {}
  /** Takes over what another one holds; that one holds none afterwards. */
  Object(Object&& other) noexcept : object(other.release()) {}
  /** The same; closes what was open here. */
  Object& operator=(Object&& other) noexcept {
    if (this != &other) {
      velmor_core_riff_close(object);
      object = other.release();
    }
    return *this;
  }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  /** Closes it. */
  ~Object() { velmor_core_riff_close(object); }

  /** Opens a file; the path is in the encoding of the file system. */
  static Object openFile(const char* path, OpenMode mode = READ_ONLY) {
    return opened(openFile(path, mode, std::nothrow), "a file cannot be opened as chunks");
  }
  /** The same; none on failure. */
  static Object openFile(const char* path, OpenMode mode, const std::nothrow_t&) noexcept {
    Object result;
    velmor_core_riff_open_file(path, mode, &result.object);
    return result;
  }
  /** Opens a file. */
  static Object openFile(const std::string& path, OpenMode mode = READ_ONLY) {
    return openFile(path.c_str(), mode);
  }
  /** The same; none on failure. */
  static Object openFile(const std::string& path, OpenMode mode, const std::nothrow_t&) noexcept {
    return openFile(path.c_str(), mode, std::nothrow);
  }

  /** Opens bytes in memory for reading; the range has to live, unchanged, as long as the object. */
  template <typename Range>
  static Object openBuffer(const Range& bytes) {
    return opened(openBuffer(bytes, std::nothrow), "a buffer holds no chunks");
  }
  /** The same; none on failure. */
  template <typename Range>
  static Object openBuffer(const Range& bytes, const std::nothrow_t&) noexcept {
    Object result;
    velmor_core_riff_open_buffer_ro(std::data(bytes), detail::byteSize(bytes), &result.object);
    return result;
  }
  /** Opens bytes in memory for editing: the first `size` bytes of the range hold chunks, all of it
   *  is room. The range has to live as long as the object.
   */
  template <typename Range>
  static Object openBuffer(Range& bytes, uint64_t size) {
    return opened(openBuffer(bytes, size, std::nothrow), "a buffer holds no chunks");
  }
  /** The same; none on failure. */
  template <typename Range>
  static Object openBuffer(Range& bytes, uint64_t size, const std::nothrow_t&) noexcept {
    static_assert(!std::is_const<detail::ElementOf<Range>>::value, "the range has to be writable");
    Object result;
    const uint64_t capacity = detail::byteSize(bytes);
    if (size <= capacity) {
      velmor_core_riff_open_buffer_rw(std::data(bytes), size, capacity, &result.object);
    }
    return result;
  }

  /** Opens an empty cache with room for `capacity` bytes; it grows as chunks are added. */
  static Object openCache(uint64_t capacity = 0) {
    return opened(openCache(capacity, std::nothrow), "a cache cannot be opened");
  }
  /** The same; none on failure. */
  static Object openCache(uint64_t capacity, const std::nothrow_t&) noexcept {
    Object result;
    velmor_core_riff_open_cache(capacity, &result.object);
    return result;
  }

  /** Whether there is an object. */
  explicit operator bool() const noexcept { return object != nullptr; }
  /** The handle for the C interface, still to be closed by this; null if there is none. */
  velmor_core_riff_object_t* handle() const noexcept { return object; }
  /** Hands the object over to be closed with velmor_core_riff_close(). */
  velmor_core_riff_object_t* release() noexcept { return std::exchange(object, nullptr); }

  /* These need an object that is open. */

  /** The group above the top-level chunks. */
  Chunk root() const noexcept {
    return Chunk(velmor_core_riff_object_get_virtual_root_chunk(object));
  }
  /** The first top-level chunk, or none. */
  Chunk first() const noexcept { return Chunk(velmor_core_riff_object_get_root_chunk(object)); }
  /** The bytes that it holds. */
  uint64_t size() const noexcept { return velmor_core_riff_cache_get_size(object); }
  /** The bytes that its memory has room for; 0 for a file. */
  uint64_t capacity() const noexcept { return velmor_core_riff_cache_get_capacity(object); }
  /** Empties a cache; all its chunks end. */
  void clear() const noexcept { velmor_core_riff_cache_clear(object); }
  /** Pours all chunks of this cache or buffer into a group; returns the first of them there. Throws
   *  if there are none, too.
   */
  Chunk pourInto(Chunk group) const {
    const Chunk poured = pourInto(group, std::nothrow);
    if (!poured) throw Error("a cache cannot be poured into a group");
    return poured;
  }
  /** The same; no chunk on failure. */
  Chunk pourInto(Chunk group, const std::nothrow_t&) const noexcept {
    return Chunk(velmor_core_riff_chunk_add_cache(group.handle(), object));
  }

 private:
  static Object opened(Object result, const char* what) {
    if (!result) throw Error(what);
    return result;
  }

  velmor_core_riff_object_t* object = nullptr;
};

/** The number that a text is worth (see str_to.h), as int64_t, uint64_t or double; empty if it is
 * no number.
 */
template <typename Number>
std::optional<Number> toNumber(const char* text, const std::nothrow_t&) noexcept {
  static_assert(std::is_same<Number, int64_t>::value || std::is_same<Number, uint64_t>::value ||
                    std::is_same<Number, double>::value,
                "numbers are int64_t, uint64_t or double");
  Number value{};
  bool valid = false;
  if constexpr (std::is_same<Number, int64_t>::value) {
    valid = velmor_core_str_to_i64(text, &value);
  } else if constexpr (std::is_same<Number, uint64_t>::value) {
    valid = velmor_core_str_to_u64(text, &value);
  } else {
    valid = velmor_core_str_to_f64(text, &value);
  }
  return valid ? std::optional<Number>(value) : std::nullopt;
}
/** The same; throws if the text is no number. */
template <typename Number>
Number toNumber(const char* text) {
  const std::optional<Number> value = toNumber<Number>(text, std::nothrow);
  if (!value) throw Error("a text is no number");
  return *value;
}

/** A UUID as a value, with the order of its text form. */
class Uuid {
 public:
  /** The null UUID. */
  constexpr Uuid() noexcept : uuid{} {}
  /** A record of the C interface. */
  constexpr explicit Uuid(const velmor_core_uuid_t& raw) noexcept : uuid(raw) {}
  /** A random UUID; throws if the system gives no random bytes. */
  static Uuid random() {
    const std::optional<Uuid> made = random(std::nothrow);
    if (!made) throw Error("the system gives no random bytes");
    return *made;
  }
  /** The same; empty on failure. */
  static std::optional<Uuid> random(const std::nothrow_t&) noexcept {
    Uuid made;
    velmor_core_uuid_generate_random(&made.uuid);
    return made.isNull() ? std::nullopt : std::optional<Uuid>(made);
  }
  /** Reads any of the text forms that uuid.h tells. */
  static Uuid parse(std::string_view text) {
    const std::optional<Uuid> parsed = parse(text, std::nothrow);
    if (!parsed) throw Error("a text is no UUID");
    return *parsed;
  }
  /** The same; empty if the text is no UUID. */
  static std::optional<Uuid> parse(std::string_view text, const std::nothrow_t&) noexcept {
    Uuid parsed;
    if (!velmor_core_uuid_parse2(text.data(), text.size(), &parsed.uuid)) return std::nullopt;
    return parsed;
  }
  /** The usual 36 characters, in lower case. */
  std::string text() const {
    std::array<char, VELMOR_CORE_UUID_TEXT_SIZE> buffer{};
    velmor_core_uuid_unparse(&uuid, buffer.data());
    return std::string(buffer.data());
  }
  /** Whether all bytes are 0. */
  bool isNull() const noexcept { return velmor_core_uuid_is_null(&uuid); }
  /** The record for the C interface. */
  const velmor_core_uuid_t& get() const noexcept { return uuid; }
  /** Whether all bytes are equal. */
  friend bool operator==(const Uuid& a, const Uuid& b) noexcept {
    return velmor_core_uuid_compare_eq(&a.uuid, &b.uuid);
  }
  /** Whether any bytes differ. */
  friend bool operator!=(const Uuid& a, const Uuid& b) noexcept { return !(a == b); }
  /** Byte by byte, unsigned: the order of the texts. */
  friend bool operator<(const Uuid& a, const Uuid& b) noexcept {
    return velmor_core_uuid_compare_lt(&a.uuid, &b.uuid);
  }
  /** The other way round. */
  friend bool operator>(const Uuid& a, const Uuid& b) noexcept { return b < a; }

 private:
  velmor_core_uuid_t uuid;
};

/** The bytes of a SHA-256 digest. */
using Sha256 = std::array<uint8_t, VELMOR_CORE_HASH_SHA256_SIZE>;

/** The SHA-256 digest of a range of bytes. */
template <typename Range>
Sha256 sha256(const Range& bytes) noexcept {
  Sha256 digest{};
  velmor_core_hash_sha256(std::data(bytes), detail::byteSize(bytes), digest.data());
  return digest;
}

}  // namespace velmor_core

#endif
