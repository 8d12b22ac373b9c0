// Any bytes, opened as a buffer and as a file: both refuse them, or both show the same tree, all of
// which can be walked and read.

#include <algorithm>

#include "riff_fuzzing.h"

using namespace fuzzing;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Bytes bytes(data, data + size);
  const Opened buffer = openBytes(bytes);
  const std::vector<Node> tree = buffer ? describe(rootOf(buffer)) : std::vector<Node>();
  if (size < 1024) {  // each header field of a file is two system calls
    const MemoryFile memory(bytes);
    const Opened file = memory.open();
    require((buffer == nullptr) == (file == nullptr));
    if (file) require(describe(rootOf(file)) == tree);
  }
  if (!buffer) return 0;

  Bytes out(4096);
  walk(rootOf(buffer), [&](Chunk* c) {
    const uint32_t whole = velmor_core_riff_chunk_get_data_size(c);
    const auto part = static_cast<uint32_t>(std::min<size_t>(whole, out.size()));
    velmor_core_riff_chunk_get_data(c, out.data(), part, 0);
    velmor_core_riff_chunk_get_data(c, out.data(), part, whole - part);
    require(velmor_core_riff_chunk_get_data(c, out.data(), part, whole - part + 1) !=
            VELMOR_CORE_SUCCESS);
  });
  return 0;
}
