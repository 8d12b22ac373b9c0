// velmor-core sha256

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <iostream>
#include <optional>
#include <velmor_core/hash.hpp>

#include "app/command.h"
#include "app/errors.h"
#include "app/jobs.h"
#include "app/progress.h"
#include "app/terminal.h"
#include "app/text.h"
#include "file/bytes.h"
#include "file/mapping.h"

namespace tool {

namespace {

using velmor_core::Sha256;

constexpr std::array OPTIONS = {JOBS};

// None unless the descriptor is at the start of a regular file that can be mapped. Files that the
// system makes up, such as those in /proc, look empty, and are read instead.
std::optional<Sha256> digestOfMapped(const File& file) {
  const struct stat status = file.status();
  if (!S_ISREG(status.st_mode) || status.st_size == 0) return std::nullopt;
  if (::lseek(file.descriptor(), 0, SEEK_CUR) != 0) return std::nullopt;
  std::optional<Mapping> mapping;
  try {
    mapping.emplace(file, file.size(), 0);
  } catch (const Failure&) {
    return std::nullopt;
  }
  const std::span<char> bytes = mapping->bytes();
  ::madvise(bytes.data(), bytes.size(), MADV_SEQUENTIAL);  // read ahead further
  const Sha256 digest = velmor_core::sha256(bytes);
  mapping->requireIntact();
  ::lseek(file.descriptor(), 0, SEEK_END);  // as reading would leave it
  return digest;
}

// Regular files are mapped, so that large ones need no memory. Input that cannot be mapped is held
// in memory.
Sha256 digestOf(const std::string& name) {
  const File file(name, name == "-" ? Descriptor(::dup(STDIN_FILENO)) : openToRead(name));
  const Waiting waiting("hashing " + name);
  if (const auto digest = digestOfMapped(file)) return *digest;
  Bytes bytes;
  bytes.readToEnd(file.descriptor(), name);
  return velmor_core::sha256(bytes.view());
}

// A backslash at the start of the line means that the name in it is escaped, as in the output of
// sha256sum.
void printLine(std::string_view digits, const std::string& name) {
  std::string shown;
  for (const char character : name) {
    if (character == '\\') {
      shown += "\\\\";
    } else if (character == '\n') {
      shown += "\\n";
    } else if (character == '\r') {
      shown += "\\r";
    } else {
      shown += character;
    }
  }
  if (shown != name) std::cout << '\\';
  std::cout << digits << "  " << (outputIsTerminal() ? printable(shown) : shown) << '\n';
}

int hashFile(const std::string& name) {
  std::string digits;
  for (const uint8_t byte : digestOf(name)) digits += hexDigits(byte);
  printLine(digits, name);
  return 0;
}

int runSha256(const Arguments& arguments) {
  if (arguments.count() > 0) return forEachFile(arguments, hashFile);
  return hashFile("-");
}

}  // namespace

const Command SHA256 = {
    .name = "sha256",
    .synopsis = "[--jobs N] [FILE...]",
    .summary = "Print SHA-256 digests, in the form that \"sha256sum -c\" reads",
    .help = R"(
Without a FILE, or if it is "-", standard input is hashed. Files are mapped, so large ones need no
memory. Input from a pipe is held in memory.
"--jobs N" hashes N files at the same time; see "velmor-core --help".
)",
    .examples = R"(
  velmor-core sha256 --jobs 4 *.wav >sums
  sha256sum --check sums
)",
    .minOperands = 0,
    .maxOperands = ANY_NUMBER,
    .options = OPTIONS,
    .run = runSha256,
};

}  // namespace tool
