// Compares edits with the bare system calls and memory moves that they need at least.

#include <fcntl.h>
#include <unistd.h>

#include <memory>

#include "compare.h"
#include "riff_support.h"
#ifdef HAVE_TAGLIB
#include "taglib_riff.h"
#endif

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

// 1,001 chunks, the first of which becomes 100 bytes longer and shorter again.
constexpr uint32_t LONGER = SIZE + 100;

Bytes makeMany() {
  Bytes content;
  for (int i = 0; i < 1001; ++i) putChunk(content, DATA, SIZE);
  return group(RIFF, content);
}

template <typename Peer>
void resizeFirst(benchmark::State& state, Peer peer) {
  Bytes buffer = makeMany();
  const uint64_t size = buffer.size();
  buffer.resize(size + LONGER);
  Object* object = openBuffer(buffer, size);
  Chunk* first =
      velmor_core_riff_chunk_get_child(velmor_core_riff_object_get_root_chunk(object), 0);
  compare(
      state, 200,
      [&] {
        for (int i = 0; i < 100; ++i) {
          velmor_core_riff_chunk_set_data_size(first, LONGER);
          velmor_core_riff_chunk_set_data_size(first, SIZE);
        }
      },
      peer);
  velmor_core_riff_close(object);
}

void resizeFirstBare(benchmark::State& state) {
  Bytes bytes = makeMany();
  const uint64_t tail = bytes.size() - 12 - 8 - SIZE;
  bytes.resize(bytes.size() + LONGER);
  uint8_t* end = bytes.data() + 12 + 8 + SIZE;
  resizeFirst(state, [&] {
    for (int i = 0; i < 100; ++i) {
      std::memmove(end + 100, end, tail);
      std::memmove(end, end + 100, tail);
    }
  });
}

#ifdef HAVE_TAGLIB
void resizeFirstTagLib(benchmark::State& state) {
  TagLib::ByteVectorStream stream(toByteVector(makeMany()));
  TagLibRiff file(stream);
  const TagLib::ByteVector longer(LONGER, 7);
  const TagLib::ByteVector shorter(SIZE, 7);
  resizeFirst(state, [&] {
    for (int i = 0; i < 100; ++i) {
      file.setChunkData(0, longer);
      file.setChunkData(0, shorter);
    }
  });
}
#endif

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
    Chunk* chunk = velmor_core_riff_chunk_get_child(
        riff, random() % velmor_core_riff_chunk_get_child_count(riff));
    if (velmor_core_riff_chunk_get_id(chunk) == JUNK) {
      chunk = velmor_core_riff_chunk_get_next(chunk);
    }
    if (!chunk || velmor_core_riff_chunk_get_id(chunk) == JUNK) return;
    velmor_core_riff_chunk_recycle(&chunk);
    velmor_core_riff_chunk_add_data_chunk(riff, DATA, PAYLOAD.data(), 40 + random() % 100 * 2);
  }

 private:
  uint32_t random() { return (state = state * 1664525 + 1013904223) >> 8; }

  Chunk* riff;
  uint32_t state = 1;
};

// Edits of a fresh tree. The processor learns to predict all branches of a sequence of 200 edits,
// but not those of 5,000.
template <typename Peer>
void replaceInMemory(benchmark::State& state, Peer peer) {
  const Bytes holed = makeHoled();
  Bytes buffer;
  Object* object = nullptr;
  compare(
      state, static_cast<double>(state.range(0)),
      [&] {
        Replacer replace(object);
        for (int64_t i = 0; i < state.range(0); ++i) replace();
      },
      peer,
      [&] {
        velmor_core_riff_close(object);
        buffer = holed;
        buffer.resize(holed.size() + (1 << 20));
        object = openBuffer(buffer, holed.size());
      });
  velmor_core_riff_close(object);
}

// The peer writes what an edit writes at least: id, header, data of the mean size, and header.
void replaceInMemoryBare(benchmark::State& state) {
  Bytes buffer = makeHoled();
  replaceInMemory(state, [&] {
    uint8_t* bytes = buffer.data();
    for (int64_t i = 0; i < state.range(0); ++i) {
      std::memcpy(bytes + 12, &JUNK, 4);
      std::memcpy(bytes + 12, PAYLOAD.data(), 8);
      std::memcpy(bytes + 20, PAYLOAD.data(), 140);
      std::memcpy(bytes + 160, PAYLOAD.data(), 8);
      benchmark::DoNotOptimize(bytes);
    }
  });
}

