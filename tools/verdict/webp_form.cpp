// WebP: a picture, and an extended header (VP8X) whose flags agree with the chunks.
#include <algorithm>
#include <array>
#include <string_view>

#include "known/chunk_data.h"
#include "known/webp.h"
#include "verdict/form.h"

namespace tool {

namespace {

struct Announced {
  uint8_t flag;
  uint32_t id;
};
constexpr std::array ANNOUNCED = {Announced{FLAG_ICC, ID_ICCP}, Announced{FLAG_EXIF, ID_EXIF},
                                  Announced{FLAG_XMP, ID_XMP}, Announced{FLAG_ANIMATION, ID_ANIM}};

class WebpForm : public Form {
 public:
  using Form::Form;

  void take(const RawChunk& chunk, uint64_t level, uint32_t /*parent*/) override {
    if (level != 1) return;
    if (first == 0) {
      takeFirst(chunk);
    } else if (chunk.id == ID_VP8X) {
      fail(chunk.offset, "RIFF:WEBP/VP8X is not the first chunk");
    }
    if (chunk.id == ID_VP8) takeLossy(chunk);
    if (chunk.id == ID_VP8L) takeLossless(chunk);
    if (chunk.id == ID_ANMF) takeFrame(chunk);
    hasFrame |= chunk.id == ID_ANMF;
    hasAlpha |= chunk.id == ID_ALPH;
    for (std::size_t i = 0; i < ANNOUNCED.size(); ++i) seen[i] |= chunk.id == ANNOUNCED[i].id;
  }

  void finish() override {
    const bool isAnimation = isExtended && (flags & FLAG_ANIMATION) != 0;
    if (isAnimation ? !hasFrame : !hasPicture) {
      fail(riff.offset, isAnimation ? "RIFF:WEBP is an animation without a frame (ANMF)"
                                    : "RIFF:WEBP has no picture (VP8 or VP8L)");
    }
    if (!isExtended) return;
    for (std::size_t i = 0; i < ANNOUNCED.size(); ++i) {
      compareFlag((flags & ANNOUNCED[i].flag) != 0, seen[i], idText(ANNOUNCED[i].id));
    }
    if (!isAnimation) compareFlag((flags & FLAG_ALPHA) != 0, hasAlpha, "transparency");
  }

 private:
  void takeFirst(const RawChunk& chunk) {
    first = chunk.id;
    if (chunk.id == ID_VP8X) {
      isExtended = chunk.dataSize >= VP8X_SIZE && isComplete(chunk);
      if (isExtended) flags = bytes.byteAt(chunk.dataOffset());
      if (chunk.dataSize < VP8X_SIZE) fail(chunk.offset, "RIFF:WEBP/VP8X is too small");
    } else if (chunk.id != ID_VP8 && chunk.id != ID_VP8L) {
      fail(chunk.offset,
           "RIFF:WEBP begins with " + idText(chunk.id) + ", not with VP8, VP8L or VP8X");
    }
  }

  void takeLossy(const RawChunk& chunk) {
    hasPicture = true;
    const ChunkData data(bytes, chunk);
    if (data.number(LOSSY_START, 3) != START_CODE) {
      fail(chunk.offset, "RIFF:WEBP/VP8 does not begin like a picture");
    } else if (LOSSY_HEADER + (data.number(0, 3) >> PARTITION_SHIFT) > data.size()) {
      fail(chunk.offset, "RIFF:WEBP/VP8 ends before the end of the first part of the picture");
    }
  }

  void takeLossless(const RawChunk& chunk) {
    hasPicture = true;
    const ChunkData data(bytes, chunk);
    if (!isComplete(chunk)) {
      fail(chunk.offset, "RIFF:WEBP/VP8L is cut short, and nothing of it can be decoded");
    } else if (chunk.dataSize < LOSSLESS_HEADER || data.byte(0) != LOSSLESS_SIGNATURE) {
      fail(chunk.offset, "RIFF:WEBP/VP8L does not begin like a picture");
    } else {
      hasAlpha |= (data.number32(LOSSLESS_BITS) & LOSSLESS_ALPHA) != 0;
    }
  }

  // The data of ANMF begins with the place and the duration of the frame. The chunks of the frame
  // follow. If the file ends before the first of these chunks, there is nothing to check.
  void takeFrame(const RawChunk& chunk) const {
    constexpr uint64_t FRAME_HEADER = 16;
    const uint64_t begin = chunk.dataOffset() + FRAME_HEADER;
    if (begin + HEADER_SIZE > bytes.size()) return;
    const uint32_t id = bytes.chunkAt(begin).id;
    if (id != ID_ALPH && id != ID_VP8 && id != ID_VP8L) {
      fail(chunk.offset, "RIFF:WEBP/ANMF does not begin like a frame");
    }
  }

  void compareFlag(bool announced, bool isThere, std::string_view what) const {
    if (announced == isThere) return;
    warn(riff.offset + GROUP_HEADER_SIZE,
         "RIFF:WEBP/VP8X " +
             std::string(announced ? "announces " : "does not announce ").append(what) +
             (announced ? ", but the file has none" : ", but the file has it"));
  }

  uint32_t first = 0;
  bool isExtended = false;
  uint8_t flags = 0;
  bool hasPicture = false;
  bool hasFrame = false;
  bool hasAlpha = false;
  std::array<bool, ANNOUNCED.size()> seen{};
};

}  // namespace

std::unique_ptr<Form> makeWebpForm(RawBytes& bytes, const Report& report, const RawChunk& riff) {
  return std::make_unique<WebpForm>(bytes, report, riff);
}

}  // namespace tool
