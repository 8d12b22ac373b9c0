// velmor-core extract

#include <algorithm>
#include <array>
#include <iostream>
#include <vector>

#include "chunk_path.h"
#include "command.h"
#include "editing.h"
#include "errors.h"
#include "file.h"
#include "progress.h"

namespace tool {

namespace {

constexpr uint32_t BLOCK = 65536;
constexpr Option OUTPUT{"-o", true};
constexpr std::array OPTIONS = {OUTPUT};

// Hands a chunk's data, piece by piece, to write(bytes, count).
template <typename Write>
void copyData(const Chunk& chunk, Write write) {
  Progress progress("extracting " + chunk.name(), chunk.dataSize());
  std::vector<char> block(std::min(chunk.dataSize(), BLOCK));
  for (uint32_t done = 0; done < chunk.dataSize();) {
    const uint32_t piece = std::min(chunk.dataSize() - done, BLOCK);
    if (velmor_core_riff_chunk_get_data(chunk.handle(), block.data(), piece, done) !=
        VELMOR_CORE_SUCCESS) {
      throw Failure(chunk.name() + " cannot be read");
    }
    write(block.data(), piece);
    done += piece;
    progress.at(done);
  }
}

void extract(const Chunk& chunk, const std::optional<std::string>& output) {
  if (chunk.isGroup()) throw Failure(chunk.name() + " is a group: extract the chunks in it");
  requireAllBytes(chunk);
  if (output) {
    File file(*output, File::CREATE);
    copyData(chunk, [&](const char* bytes, uint32_t count) { file.write(bytes, count); });
    file.close();
  } else {
    copyData(chunk, [](const char* bytes, uint32_t count) {
      if (!std::cout.write(bytes, count)) throw Failure("cannot write the output");
    });
  }
}

int runExtract(const Arguments& arguments) {
  const std::string& file = arguments[0];
  const ChunkPath path(arguments[1]);
  const std::optional<std::string> output = arguments.value(OUTPUT.name);
  if (output && isSameFile(file, *output)) {
    throw UsageError("the data cannot be written over the file that it comes from");
  }
  const Object object = openFile(file, VELMOR_CORE_RIFF_READ_ONLY);
  applyTo(file, object, [&](const Chunk& root) { extract(path.find(root), output); });
  return 0;
}

}  // namespace

const Command EXTRACT = {
    .name = "extract",
    .synopsis = "FILE PATH [-o OUTPUT]",
    .summary = "Write the data of a chunk to standard output or a file",
    .help = R"(
The bytes come as they are stored, without header and pad byte, also the NUL behind a text.

-o OUTPUT   write to this file, which is created or emptied first

  velmor-core extract song.wav RIFF:WAVE/data -o samples.raw
)",
    .minOperands = 2,
    .maxOperands = 2,
    .options = OPTIONS,
    .run = runExtract,
};

}  // namespace tool
