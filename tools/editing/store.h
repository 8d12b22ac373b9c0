// The objects and chunks that edits work on. Errors come with their reason.
#ifndef VELMOR_CORE_TOOLS_EDITING_STORE_H
#define VELMOR_CORE_TOOLS_EDITING_STORE_H

#include <cerrno>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <velmor_core/velmor_core.hpp>

#include "app/errors.h"
#include "chunks/chunk_id.h"
#include "file/mapping.h"
#include "file/original.h"
#include "verdict/survey.h"

namespace tool {

using velmor_core::Object;

class Cut;

// A chunk of an open object, or none, with the questions that commands ask about it.
class Chunk : public velmor_core::Chunk {
 public:
  Chunk() = default;
  explicit Chunk(velmor_core::Chunk chunk) : velmor_core::Chunk(chunk) {}
  explicit Chunk(velmor_core_riff_chunk_t* chunk) : velmor_core::Chunk(chunk) {}

  uint32_t id() const { return velmor_core::Chunk::id().value(); }
  uint32_t groupId() const { return velmor_core::Chunk::groupId().value(); }
  std::string name() const { return nameText(id(), groupId()); }
  // True for all groups: the library loads only these ids as groups, and the program adds no
  // others.
  bool isGroup() const { return isVirtualRoot() || isGroupId(id()); }
  bool isVirtualRoot() const { return !parent(); }

  Chunk parent() const { return Chunk(velmor_core::Chunk::parent()); }
  Chunk next() const { return Chunk(velmor_core::Chunk::next()); }
  Chunk firstChild() const { return Chunk(child(0)); }
};

inline Chunk virtualRoot(const Object& object) { return Chunk(object.root()); }

// A file that a command works on, and its chunks. The bytes are mapped privately: changes stay in
// memory, and only pages that are read are loaded.
class Opened {
 public:
  // Opens an existing regular file, surveys it and loads its chunks. An edit may lengthen the copy
  // in memory by `room` bytes. Throws Failure with the reason. If damage prevents loading the
  // chunks, the reason is the first damage, with its offset.
  Opened(const std::string& name, Original::Purpose purpose, uint64_t room = 0);

  const Original& original() const { return source; }
  // The first finding of the survey that is no warning.
  const std::optional<Finding>& damage() const { return firstFound; }
  const Object& object() const { return chunks; }
  Chunk root() const { return virtualRoot(chunks); }
  std::span<const char> bytes() const { return mapping.bytes().first(chunks.size()); }
  // Removes bytes in memory and loads the chunks again. All handles of chunks end.
  void cut(const Cut& cut);
  // Makes the bytes and chunks those of the file again. All handles of chunks end.
  void undoChanges();

  // Gives the memory of the chunks back. All handles of chunks end.
  void closeChunks() { chunks = Object(); }

  // Runs work on these chunks or on those of a copy of the file. If the work throws a Failure, puts
  // the name of the file before its message, and the reason after it if the library refused a call.
  void explain(const std::function<void()>& work) const;

 private:
  void loadChunks(uint64_t size);

  Original source;
  Mapping mapping;
  std::optional<Finding> firstFound;
  Object chunks;
};

// The library refused a call, without a reason. Keeps the system's error; Opened::explain() finds
// the reason.
class Refused : public Failure {
 public:
  explicit Refused(const std::string& what) : Refused(what, errno) {}
  Refused(const std::string& what, int systemError) : Failure(what), error(systemError) {}
  int systemError() const { return error; }

 private:
  int error;
};

// Runs a call of the library and returns its result. Throws Refused if the result is false.
template <typename Call>
auto required(const std::string& what, Call call) {
  errno = 0;  // so that it is the error of a system call in the library, or 0
  auto result = call();
  if (!result) throw Refused("cannot " + what);
  return result;
}

}  // namespace tool

#endif
