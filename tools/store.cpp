#include "store.h"

#include "errors.h"
#include "file.h"
#include "survey.h"

namespace tool {

namespace {

constexpr uint64_t GROUP_HEADER_SIZE = 12;

// Why the store refuses a file that can be opened and read.
[[noreturn]] void throwRefused(const std::string& file) {
  if (const auto damage = firstDamage(file)) throw Failure(file, findingText(*damage));
  throw Failure(file, "cannot be read");
}

}  // namespace

Object openFile(const std::string& file, int32_t mode) {
  // Says why a file does not open; the store's own result has no room for reasons.
  const File probe(file, mode == VELMOR_CORE_RIFF_READ_ONLY ? File::READ : File::READ_WRITE);
  // What the store is going to refuse can take it long, and all memory: it reads on to the end.
  if (const auto damage = firstDamage(file); damage && damage->isFatal) {
    throw Failure(file, findingText(*damage));
  }
  Object object = Object::openFile(file, static_cast<velmor_core::Mode>(mode), std::nothrow);
  if (!object) throwRefused(file);
  return object;
}

Copy openCopy(const std::string& file, uint64_t room) {
  const File source(file, File::READ);
  const uint64_t size = source.size();
  Copy copy{std::vector<char>(size + room), Object()};
  source.readAll(copy.bytes.data(), size, 0);
  copy.object = Object::openBuffer(copy.bytes, size, std::nothrow);
  if (!copy.object) throwRefused(file);
  return copy;
}

TreeWalk::TreeWalk(const Object& object, const Chunk& start)
    : first(start), current(virtualRoot(object)) {}

bool TreeWalk::next() {
  while (!isInside && first) {
    if (!advance()) return false;
    isInside = current == first;
    firstDepth = depth;
    if (isInside) return true;
  }
  return advance() && (!first || depth > firstDepth);
}

bool TreeWalk::advance() {
  Chunk following = current.firstChild();
  if (following) {
    ++depth;
  } else {
    following = current.next();
    while (!following && depth > 0) {
      current = current.parent();
      --depth;
      if (depth > 0) following = current.next();
    }
  }
  if (!following) return false;
  current = following;
  start = end;
  end += current.isGroup() ? GROUP_HEADER_SIZE : current.totalSize();
  return true;
}

}  // namespace tool
