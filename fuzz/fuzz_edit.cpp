// Edits decoded from bytes, on a buffer, a cache and a file at once: the results, the trees and,
// opened anew, the stored bytes stay the same in all three.

#include <fuzzer/FuzzedDataProvider.h>

#include <array>

#include "riff_fuzzing.h"

using namespace fuzzing;

namespace {

constexpr uint32_t RIFF = VELMOR_CORE_RIFF_ID('R', 'I', 'F', 'F');
constexpr uint32_t LIST = VELMOR_CORE_RIFF_ID('L', 'I', 'S', 'T');
constexpr uint32_t JUNK = VELMOR_CORE_RIFF_ID('J', 'U', 'N', 'K');
constexpr uint32_t DATA = VELMOR_CORE_RIFF_ID('d', 'a', 't', 'a');

// The nth chunk in byte order, counted around.
Chunk* pick(Chunk* root, uint32_t nth) {
  std::vector<Chunk*> all;
  walk(root, [&](Chunk* c) { all.push_back(c); });
  return all[nth % all.size()];
}

// One edit, the same for every object it is run on.
struct Edit {
  explicit Edit(FuzzedDataProvider& from)
      : what(from.ConsumeIntegralInRange<uint32_t>(0, 8)),
        where(from.ConsumeIntegral<uint8_t>()),
        other(from.ConsumeIntegral<uint8_t>()),
        id(from.PickValueInArray({DATA, JUNK, LIST, RIFF, uint32_t{0}})),
        size(from.ConsumeIntegral<uint8_t>()),
        data(256, from.ConsumeIntegral<uint8_t>()) {
    if (from.ConsumeBool() && what == 0) size = 0xFFFFFF00 + size;
  }

  int32_t run(Chunk* root, Object* cache) const {
    Chunk* chunk = pick(root, where);
    switch (what) {
      case 0:
        return velmor_core_riff_chunk_set_data_size(chunk, size);
      case 1:
        return velmor_core_riff_chunk_remove(chunk);
      case 2:
        return velmor_core_riff_chunk_recycle(&chunk);
      case 3:
        return velmor_core_riff_chunk_set_data(chunk, data.data(), size, other);
      case 4:
        return found(velmor_core_riff_chunk_add_chunk(chunk, pick(root, other)));
      case 5:
        return found(velmor_core_riff_chunk_add_cache(chunk, cache));
      case 6:
        return found(velmor_core_riff_chunk_add_group_chunk(chunk, other % 2 ? RIFF : LIST, DATA));
      default:
        return found(velmor_core_riff_chunk_add_data_chunk(
            chunk, id == LIST || id == RIFF ? DATA : id, data.data(), size));
    }
  }

  uint32_t what;
  uint32_t where;
  uint32_t other;
  uint32_t id;
  uint32_t size;
  Bytes data;

 private:
  static int32_t found(const Chunk* chunk) { return chunk ? 0 : -1; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider from(data, size);
  const Bytes content = from.ConsumeBytes<uint8_t>(from.ConsumeIntegralInRange<size_t>(0, 600));
  const size_t room = from.ConsumeBool() ? 1 << 16 : from.ConsumeIntegral<uint8_t>();

  Bytes memory = content;
  memory.resize(content.size() + room);
  Object* opened = nullptr;
  velmor_core_riff_open_buffer_rw(memory.data(), content.size(), memory.size(), &opened);
  const Opened buffer(opened);
  if (!buffer) return 0;
  const MemoryFile file(content);
  const Opened fileObject = file.open();
  require(fileObject != nullptr);
  const Bytes pouredBytes = {'J', 'U', 'N', 'K', 2, 0, 0, 0, 1, 2, 'x', 0, 0, 0, 1, 0, 0, 0, 7, 8};
  const Opened poured = openBytes(pouredBytes);
  // A cache holds the same bytes if they are whole.
  velmor_core_riff_open_cache(from.ConsumeIntegral<uint8_t>(), &opened);
  const Opened cache(opened);
  velmor_core_riff_chunk_add_cache(rootOf(cache), buffer.get());
  const bool whole = describe(rootOf(cache)) == describe(rootOf(buffer));

  for (int step = 0; step < 40 && from.remaining_bytes() > 0; ++step) {
    const Edit edit(from);
    const bool room4g = edit.what == 0 && edit.size > 0xFFFF;
    const int32_t result = edit.run(rootOf(buffer), poured.get());
    if (room4g) {
      if (result == VELMOR_CORE_SUCCESS) return 0;
      continue;
    }
    const int32_t inFile = edit.run(rootOf(fileObject), poured.get());
    // A buffer may be full where a file is not, and a failed edit may leave its mark.
    if (result != inFile || result != VELMOR_CORE_SUCCESS) {
      require(room < 1 << 16 || result == inFile);
      if (result != inFile || edit.what == 2) return 0;
    }
    const std::vector<Node> tree = describe(rootOf(buffer));
    require(tree == describe(rootOf(fileObject)));
    if (whole) {
      require(edit.run(rootOf(cache), poured.get()) == result);
      require(tree == describe(rootOf(cache)));
    }
    // The chunks are read again as they are.
    const auto stored = static_cast<long>(velmor_core_riff_cache_get_size(buffer.get()));
    require(describe(rootOf(openBytes(Bytes(memory.begin(), memory.begin() + stored)))) == tree);
    require(describe(rootOf(openBytes(file.content()))) == tree);
  }
  return 0;
}