#ifdef HAVE_TAGLIB
// The peer gives a random chunk other data.
void replaceInMemoryTagLib(benchmark::State& state) {
  TagLib::ByteVectorStream stream(toByteVector(makeHoled()));
  TagLibRiff file(stream);
  uint32_t random = 1;
  replaceInMemory(state, [&] {
    for (int64_t i = 0; i < state.range(0); ++i) {
      random = random * 1664525 + 1013904223;
      const TagLib::ByteVector data(40 + (random >> 8) % 100 * 2, 7);
      file.setChunkData((random >> 16) % file.chunkCount(), data);
    }
  });
}
#endif

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
          bare.writeAt(20, 140);
          bare.writeAt(160, 8);
        }
      });
  velmor_core_riff_close(object);
}

// How the time of an edit grows with the number of free chunks. The tree has n chunks that the
// edits use: free chunks to fill, or data chunks to recycle. After each of them lies a small data
// chunk. The peer makes as many of these edits in smaller trees, with 2,500 such chunks each.
enum Sizes { EQUAL, RANDOM };
enum Edits { FILL_EXACTLY, RECYCLE };
constexpr uint32_t FEW = 2'500;

class Growing {
 public:
  Growing(uint32_t n, Sizes kind, Edits edits) : edits(edits) {
    uint32_t random = 1;
    Bytes content;
    for (uint32_t i = 0; i < n; ++i) {
      random = random * 1664525 + 1013904223;
      sizes.push_back(kind == EQUAL ? 24 : 2 + (random >> 8) % 1000 * 2);
      putChunk(content, edits == RECYCLE ? DATA : JUNK, sizes.back());
      putChunk(content, DATA, 8);
    }
    bytes = group(RIFF, content);
  }
  Growing(const Growing&) = delete;
  Growing& operator=(const Growing&) = delete;
  ~Growing() { velmor_core_riff_close(object); }
  // Opens the tree as it was at first.
  void reset() {
    velmor_core_riff_close(object);
    buffer = bytes;
    object = openBuffer(buffer, buffer.size());
    Chunk* riff = velmor_core_riff_object_get_root_chunk(object);
    chunks.clear();
    for (uint32_t i = 0; i < sizes.size(); ++i) {
      chunks.push_back(velmor_core_riff_chunk_get_child(riff, 2 * i));
    }
  }
  void run() {
    Chunk* riff = velmor_core_riff_object_get_root_chunk(object);
    for (uint32_t i = 0; i < sizes.size(); ++i) {
      if (edits == RECYCLE) {
        velmor_core_riff_chunk_recycle(&chunks[i]);
      } else {
        velmor_core_riff_chunk_add_data_chunk(riff, DATA, nullptr, sizes[i]);
      }
    }
  }

 private:
  Edits edits;
  std::vector<uint32_t> sizes;
  Bytes bytes;
  Bytes buffer;
  Object* object = nullptr;
  std::vector<Chunk*> chunks;
};

void growth(benchmark::State& state, Sizes kind, Edits edits) {
  const auto n = static_cast<uint32_t>(state.range(0));
  Growing many(n, kind, edits);
  std::vector<std::unique_ptr<Growing>> few;
  for (uint32_t i = 0; i < n / FEW; ++i) {
    few.push_back(std::make_unique<Growing>(FEW, kind, edits));
  }
  compare(
      state, n, [&] { many.run(); },
      [&] {
        for (auto& tree : few) tree->run();
      },
      [&] {
        many.reset();
        for (auto& tree : few) tree->reset();
      });
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
BENCHMARK(resizeFirstBare)->UseManualTime();
BENCHMARK(replaceInMemoryBare)->Arg(200)->Arg(5'000)->UseManualTime();
#ifdef HAVE_TAGLIB
BENCHMARK(resizeFirstTagLib)->UseManualTime();
BENCHMARK(replaceInMemoryTagLib)->Arg(200)->Arg(5'000)->UseManualTime();
#endif
BENCHMARK(replaceInFile)->UseManualTime();
BENCHMARK(fillAndRecycle)->UseManualTime();
BENCHMARK_CAPTURE(growth, fillExactlyEqual, EQUAL, FILL_EXACTLY)->Arg(160'000)->UseManualTime();
BENCHMARK_CAPTURE(growth, fillExactlyRandom, RANDOM, FILL_EXACTLY)->Arg(160'000)->UseManualTime();
BENCHMARK_CAPTURE(growth, recycleEqual, EQUAL, RECYCLE)->Arg(160'000)->UseManualTime();
BENCHMARK_CAPTURE(growth, recycleRandom, RANDOM, RECYCLE)->Arg(160'000)->UseManualTime();

}  // namespace
