// WAVE: "fmt " comes before "data", samples that are not PCM need a "fact", and the data consists
// of whole sample blocks.
#include "app/text.h"
#include "known/wave_format.h"
#include "verdict/form.h"

namespace tool {

namespace {

class WaveForm : public Form {
 public:
  using Form::Form;

  void take(const RawChunk& chunk, uint64_t level, uint32_t /*parent*/) override {
    if (level != 1) return;
    if (chunk.id == ID_FMT && !hasFormat) {
      readFormat(chunk);
    } else if (chunk.id == ID_DATA) {
      takeData(chunk);
    } else if (chunk.id == ID_FACT) {
      hasFact = true;
    } else if (chunk.isGroup() && chunk.groupId == ID_WAVL) {
      hasSamples = true;
    }
  }

  void finish() override {
    if (!hasFormat) {
      fail(riff.offset, "RIFF:WAVE has no fmt chunk");
    } else if (dataBeforeFormat > 0) {
      fail(dataBeforeFormat, "RIFF:WAVE/data comes before the fmt chunk");
    }
    if (!hasSamples) fail(riff.offset, "RIFF:WAVE has no data chunk");
    if (hasFormat && !hasFact && wantsFact()) {
      warn(riff.offset, "RIFF:WAVE has no fact chunk, which samples that are not PCM should have");
    }
  }

 private:
  void readFormat(const RawChunk& chunk) {
    hasFormat = true;
    if (chunk.dataSize < SMALLEST_FMT) {
      fail(chunk.offset,
           "RIFF:WAVE/fmt holds " + counted(chunk.dataSize, "byte") + ", too few for a format");
      return;
    }
    if (!isComplete(chunk)) return;
    const WaveFormat format(ChunkData(bytes, chunk));
    tag = format.tag;
    hasPlainSamples = format.hasPlainSamples();
    blockAlign = format.blockAlign;
    if (format.channels == 0) fail(chunk.offset, "RIFF:WAVE/fmt has 0 channels");
    if (format.rate == 0) fail(chunk.offset, "RIFF:WAVE/fmt has the rate 0");
    if (!hasPlainSamples) return;
    if (blockAlign == 0) {
      fail(chunk.offset, "RIFF:WAVE/fmt has the block alignment 0");
    } else if (chunk.dataSize >= PCM_FMT &&
               blockAlign != format.channels * ((format.bits + 7U) / 8)) {
      warn(chunk.offset,
           "the block alignment " + std::to_string(blockAlign) + " of RIFF:WAVE/fmt does not fit " +
               counted(format.channels, "channel") + " of " + counted(format.bits, "bit"));
    }
  }

  void takeData(const RawChunk& chunk) {
    if (!hasFormat && !hasSamples) dataBeforeFormat = chunk.offset;
    hasSamples = true;
    if (!isComplete(chunk) || !hasPlainSamples || blockAlign == 0) return;
    if (const uint32_t rest = chunk.dataSize % blockAlign; rest > 0) {
      warn(chunk.offset, "RIFF:WAVE/data ends " + counted(rest, "byte") +
                             " into a sample block of " + std::to_string(blockAlign));
    }
  }

  bool wantsFact() const { return tag != 0 && tag != TAG_PCM; }

  bool hasFormat = false;
  bool hasSamples = false;
  bool hasFact = false;
  uint64_t dataBeforeFormat = 0;  // the offset of a data chunk before the fmt chunk, or 0
  uint16_t tag = 0;
  bool hasPlainSamples = false;
  uint32_t blockAlign = 0;
};

}  // namespace

std::unique_ptr<Form> makeWaveForm(RawBytes& bytes, const Report& report, const RawChunk& riff) {
  return std::make_unique<WaveForm>(bytes, report, riff);
}

std::unique_ptr<Form> makeForm(RawBytes& bytes, const Report& report, const RawChunk& riff) {
  switch (riff.groupId) {
    case FORM_WAVE:
      return makeWaveForm(bytes, report, riff);
    case FORM_AVI:
      return makeAviForm(bytes, report, riff);
    case FORM_WEBP:
      return makeWebpForm(bytes, report, riff);
    default:
      return nullptr;
  }
}

}  // namespace tool
