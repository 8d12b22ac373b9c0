// velmor-core sha256

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <velmor_core/hash.h>

#include <array>
#include <iostream>

#include "command.h"
#include "errors.h"
#include "progress.h"

namespace tool {

namespace {

constexpr std::size_t BLOCK = 65536;

// The bytes behind a descriptor, from where it stands on: mapped where it is a file at its
// beginning, so that large ones need no memory, else read. Either way the descriptor stands at the
// end then.
class Input {
 public:
  Input(int descriptor, const std::string& name) {
    struct stat status {};
    if (::fstat(descriptor, &status) == -1) throw Failure(name, systemError());
    const bool isWhole = S_ISREG(status.st_mode) && ::lseek(descriptor, 0, SEEK_CUR) == 0;
    if (!isWhole || !map(descriptor, static_cast<std::size_t>(status.st_size))) {
      readAll(descriptor, name);
    }
  }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input() {
    if (mapped) ::munmap(mapped, size);
  }

  const void* data() const { return mapped ? mapped : bytes.data(); }
  uint64_t length() const { return size; }

 private:
  // False if there is nothing to map, or it is one of the kernel's files that only look like one.
  bool map(int descriptor, std::size_t length) {
    if (length == 0) return false;
    void* address = ::mmap(nullptr, length, PROT_READ, MAP_PRIVATE, descriptor, 0);
    if (address == MAP_FAILED) return false;
    ::madvise(address, length, MADV_SEQUENTIAL);  // read ahead further
    ::lseek(descriptor, 0, SEEK_END);
    mapped = address;
    size = length;
    return true;
  }

  void readAll(int descriptor, const std::string& name) {
    for (ssize_t count = 1; count != 0;) {
      bytes.resize(size + BLOCK);
      count = ::read(descriptor, bytes.data() + size, BLOCK);
      if (count == -1 && errno != EINTR) throw Failure(name, systemError());
      if (count > 0) size += static_cast<std::size_t>(count);
    }
  }

  void* mapped = nullptr;
  std::string bytes;
  std::size_t size = 0;
};

// A descriptor of a named file, or of standard input, which stays open.
class Source {
 public:
  explicit Source(const std::string& name)
      : isFile(name != "-"),
        descriptor(isFile ? ::open(name.c_str(), O_RDONLY | O_CLOEXEC) : STDIN_FILENO) {
    if (descriptor == -1) throw Failure(name, systemError());
  }
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  ~Source() {
    if (isFile) ::close(descriptor);
  }
  int get() const { return descriptor; }

 private:
  bool isFile;
  int descriptor;
};

// A backslash in front of the line says that the name in it is escaped, as sha256sum has it.
void printLine(std::string_view digits, const std::string& name) {
  std::string shown;
  for (const char character : name) {
    switch (character) {
      case '\\':
        shown += "\\\\";
        break;
      case '\n':
        shown += "\\n";
        break;
      case '\r':
        shown += "\\r";
        break;
      default:
        shown += character;
    }
  }
  if (shown != name) std::cout << '\\';
  std::cout << digits << "  " << shown << '\n';
}

std::array<uint8_t, VELMOR_CORE_HASH_SHA256_SIZE> digestOf(const std::string& name) {
  const Source source(name);
  const Waiting waiting("hashing " + name);
  const Input input(source.get(), name);
  std::array<uint8_t, VELMOR_CORE_HASH_SHA256_SIZE> digest{};
  velmor_core_hash_sha256(input.data(), input.length(), digest.data());
  return digest;
}

void hashFile(const std::string& name) {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  std::string text;
  for (const uint8_t byte : digestOf(name)) {
    text += DIGITS[byte >> 4];
    text += DIGITS[byte & 15];
  }
  printLine(text, name);
}

int runSha256(const Arguments& arguments) {
  if (arguments.count() > 0) return forEach(arguments.all(), hashFile);
  hashFile("-");
  return 0;
}

}  // namespace

const Command SHA256 = {
    .name = "sha256",
    .synopsis = "[FILE...]",
    .summary = "Print SHA-256 digests, in the form that \"sha256sum -c\" reads",
    .help = R"(
Without a FILE, or where it is "-", standard input is hashed. Files are mapped, not loaded, and must
not become shorter while they are hashed; what comes through a pipe is held in memory.
)",
    .minOperands = 0,
    .maxOperands = ANY_NUMBER,
    .options = {},
    .run = runSha256,
};

}  // namespace tool
