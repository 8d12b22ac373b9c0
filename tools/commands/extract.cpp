// velmor-core extract

#include <algorithm>
#include <array>
#include <iostream>
#include <vector>

#include "app/command.h"
#include "app/errors.h"
#include "app/progress.h"
#include "app/terminal.h"
#include "app/text.h"
#include "chunks/chunk_path.h"
#include "chunks/file_kind.h"
#include "chunks/tree_items.h"
#include "editing/editing.h"
#include "file/new_file.h"
#include "file/original.h"
#include "verdict/survey.h"

namespace tool {

namespace {

constexpr uint64_t BLOCK = 1 << 16;
constexpr std::array OPTIONS = {OUTPUT, FORCE};

using Write = std::function<void(const char* bytes, std::size_t count)>;

// A data chunk's bytes in the file.
class Data {
 public:
  Data(const File& file, const RawChunk& chunk) : file(file), chunk(chunk) {}

  // Passes them to `write` in blocks.
  void copyTo(const Write& write) const {
    const uint64_t size = chunk.dataSize;
    Progress progress("extracting " + idText(chunk.id), size);
    std::vector<char> block(std::min(size, BLOCK));
    for (uint64_t done = 0; done < size; done += block.size()) {
      block.resize(std::min(size - done, BLOCK));
      file.readAll(block.data(), block.size(), chunk.dataOffset() + done);
      write(block.data(), block.size());
      progress.at(done + block.size());
    }
  }

 private:
  const File& file;
  RawChunk chunk;
};

// Whether a terminal may read some of the bytes as commands. NULs are harmless: texts end in them.
bool steersTerminal(std::string text) {
  std::ranges::replace_if(
      text, [](char byte) { return byte == '\0' || byte == '\n' || byte == '\t'; }, ' ');
  return printable(text) != text;
}

void printData(const Data& data, bool mayBeBinary) {
  if (outputIsTerminal() && !mayBeBinary) {
    std::string text;  // what has not been looked at yet
    const auto require = [&text](std::size_t length) {
      if (steersTerminal(text.substr(0, length))) {
        throw Failure(
            "the data may confuse the terminal: -o writes it to a file, --force prints it");
      }
      text.erase(0, length);
    };
    data.copyTo([&](const char* bytes, std::size_t count) {
      text.append(bytes, count);
      require(wholeCharacters(text));
    });
    require(text.size());
  }
  data.copyTo([](const char* bytes, std::size_t count) {
    std::cout.write(bytes, static_cast<std::streamsize>(count));
    if (!std::cout) throw Failure("cannot write the output");
  });
}

// The data chunk that a path names. Only the headers on the way to it are read, so damage elsewhere
// in the file does not matter.
RawChunk findData(const Original& original, const ChunkPath& path) {
  RawBytes bytes(original.get());
  requireRiff(original.name(), bytes);
  try {
    const RawNode found = path.find(RawNode::virtualRoot(bytes));
    if (found.isGroup()) throw Failure(found.name() + " is a group: extract the chunks in it");
    if (found.chunk().dataEnd() <= std::min(found.limit(), bytes.size())) return found.chunk();
    throw Failure(found.name() + " cannot be read to its end");
  } catch (const Failure& failure) {
    const auto damage = firstDamage(original.name(), bytes);
    throw Failure(original.name(), failure.what() + (damage ? ": " + findingText(*damage) : ""));
  }
}

int runExtract(const Arguments& arguments) {
  const std::string& name = arguments[0];
  const ChunkPath path(arguments[1]);
  const std::optional<std::string> output = arguments.value(OUTPUT.name);
  if (output && isSameFile(name, *output)) {
    throw UsageError("the data cannot be written over the file that it comes from");
  }
  const Original original(name, Original::LOOK);
  const Data data(original.get(), findData(original, path));
  if (output) {
    writeNamed(*output, arguments.has(FORCE.name), [&](const File& file) {
      data.copyTo([&](const char* bytes, std::size_t count) { file.write(bytes, count); });
    });
  } else {
    printData(data, arguments.has(FORCE.name));
  }
  return 0;
}

}  // namespace

const Command EXTRACT = {
    .name = "extract",
    .synopsis = "FILE PATH [-o OUTPUT] [--force]",
    .summary = "Write the data of a chunk to standard output or a file",
    .help = R"(
Writes the data as it is stored, without header and pad byte. The NUL at the end of a text is
written too.

-o OUTPUT   write to this file; it appears under this name only when complete
--force     replace OUTPUT if it exists; without -o, print bytes that may confuse the terminal
)",
    .examples = R"(
  velmor-core extract song.wav RIFF:WAVE/data -o samples.raw
  velmor-core extract song.wav RIFF:WAVE/LIST:INFO/INAM
)",
    .minOperands = 2,
    .maxOperands = 2,
    .options = OPTIONS,
    .run = runExtract,
};

}  // namespace tool
