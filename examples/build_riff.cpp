// Builds a WAV file from nothing: build_riff FILE
//
// The chunks are gathered in a cache, in memory, and go to the file in one piece.

#include <velmor_core/velmor_core.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

namespace {

struct Close {
  void operator()(velmor_core_riff_object_t* object) const { velmor_core_riff_close(object); }
};
using Object = std::unique_ptr<velmor_core_riff_object_t, Close>;

constexpr uint32_t id(const char (&text)[5]) {
  uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = value << 8 | static_cast<uint8_t>(text[i]);
  return value;
}

constexpr uint32_t SAMPLE_RATE = 8000;

// The fields of the "fmt " chunk, little-endian as the format has it and x86-64 stores it.
struct Format {
  uint16_t coding = 1;  // PCM
  uint16_t channels = 1;
  uint32_t sampleRate = SAMPLE_RATE;
  uint32_t bytesPerSecond = SAMPLE_RATE * 2;
  uint16_t bytesPerFrame = 2;
  uint16_t bitsPerSample = 16;
};

// A second of 440 Hz.
std::vector<int16_t> makeTone() {
  std::vector<int16_t> samples(SAMPLE_RATE);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double turns = 440.0 * static_cast<double>(i) / SAMPLE_RATE;
    samples[i] = static_cast<int16_t>(std::lround(8000 * std::sin(turns * 2 * 3.14159265358979)));
  }
  return samples;
}

Object gatherChunks() {
  velmor_core_riff_object_t* opened = nullptr;
  if (velmor_core_riff_open_cache(4096, &opened) != VELMOR_CORE_SUCCESS) return nullptr;
  Object cache(opened);
  auto* root = velmor_core_riff_object_get_virtual_root_chunk(cache.get());
  const Format format;
  const std::vector<int16_t> tone = makeTone();
  const auto size = static_cast<uint32_t>(tone.size() * sizeof tone[0]);
  const bool added =
      velmor_core_riff_chunk_add_data_chunk(root, id("fmt "), &format, sizeof format) != nullptr &&
      velmor_core_riff_chunk_add_data_chunk(root, id("data"), tone.data(), size) != nullptr;
  return added ? std::move(cache) : nullptr;
}

bool build(const char* path) {
  const Object chunks = gatherChunks();
  velmor_core_riff_object_t* opened = nullptr;
  if (!chunks ||
      velmor_core_riff_open_file(path, VELMOR_CORE_RIFF_CREATE, &opened) != VELMOR_CORE_SUCCESS) {
    return false;
  }
  const Object file(opened);
  auto* root = velmor_core_riff_object_get_virtual_root_chunk(file.get());
  auto* wave = velmor_core_riff_chunk_add_group_chunk(root, id("RIFF"), id("WAVE"));
  return velmor_core_riff_chunk_add_cache(wave, chunks.get()) != nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: build_riff FILE\n", stderr);
    return 2;
  }
  if (build(argv[1])) return 0;
  std::fprintf(stderr, "%s: cannot be built\n", argv[1]);
  return 1;
}
