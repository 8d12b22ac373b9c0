// Compares edits with the bare system calls and memory moves that they need at least.

#include <fcntl.h>
#include <unistd.h>

#include <memory>

#include "compare.h"
#include "riff_support.h"

namespace {

using namespace bench;

constexpr int CHUNKS = 2000;
constexpr uint32_t SIZE = 32;
constexpr uint64_t TAIL = uint64_t{64} << 20;

const Bytes PAYLOAD(65536, 7);

// A bare file, for the system calls that an edit makes.
class BareFile {
 public:
  explicit BareFile(const char* path) : fd(open(path, O_RDWR | O_CLOEXEC)) {}
  BareFile(const BareFile&) = delete;
  BareFile& operator=(const BareFile&) = delete;
  ~BareFile() { close(fd); }

  void resize(uint64_t size) const { check(ftruncate(fd, static_cast<off_t>(size)) == 0); }
  void readAt(uint64_t offset, size_t length) {
    seek(offset);
    check(read(fd, block.data(), length) == static_cast<ssize_t>(length));
  }
  void writeAt(uint64_t offset, size_t length) const {
    seek(offset);
    check(write(fd, block.data(), length) == static_cast<ssize_t>(length));
  }
  // Moves `length` bytes at `from` up by delta bytes, 64 KiB at a time, the last ones first.
  void moveUp(uint64_t from, uint64_t length, uint64_t delta) {
    for (uint64_t remaining = length; remaining > 0;) {
      const uint64_t piece = std::min<uint64_t>(remaining, block.size());
      remaining -= piece;
      readAt(from + remaining, piece);
      writeAt(from + remaining + delta, piece);
    }
  }
  void moveDown(uint64_t from, uint64_t length, uint64_t delta) {
    for (uint64_t done = 0; done < length; done += block.size()) {
      const uint64_t piece = std::min<uint64_t>(length - done, block.size());
      readAt(from + done, piece);
      writeAt(from + done - delta, piece);
    }
  }

 private:
  static void check(bool done) {
    if (!done) std::abort();
  }
  void seek(uint64_t offset) const { check(lseek(fd, static_cast<off_t>(offset), SEEK_SET) >= 0); }

  int fd;
  Bytes block = Bytes(65536);
};

// 11 calls: one growth, then a seek and a transfer each for group size, header, id, size and data.
void bareAppend(BareFile& file, uint64_t at) {
  file.resize(at + 8 + SIZE);
  file.writeAt(4, 4);
  file.writeAt(at, 8);
  file.readAt(at, 4);
  file.readAt(at + 4, 4);
  file.writeAt(at + 8, SIZE);
}

void appendToFile(benchmark::State& state) {
  const Bytes empty = group(RIFF, {});
  const ScratchFile ours(empty);
  const ScratchFile theirs(empty);
  compare(
      state, CHUNKS,
      [&] {
        ours.reset(empty);
        Object* object = openFile(ours.path());
        Chunk* riff = velmor_core_riff_object_get_root_chunk(object);
        for (int i = 0; i < CHUNKS; ++i) {
          velmor_core_riff_chunk_add_data_chunk(riff, DATA, PAYLOAD.data(), SIZE);
        }
        velmor_core_riff_close(object);
      },
      [&] {
        theirs.reset(empty);
        BareFile file(theirs.path());
        for (uint64_t i = 0; i < CHUNKS; ++i) bareAppend(file, 12 + i * (8 + SIZE));
      });
}

// Adds a cache with the same number of chunks: one growth, two writes, and three reads a chunk.
void spliceIntoFile(benchmark::State& state) {
  const Bytes empty = group(RIFF, {});
  const ScratchFile ours(empty);
  const ScratchFile theirs(empty);
  Object* cache = nullptr;
  velmor_core_riff_open_cache(1 << 20, &cache);
  for (int i = 0; i < CHUNKS; ++i) {
    velmor_core_riff_chunk_add_data_chunk(rootOf(cache), DATA, PAYLOAD.data(), SIZE);
  }
  compare(
      state, CHUNKS,
      [&] {
        ours.reset(empty);
        Object* object = openFile(ours.path());
        velmor_core_riff_chunk_add_cache(velmor_core_riff_object_get_root_chunk(object), cache);
        velmor_core_riff_close(object);
      },
      [&] {
        theirs.reset(empty);
        BareFile file(theirs.path());
        constexpr uint64_t TOTAL = uint64_t{CHUNKS} * (8 + SIZE);
        file.resize(12 + TOTAL);
        file.writeAt(4, 4);
        for (uint64_t i = 0; i < TOTAL; i += 65536) {
          file.writeAt(12 + i, std::min<uint64_t>(65536, TOTAL - i));
        }
        for (uint64_t i = 0; i < CHUNKS; ++i) {
          const uint64_t at = 12 + i * (8 + SIZE);
          file.readAt(at, 4);
          file.readAt(at, 4);
          file.readAt(at + 4, 4);
        }
      });
  velmor_core_riff_close(cache);
}

// A small group before 64 MiB of data. A chunk is added to the group, resized and removed, so the
// 64 MiB move three times.
Bytes makeTailed() {
  Bytes bytes = group(RIFF, {});
  putChunk(bytes, DATA, TAIL);
  return bytes;
}

void editInFront(Object* object) {
  Chunk* riff = velmor_core_riff_object_get_root_chunk(object);
  Chunk* chunk = velmor_core_riff_chunk_add_data_chunk(riff, DATA, PAYLOAD.data(), SIZE);
  velmor_core_riff_chunk_set_data_size(chunk, 2 * SIZE);
  velmor_core_riff_chunk_remove(chunk);
}

void editInFrontMemory(benchmark::State& state) {
  Bytes buffer = makeTailed();
  const uint64_t size = buffer.size();
  buffer.resize(size + 4096);
  Object* object = openBuffer(buffer, size);
  uint8_t* tail = buffer.data() + 12;
  compare(
      state, 3, [&] { editInFront(object); },
      [&] {
        std::memmove(tail + 8 + SIZE, tail, TAIL + 8);
        std::memmove(tail + 8 + 2 * SIZE, tail + 8 + SIZE, TAIL + 8);
        std::memmove(tail, tail + 8 + 2 * SIZE, TAIL + 8);
      });
  velmor_core_riff_close(object);
}

void editInFrontFile(benchmark::State& state) {
  const ScratchFile file(makeTailed());
  Object* object = openFile(file.path());
  BareFile bare(file.path());
  compare(
      state, 3, [&] { editInFront(object); },
      [&] {
        bare.moveUp(12, TAIL + 8, 8 + SIZE);
        bare.moveUp(12 + 8 + SIZE, TAIL + 8, SIZE);
        bare.moveDown(12 + 8 + 2 * SIZE, TAIL + 8, 8 + 2 * SIZE);
      });
  velmor_core_riff_close(object);
}

// 1,000 chunks, every fifth of them free. Each step recycles a chunk and adds one of another size.
Bytes makeHoled() {
  Bytes content;
  for (uint32_t i = 0; i < 1000; ++i) {
    putChunk(content, i % 5 == 0 ? JUNK : DATA, 40 + i * 7919 % 100 * 2);
  }
  return group(RIFF, content);
}

class Replacer {
 public:
  explicit Replacer(Object* object) : riff(velmor_core_riff_object_get_root_chunk(object)) {}
  void operator()() {
    // Takes a random chunk that is in use.
    random = random * 1664525 + 1013904223;
    Chunk* chunk = velmor_core_riff_chunk_get_child(
        riff, (random >> 8) % velmor_core_riff_chunk_get_child_count(riff));
    if (velmor_core_riff_chunk_get_id(chunk) == JUNK) {
      chunk = velmor_core_riff_chunk_get_next(chunk);
    }
    if (!chunk || velmor_core_riff_chunk_get_id(chunk) == JUNK) return;
    const uint32_t size = velmor_core_riff_chunk_get_data_size(chunk);
    velmor_core_riff_chunk_recycle(&chunk);
    velmor_core_riff_chunk_add_data_chunk(riff, DATA, PAYLOAD.data(), size > 60 ? size - 20 : 60);
  }

