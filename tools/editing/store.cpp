// Opens a file's chunks, and says why a call on them failed.

#include "editing/store.h"

#include <cstring>

#include "editing/cut.h"

namespace tool {

namespace {

std::string reasonOf(const Refused& refused, const std::optional<Finding>& damage) {
  if (refused.systemError() != 0) return std::strerror(refused.systemError());  // NOLINT: no race
  return damage ? findingText(*damage) : "the file cannot be changed";
}

}  // namespace

Opened::Opened(const std::string& name, Original::Purpose purpose, uint64_t room)
    : source(name, purpose), mapping(source.get(), source.size(), room) {
  RawBytes raw(source.get());
  firstFound = requireOpenable(name, raw);
  loadChunks(source.size());
}

void Opened::cut(const Cut& cut) {
  const std::span<char> edited = mapping.bytes().first(chunks.size());
  chunks = Object();
  loadChunks(cut.applyTo(edited));
}

void Opened::undoChanges() {
  chunks = Object();
  mapping.undoChanges();
  loadChunks(source.size());
}

void Opened::loadChunks(uint64_t size) {
  explain([this, size] {
    chunks = required("read the chunks", [this, size] {
      const std::span<char> memory = mapping.bytes();
      return Object::openBuffer(memory, size, std::nothrow);
    });
  });
}

void Opened::explain(const std::function<void()>& work) const {
  try {
    work();
  } catch (const Refused& refused) {
    mapping.requireIntact();
    throw Failure(source.name(), refused.what() + (": " + reasonOf(refused, firstFound)));
  } catch (const Failure& failure) {
    mapping.requireIntact();
    throw Failure(source.name(), failure.what());
  }
  mapping.requireIntact();
}

}  // namespace tool
