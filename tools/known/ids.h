// The ids of forms, groups and chunks that the program knows.
#ifndef VELMOR_CORE_TOOLS_KNOWN_IDS_H
#define VELMOR_CORE_TOOLS_KNOWN_IDS_H

#include <velmor_core/riff.h>

namespace tool {

constexpr uint32_t FORM_WAVE = VELMOR_CORE_RIFF_ID('W', 'A', 'V', 'E');
constexpr uint32_t FORM_AVI = VELMOR_CORE_RIFF_ID('A', 'V', 'I', ' ');
constexpr uint32_t FORM_WEBP = VELMOR_CORE_RIFF_ID('W', 'E', 'B', 'P');

// WAVE
constexpr uint32_t ID_FMT = VELMOR_CORE_RIFF_ID('f', 'm', 't', ' ');
constexpr uint32_t ID_FACT = VELMOR_CORE_RIFF_ID('f', 'a', 'c', 't');
constexpr uint32_t ID_DATA = VELMOR_CORE_RIFF_ID('d', 'a', 't', 'a');
constexpr uint32_t ID_WAVL = VELMOR_CORE_RIFF_ID('w', 'a', 'v', 'l');
constexpr uint32_t ID_ADTL = VELMOR_CORE_RIFF_ID('a', 'd', 't', 'l');

// AVI
constexpr uint32_t ID_HDRL = VELMOR_CORE_RIFF_ID('h', 'd', 'r', 'l');
constexpr uint32_t ID_AVIH = VELMOR_CORE_RIFF_ID('a', 'v', 'i', 'h');
constexpr uint32_t ID_STRL = VELMOR_CORE_RIFF_ID('s', 't', 'r', 'l');
constexpr uint32_t ID_STRH = VELMOR_CORE_RIFF_ID('s', 't', 'r', 'h');
constexpr uint32_t ID_ODML = VELMOR_CORE_RIFF_ID('o', 'd', 'm', 'l');
constexpr uint32_t ID_INDX = VELMOR_CORE_RIFF_ID('i', 'n', 'd', 'x');
constexpr uint32_t ID_IDX1 = VELMOR_CORE_RIFF_ID('i', 'd', 'x', '1');
constexpr uint32_t ID_MOVI = VELMOR_CORE_RIFF_ID('m', 'o', 'v', 'i');
constexpr uint32_t ID_REC = VELMOR_CORE_RIFF_ID('r', 'e', 'c', ' ');
// "ix##" and "##ix" name their stream in the other two characters.
constexpr uint32_t ID_IX = VELMOR_CORE_RIFF_ID('i', 'x', '\0', '\0');
constexpr uint32_t FIRST_HALF = 0xFFFF;  // of an id: its first two characters

// WebP
constexpr uint32_t ID_VP8 = VELMOR_CORE_RIFF_ID('V', 'P', '8', ' ');
constexpr uint32_t ID_VP8L = VELMOR_CORE_RIFF_ID('V', 'P', '8', 'L');
constexpr uint32_t ID_VP8X = VELMOR_CORE_RIFF_ID('V', 'P', '8', 'X');
constexpr uint32_t ID_ALPH = VELMOR_CORE_RIFF_ID('A', 'L', 'P', 'H');
constexpr uint32_t ID_ANIM = VELMOR_CORE_RIFF_ID('A', 'N', 'I', 'M');
constexpr uint32_t ID_ANMF = VELMOR_CORE_RIFF_ID('A', 'N', 'M', 'F');
constexpr uint32_t ID_ICCP = VELMOR_CORE_RIFF_ID('I', 'C', 'C', 'P');
constexpr uint32_t ID_EXIF = VELMOR_CORE_RIFF_ID('E', 'X', 'I', 'F');
constexpr uint32_t ID_XMP = VELMOR_CORE_RIFF_ID('X', 'M', 'P', ' ');

}  // namespace tool

#endif