 private:
  Chunk* riff;
  uint32_t random = 1;
};

void replaceInMemory(benchmark::State& state) {
  Bytes buffer = makeHoled();
  const uint64_t size = buffer.size();
  buffer.resize(size + (1 << 20));
  Bytes copy = buffer;
  std::vector<double> times;
  for ([[maybe_unused]] auto iteration : state) {
    std::memcpy(buffer.data(), copy.data(), size);
    Object* object = openBuffer(buffer, size);
    Replacer replace(object);
    times.push_back(nanoseconds([&] {
      for (int i = 0; i < 200; ++i) replace();
    }));
    state.SetIterationTime(times.back() / 1e9);
    velmor_core_riff_close(object);
  }
  state.counters["ns_per_replace"] = median(times) / 200;
}

void replaceInFile(benchmark::State& state) {
  const Bytes holed = makeHoled();
  const ScratchFile file(holed);
  Object* object = openFile(file.path());
  auto replace = std::make_unique<Replacer>(object);
  BareFile bare(file.path());
  compare(
      state, 200,
      [&] {
        for (int i = 0; i < 200; ++i) (*replace)();
      },
      [&] {
        for (uint64_t i = 0; i < 200; ++i) {
          bare.writeAt(12, 4);
          bare.writeAt(12, 8);
          bare.readAt(12, 4);
          bare.readAt(16, 4);
          bare.writeAt(20, 100);
          bare.writeAt(120, 8);
        }
      });
  velmor_core_riff_close(object);
}

// Adds 50,000 chunks into one free chunk, then recycles all of them, first to last. The peer is an
// array that loses its first entry 50,000 times.
void fillAndRecycle(benchmark::State& state) {
  constexpr int N = 50'000;
  Bytes content;
  putChunk(content, JUNK, N * 24);
  Bytes buffer = group(RIFF, content);
  Object* object = openBuffer(buffer, buffer.size());
  Chunk* riff = velmor_core_riff_object_get_root_chunk(object);
  std::vector<Chunk*> chunks(N);
  compare(
      state, N,
      [&] {
        for (Chunk*& chunk : chunks) {
          chunk = velmor_core_riff_chunk_add_data_chunk(riff, DATA, PAYLOAD.data(), 16);
        }
        for (Chunk*& chunk : chunks) velmor_core_riff_chunk_recycle(&chunk);
      },
      [&] {
        std::vector<Chunk*> list = chunks;
        while (!list.empty()) list.erase(list.begin());
        benchmark::DoNotOptimize(list);
      });
  velmor_core_riff_close(object);
}

BENCHMARK(appendToFile)->UseManualTime();
BENCHMARK(spliceIntoFile)->UseManualTime();
BENCHMARK(editInFrontMemory)->UseManualTime();
BENCHMARK(editInFrontFile)->UseManualTime();
BENCHMARK(replaceInMemory)->UseManualTime();
BENCHMARK(replaceInFile)->UseManualTime();
BENCHMARK(fillAndRecycle)->UseManualTime();

}  // namespace
