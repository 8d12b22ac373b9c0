// The common names of the texts in LIST:INFO.
#ifndef VELMOR_CORE_TOOLS_KNOWN_INFO_NAMES_H
#define VELMOR_CORE_TOOLS_KNOWN_INFO_NAMES_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "chunks/chunk_id.h"

namespace tool {

struct InfoName {
  std::string_view name;
  uint32_t id;
};

constexpr uint32_t infoId(const char (&text)[5]) {
  return VELMOR_CORE_RIFF_ID(text[0], text[1], text[2], text[3]);
}

// Names that mean the same in most programs. Where a name has several ids, programs disagree: all
// are read, and the first is the one that new texts get.
inline constexpr std::array INFO_NAMES = {
    InfoName{"title", infoId("INAM")},     InfoName{"artist", infoId("IART")},
    InfoName{"album", infoId("IPRD")},     InfoName{"comment", infoId("ICMT")},
    InfoName{"date", infoId("ICRD")},      InfoName{"genre", infoId("IGNR")},
    InfoName{"track", infoId("ITRK")},     InfoName{"track", infoId("IPRT")},
    InfoName{"copyright", infoId("ICOP")}, InfoName{"software", infoId("ISFT")},
    InfoName{"engineer", infoId("IENG")},  InfoName{"technician", infoId("ITCH")},
    InfoName{"subject", infoId("ISBJ")},   InfoName{"keywords", infoId("IKEY")},
    InfoName{"source", infoId("ISRC")},    InfoName{"source-form", infoId("ISRF")},
    InfoName{"medium", infoId("IMED")},    InfoName{"language", infoId("ILNG")},
    InfoName{"location", infoId("IARL")},  InfoName{"commissioned", infoId("ICMS")},
    InfoName{"country", infoId("ICNT")},   InfoName{"rating", infoId("IRTD")},
    InfoName{"starring", infoId("ISTR")},  InfoName{"editor", infoId("IEDT")},
    InfoName{"producer", infoId("IPRO")},  InfoName{"writer", infoId("IWRI")},
    InfoName{"music", infoId("IMUS")},     InfoName{"camera", infoId("ICNM")},
    InfoName{"timecode", infoId("ISMP")},
};

// The common name of an id; empty if it has none.
constexpr std::string_view infoNameOf(uint32_t id) {
  const auto* const found = std::ranges::find(INFO_NAMES, id, &InfoName::id);
  return found == INFO_NAMES.end() ? std::string_view() : found->name;
}

}  // namespace tool

#endif
