// The common names of the texts in LIST:INFO.
#ifndef VELMOR_CORE_TOOLS_KNOWN_INFO_NAMES_H
#define VELMOR_CORE_TOOLS_KNOWN_INFO_NAMES_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "known/ids.h"

namespace tool {

struct InfoName {
  std::string_view name;
  uint32_t id;
};

// Names that mean the same in most programs. If programs use different ids for one name, each id
// has a row. All of these ids are read, and a new text gets the first one.
inline constexpr std::array INFO_NAMES = {
    InfoName{"title", idOf("INAM")},     InfoName{"artist", idOf("IART")},
    InfoName{"album", idOf("IPRD")},     InfoName{"comment", idOf("ICMT")},
    InfoName{"date", idOf("ICRD")},      InfoName{"genre", idOf("IGNR")},
    InfoName{"track", idOf("ITRK")},     InfoName{"track", idOf("IPRT")},
    InfoName{"copyright", idOf("ICOP")}, InfoName{"software", idOf("ISFT")},
    InfoName{"engineer", idOf("IENG")},  InfoName{"technician", idOf("ITCH")},
    InfoName{"subject", idOf("ISBJ")},   InfoName{"keywords", idOf("IKEY")},
    InfoName{"source", idOf("ISRC")},    InfoName{"source-form", idOf("ISRF")},
    InfoName{"medium", idOf("IMED")},    InfoName{"language", idOf("ILNG")},
    InfoName{"location", idOf("IARL")},  InfoName{"commissioned", idOf("ICMS")},
    InfoName{"country", idOf("ICNT")},   InfoName{"rating", idOf("IRTD")},
    InfoName{"starring", idOf("ISTR")},  InfoName{"editor", idOf("IEDT")},
    InfoName{"producer", idOf("IPRO")},  InfoName{"writer", idOf("IWRI")},
    InfoName{"music", idOf("IMUS")},     InfoName{"camera", idOf("ICNM")},
    InfoName{"timecode", idOf("ISMP")},
};

// The common name of an id; empty if it has none.
constexpr std::string_view infoNameOf(uint32_t id) {
  const auto* const found = std::ranges::find(INFO_NAMES, id, &InfoName::id);
  return found == INFO_NAMES.end() ? std::string_view() : found->name;
}

}  // namespace tool

#endif
