// A file's bytes as memory.

#include "file/mapping.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>

#include "app/errors.h"

namespace tool {

namespace {

// The current mapping, for the signal handler.
struct Guarded {
  char* begin;
  char* end;
  char* volatile lost;  // the first address that could not be loaded
};
Guarded guarded{};

// Restores the signal's default action, which ends the program.
void endBy(int signal) { static_cast<void>(::signal(signal, SIG_DFL)); }

// The system raises SIGBUS if a page of the file cannot be loaded. From that page on, the handler
// maps zeros instead, and the work continues; requireIntact() refuses its result later.
void loseRest(int signal, siginfo_t* info, void* /*context*/) {
  auto* const address = static_cast<char*>(info->si_addr);
  if (address < guarded.begin || address >= guarded.end) {
    endBy(signal);
    return;
  }
  char* const page =
      address - (address - guarded.begin) % static_cast<std::ptrdiff_t>(::sysconf(_SC_PAGESIZE));
  if (!guarded.lost || page < guarded.lost) guarded.lost = page;
  const auto rest = static_cast<std::size_t>(guarded.end - page);
  if (::mmap(page, rest, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) ==
      MAP_FAILED) {
    endBy(signal);
  }
}

void guard(char* begin, uint64_t length) {
  guarded = {begin, begin + length, nullptr};
  struct sigaction action {};
  action.sa_flags = SA_SIGINFO;
  action.sa_sigaction = loseRest;
  ::sigaction(SIGBUS, &action, nullptr);
}

uint64_t inPages(uint64_t length) {
  const auto page = static_cast<uint64_t>(::sysconf(_SC_PAGESIZE));
  return (length + page - 1) / page * page;
}

}  // namespace

Mapping::Mapping(const File& file, uint64_t size, uint64_t room)
    : file(file), length(size + room), mappedLength(inPages(std::max<uint64_t>(size + room, 1))) {
  // First maps zeros over the whole length, and then the file over the start of them.
  constexpr int PRIVATE = MAP_PRIVATE | MAP_NORESERVE;
  void* const space =
      ::mmap(nullptr, mappedLength, PROT_READ | PROT_WRITE, PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (space == MAP_FAILED) throw Failure(file.name(), "cannot be mapped: " + systemError());
  if (size > 0 && ::mmap(space, size, PROT_READ | PROT_WRITE, PRIVATE | MAP_FIXED,
                         file.descriptor(), 0) == MAP_FAILED) {
    const std::string reason = systemError();
    ::munmap(space, mappedLength);
    throw Failure(file.name(), "cannot be mapped: " + reason);
  }
  begin = static_cast<char*>(space);
  guard(begin, mappedLength);
}

Mapping::~Mapping() {
  endBy(SIGBUS);
  guarded = {};
  ::munmap(begin, mappedLength);
}

void Mapping::undoChanges() {
  if (::madvise(begin, mappedLength, MADV_DONTNEED) == -1) {
    throw Failure(file.name(), "cannot be read again: " + systemError());
  }
}

void Mapping::requireIntact() const {
  if (!guarded.lost) return;
  const auto offset = static_cast<uint64_t>(guarded.lost - begin);
  char byte = 0;
  file.readAll(&byte, 1, offset);  // throws with the reason, unless the byte can be read again
  throw Failure(file.name(),
                "changed while it was read (at offset " + std::to_string(offset) + ")");
}

}  // namespace tool
