// WAVE: "fmt " comes before "data", samples that are not PCM need a "fact", and the data consists
// of whole sample blocks. A "bext" has all its fixed fields.
#include "app/text.h"
#include "known/bext.h"
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
    } else if (chunk.id == ID_BEXT) {
      takeBext(chunk);
    } else if (chunk.isGroup() && chunk.groupId == ID_WAVL) {
      hasSamples = true;
    }
  }

  void finish() override {
    if (!hasFormat) {
      fail(riff.offset, name + " has no fmt chunk");
    } else if (dataBeforeFormat > 0) {
      fail(dataBeforeFormat, name + "/data comes before the fmt chunk");
    }
    if (!hasSamples) fail(riff.offset, name + " has no data chunk");
    if (hasFormat && !hasFact && wantsFact()) {
      warn(riff.offset,
           name + " has no fact chunk, but should have one because its samples are not PCM");
    }
  }

 private:
  void readFormat(const RawChunk& chunk) {
    hasFormat = true;
    if (chunk.dataSize < SMALLEST_FMT) {
      fail(chunk.offset,
           name + "/fmt holds " + counted(chunk.dataSize, "byte") + ", too few for a format");
      return;
    }
    if (!isComplete(chunk)) return;
    const WaveFormat format(ChunkData(bytes, chunk));
    tag = format.tag;
    hasPlainSamples = format.hasPlainSamples();
    blockAlign = format.blockAlign;
    if (format.channels == 0) fail(chunk.offset, name + "/fmt has 0 channels");
    if (format.rate == 0) fail(chunk.offset, name + "/fmt has the rate 0");
    if (!hasPlainSamples) return;
    if (blockAlign == 0) {
      fail(chunk.offset, name + "/fmt has the block alignment 0");
    } else if (chunk.dataSize >= PCM_FMT &&
               blockAlign != format.channels * ((format.bits + 7U) / 8)) {
      warn(chunk.offset, "the block alignment " + std::to_string(blockAlign) + " of " + name +
                             "/fmt does not fit " + counted(format.channels, "channel") + " of " +
                             counted(format.bits, "bit"));
    }
  }

  void takeData(const RawChunk& chunk) {
    if (!hasFormat && !hasSamples) dataBeforeFormat = chunk.offset;
    hasSamples = true;
    if (!isComplete(chunk) || !hasPlainSamples || blockAlign == 0) return;
    if (const uint64_t rest = chunk.dataSize % blockAlign; rest > 0) {
      warn(chunk.offset, name + "/data ends " + counted(rest, "byte") + " into a sample block of " +
                             std::to_string(blockAlign));
    }
  }

  void takeBext(const RawChunk& chunk) {
    // FFmpeg does not open a file whose bext ends before the time reference.
    constexpr uint64_t SMALLEST_READ = 338;
    if (chunk.dataSize >= BEXT_FIXED_SIZE) return;
    const std::string text = name + "/bext holds " + counted(chunk.dataSize, "byte") +
                             ", fewer than the " + std::to_string(BEXT_FIXED_SIZE) +
                             " of its fixed fields";
    if (chunk.dataSize < SMALLEST_READ) {
      fail(chunk.offset, text);
    } else {
      warn(chunk.offset, text);
    }
  }

  bool wantsFact() const { return tag != 0 && tag != TAG_PCM; }

  const std::string name = riff.name();
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
  if (riff.groupId == FORM_WAVE) return makeWaveForm(bytes, report, riff);
  // The other forms read little-endian numbers. They are not known to occur in RIFX or RF64 files.
  if (riff.id != ID_RIFF) return nullptr;
  switch (riff.groupId) {
    case FORM_AVI:
      return makeAviForm(bytes, report, riff);
    case FORM_WEBP:
      return makeWebpForm(bytes, report, riff);
    default:
      return nullptr;
  }
}

}  // namespace tool
