// Builds a WAV file from nothing: build_riff FILE
//
// The chunks are gathered in a cache, in memory, and go to the file in one piece.

#include <array>
#include <cmath>
#include <cstdint>
#include <exception>
#include <iostream>
#include <vector>
#include <velmor_core/velmor_core.hpp>

namespace {

using namespace velmor_core::literals;
using velmor_core::Object;

constexpr uint32_t SAMPLE_RATE = 8000;

// The fields of the "fmt " chunk. The format is little-endian, and so is x86-64.
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

void build(const char* path) {
  const Object chunks = Object::openCache();
  chunks.root().addData("fmt "_id, std::array{Format()});
  chunks.root().addData("data"_id, makeTone());

  const Object file = Object::openFile(path, velmor_core::Mode::Create);
  file.root().addGroup("RIFF"_id, "WAVE"_group).addCache(chunks);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: build_riff FILE\n";
    return 2;
  }
  try {
    build(argv[1]);
    return 0;
  } catch (const std::exception& failure) {
    std::cerr << argv[1] << ": " << failure.what() << '\n';
    return 1;
  }
}
