// Compares opening and walking with a bare loop over the same headers or the same system calls.

#include <fcntl.h>
#include <unistd.h>

#include "compare.h"
#include "riff_support.h"
#ifdef HAVE_TAGLIB
#include "taglib_riff.h"
#endif

namespace {

using namespace bench;

enum Shape { FLAT, NESTED, FREE, FREE_EMPTY, FREE_RANDOM };

// Makes n chunks: data chunks in one group, groups inside each other, or free chunks in one group.
Bytes makeTree(Shape shape, int64_t n) {
  Bytes content;
  if (shape == NESTED) {
    for (int64_t i = 0; i < n; ++i) {
      put32(content, LIST);
      put32(content, static_cast<uint32_t>(4 + 12 * (n - 1 - i)));
      put32(content, DATA);
    }
    return content;
  }
  uint32_t random = 1;
  for (int64_t i = 1; i < n; ++i) {
    random = random * 1664525 + 1013904223;
    const uint32_t size = shape == FREE_EMPTY ? 0 : shape == FREE_RANDOM ? random >> 26 << 1 : 24;
    putChunk(content, shape == FLAT ? DATA : JUNK, size);
  }
  return group(RIFF, content);
}

// Reads only the headers, as the simplest reader would: enters groups and skips data.
uint64_t walkBytes(const Bytes& bytes) {
  uint64_t sum = 0;
  for (size_t offset = 0; offset < bytes.size();) {
    const uint32_t id = get32(&bytes[offset]);
    const uint32_t size = get32(&bytes[offset + 4]);
    sum += id ^ size;
    offset += id == RIFF || id == LIST ? 12 : 8 + uint64_t{size} + (size & 1);
  }
  return sum;
}

void openBuffer(benchmark::State& state, Shape shape) {
  const Bytes bytes = makeTree(shape, state.range(0));
  compare(
      state, static_cast<double>(state.range(0)),
      [&] {
        Object* object = nullptr;
        velmor_core_riff_open_buffer_ro(bytes.data(), bytes.size(), &object);
        benchmark::DoNotOptimize(object);
        velmor_core_riff_close(object);
      },
      [&] { benchmark::DoNotOptimize(walkBytes(bytes)); });
}

uint32_t read32(int fd, uint64_t offset) {
  uint32_t value = 0;
  lseek(fd, static_cast<off_t>(offset), SEEK_SET);
  if (read(fd, &value, 4) != 4) std::abort();
  return value;
}

// Makes the system calls of opening a file: one read for each header field, two for the id.
void walkFile(const char* path) {
  const int fd = open(path, O_RDWR | O_CLOEXEC);
  const auto size = static_cast<uint64_t>(lseek(fd, 0, SEEK_END));
  for (uint64_t offset = 0; offset < size;) {
    read32(fd, offset);
    const uint32_t id = read32(fd, offset);
    const uint32_t dataSize = read32(fd, offset + 4);
    const bool isGroup = id == RIFF || id == LIST;
    if (isGroup) read32(fd, offset + 8);
    offset += isGroup ? 12 : 8 + uint64_t{dataSize} + (dataSize & 1);
  }
  close(fd);
}

void openFile(benchmark::State& state, Shape shape) {
  const ScratchFile file(makeTree(shape, state.range(0)));
  compare(
      state, static_cast<double>(state.range(0)),
      [&] { velmor_core_riff_close(bench::openFile(file.path())); },
      [&] { walkFile(file.path()); });
}

// Compares opening 160,000 free chunks with opening as many data chunks.
void openFreeChunks(benchmark::State& state, Shape shape) {
  constexpr int64_t N = 160'000;
  const Bytes free = makeTree(shape, N);
  const Bytes plain = makeTree(FLAT, N);
  const auto open = [](const Bytes& bytes) {
    Object* object = nullptr;
    velmor_core_riff_open_buffer_ro(bytes.data(), bytes.size(), &object);
    velmor_core_riff_close(object);
  };
  compare(
      state, N, [&] { open(free); }, [&] { open(plain); });
}

// Goes to all chunks and reads each id and data size.
uint64_t walkChunks(Object* object) {
  uint64_t sum = 0;
  Chunk* c = velmor_core_riff_object_get_root_chunk(object);
  while (c) {
    sum += velmor_core_riff_chunk_get_id(c) ^ velmor_core_riff_chunk_get_data_size(c);
    Chunk* child = velmor_core_riff_chunk_get_child(c, 0);
    c = child ? child : velmor_core_riff_chunk_get_next(c);
  }
  return sum;
}

// The peer is the bare loop over the bytes.
void walkTree(benchmark::State& state, Shape shape) {
  Bytes bytes = makeTree(shape, state.range(0));
  Object* object = bench::openBuffer(bytes, bytes.size());
  compare(
      state, static_cast<double>(state.range(0)),
      [&] { benchmark::DoNotOptimize(walkChunks(object)); },
      [&] { benchmark::DoNotOptimize(walkBytes(bytes)); });
  velmor_core_riff_close(object);
}

uint64_t openWalkClose(const Bytes& bytes) {
  Object* object = nullptr;
  velmor_core_riff_open_buffer_ro(bytes.data(), bytes.size(), &object);
  const uint64_t sum = walkChunks(object);
  velmor_core_riff_close(object);
  return sum;
}

void openWalkCloseBare(benchmark::State& state) {
  const Bytes bytes = makeTree(FLAT, state.range(0));
  compare(
      state, static_cast<double>(state.range(0)),
      [&] { benchmark::DoNotOptimize(openWalkClose(bytes)); },
      [&] { benchmark::DoNotOptimize(walkBytes(bytes)); });
}

#ifdef HAVE_TAGLIB
void openWalkCloseTagLib(benchmark::State& state) {
  const Bytes bytes = makeTree(FLAT, state.range(0));
  const TagLib::ByteVector copy = toByteVector(bytes);
  compare(
      state, static_cast<double>(state.range(0)),
      [&] { benchmark::DoNotOptimize(openWalkClose(bytes)); },
      [&] {
        TagLib::ByteVectorStream stream(copy);
        TagLibRiff file(stream);
        uint64_t sum = 0;
        for (unsigned i = 0; i < file.chunkCount(); ++i) {
          sum += file.chunkName(i).toUInt(false) ^ file.chunkDataSize(i);
        }
        benchmark::DoNotOptimize(sum);
      });
}
#endif

#define SIZES Arg(10'000)->Arg(100'000)->UseManualTime()
BENCHMARK_CAPTURE(openBuffer, flat, FLAT)->SIZES;
BENCHMARK_CAPTURE(openBuffer, nested, NESTED)->SIZES;
BENCHMARK_CAPTURE(openFile, flat, FLAT)->SIZES;
BENCHMARK_CAPTURE(openFile, nested, NESTED)->SIZES;
BENCHMARK_CAPTURE(walkTree, flat, FLAT)->SIZES;
BENCHMARK_CAPTURE(walkTree, nested, NESTED)->SIZES;
BENCHMARK(openWalkCloseBare)->SIZES;
#ifdef HAVE_TAGLIB
BENCHMARK(openWalkCloseTagLib)->SIZES;
#endif
BENCHMARK_CAPTURE(openFreeChunks, equal, FREE)->UseManualTime();
BENCHMARK_CAPTURE(openFreeChunks, empty, FREE_EMPTY)->UseManualTime();
BENCHMARK_CAPTURE(openFreeChunks, random, FREE_RANDOM)->UseManualTime();

}  // namespace
