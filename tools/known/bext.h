// The fields of a "bext" chunk, the broadcast extension of WAVE (EBU Tech 3285, version 2).
#ifndef VELMOR_CORE_TOOLS_KNOWN_BEXT_H
#define VELMOR_CORE_TOOLS_KNOWN_BEXT_H

#include <array>
#include <cstdint>
#include <string_view>

namespace tool {

struct BextField {
  enum Kind {
    TEXT,    // ASCII, filled up with NULs
    NUMBER,  // unsigned, little-endian
    UMID,    // 64 bytes; a basic UMID has only 32, and zeros fill the rest
    LEVEL    // signed, 16 bits, in hundredths of LU, LUFS or dBTP
  };
  std::string_view name;  // as "tag" and "show" spell it
  uint32_t offset;        // in bytes, from the start of the data
  uint32_t size;          // in bytes; 0 for the last field, which reaches to the end of the data
  Kind kind;
  uint16_t version;  // the first version of the chunk that has the field
};

inline constexpr std::array BEXT_FIELDS = {
    BextField{"description", 0, 256, BextField::TEXT, 0},
    BextField{"originator", 256, 32, BextField::TEXT, 0},
    BextField{"originator-reference", 288, 32, BextField::TEXT, 0},
    BextField{"origination-date", 320, 10, BextField::TEXT, 0},  // yyyy-mm-dd
    BextField{"origination-time", 330, 8, BextField::TEXT, 0},   // hh:mm:ss
    BextField{"time-reference", 338, 8, BextField::NUMBER, 0},   // in samples since midnight
    BextField{"bext-version", 346, 2, BextField::NUMBER, 0},
    BextField{"umid", 348, 64, BextField::UMID, 1},
    BextField{"loudness", 412, 2, BextField::LEVEL, 2},
    BextField{"loudness-range", 414, 2, BextField::LEVEL, 2},
    BextField{"max-true-peak", 416, 2, BextField::LEVEL, 2},
    BextField{"max-momentary-loudness", 418, 2, BextField::LEVEL, 2},
    BextField{"max-short-term-loudness", 420, 2, BextField::LEVEL, 2},
    BextField{"coding-history", 602, 0, BextField::TEXT, 0},
};

// The data size of a chunk without coding history. The last 180 of these bytes are reserved.
constexpr uint32_t BEXT_FIXED_SIZE = 602;

}  // namespace tool

#endif
