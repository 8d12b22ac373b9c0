// The format of sound, in the "fmt " chunk of WAVE and the "strf" chunk of an AVI's sound
// (WAVEFORMATEX).
#ifndef VELMOR_CORE_TOOLS_KNOWN_WAVE_FORMAT_H
#define VELMOR_CORE_TOOLS_KNOWN_WAVE_FORMAT_H

#include <string>

#include "known/fields.h"

namespace tool {

constexpr uint16_t TAG_PCM = 1;
constexpr uint16_t TAG_FLOAT = 3;
constexpr uint16_t TAG_A_LAW = 6;
constexpr uint16_t TAG_MU_LAW = 7;
constexpr uint16_t TAG_EXTENSIBLE = 0xFFFE;

constexpr uint32_t SMALLEST_FMT = 14;  // a WAVEFORMAT without the sample size
constexpr uint32_t PCM_FMT = 16;

// Fields that the data lacks are 0.
struct WaveFormat {
  explicit WaveFormat(const ChunkData& data);

  // Whether each sample has bytes of its own. Compressed sound has none, and its last block may be
  // shorter than the others.
  bool hasPlainSamples() const {
    return tag == TAG_PCM || tag == TAG_FLOAT || tag == TAG_A_LAW || tag == TAG_MU_LAW;
  }

  uint16_t tag;  // of an extensible format, the tag that begins its GUID
  uint16_t channels;
  uint32_t rate;        // in Hz
  uint16_t blockAlign;  // in bytes
  uint16_t bits;        // of a sample
};

std::string formatWords(const ChunkData& data);
void formatFields(FieldList& list);

}  // namespace tool

#endif
