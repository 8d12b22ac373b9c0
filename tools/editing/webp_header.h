// Keeps the extended header (VP8X) of a WebP file right when an edit adds or removes chunks.
#ifndef VELMOR_CORE_TOOLS_EDITING_WEBP_HEADER_H
#define VELMOR_CORE_TOOLS_EDITING_WEBP_HEADER_H

#include <cstdint>
#include <string>
#include <vector>

#include "chunks/layout.h"
#include "editing/store.h"
#include "known/webp.h"

namespace tool {

// Made before the edit, from the object that the edit will change. If the edit changes what VP8X
// describes, correct() makes flags and canvas agree with the chunks, adds a VP8X that is missing,
// and moves chunks before the picture if they have to be there. Other edits leave VP8X as it is,
// even if it was wrong.
class WebpHeader {
 public:
  explicit WebpHeader(const Chunk& root);

  // Corrects the object after the edit, and adds warnings. Handles of chunks in the group may end.
  // Throws Failure if the object cannot be read or written.
  void correct(const Chunk& root, std::vector<std::string>& warnings) const;

  // By how many bytes a correction can lengthen a file.
  static constexpr uint64_t ROOM = HEADER_SIZE + VP8X_SIZE;

 private:
  struct Picture {
    uint32_t width = 0;  // in pixels
    uint32_t height = 0;
    bool hasAlpha = false;  // by the alpha bit of VP8L
    bool operator==(const Picture&) const = default;
  };
  static Picture pictureIn(const Chunk& chunk);

  // What VP8X has to describe.
  struct Contents {
    explicit Contents(const Chunk& group);
    bool operator==(const Contents&) const = default;

    // As in VP8X. FLAG_ALPHA is set if there is an ALPH directly in the group, or if a still VP8L
    // has alpha.
    uint8_t flags = 0;
    bool isExtended = false;
    bool hasFrames = false;
    Picture picture;  // all 0 if it cannot be read, or if the file is an animation

    bool isStill() const { return picture.width > 0 && picture.height > 0; }
  };

  static void addHeader(const Chunk& group, const Contents& contents,
                        std::vector<std::string>& warnings);
  static void correctHeader(const Chunk& header, const Contents& contents);

  Contents before;
};

}  // namespace tool

#endif
