// The ids of forms, groups and chunks that the program knows.
#ifndef VELMOR_CORE_TOOLS_KNOWN_IDS_H
#define VELMOR_CORE_TOOLS_KNOWN_IDS_H

#include "chunks/chunk_id.h"

namespace tool {

constexpr uint32_t FORM_WAVE = idOf("WAVE");
constexpr uint32_t FORM_AVI = idOf("AVI ");
constexpr uint32_t FORM_AVIX = idOf("AVIX");  // the further parts of a large AVI
constexpr uint32_t FORM_WEBP = idOf("WEBP");

// WAVE
constexpr uint32_t ID_FMT = idOf("fmt ");
constexpr uint32_t ID_FACT = idOf("fact");
constexpr uint32_t ID_WAVL = idOf("wavl");
constexpr uint32_t ID_BEXT = idOf("bext");
constexpr uint32_t ID_ADTL = idOf("adtl");

// AVI
constexpr uint32_t ID_HDRL = idOf("hdrl");
constexpr uint32_t ID_AVIH = idOf("avih");
constexpr uint32_t ID_STRL = idOf("strl");
constexpr uint32_t ID_STRH = idOf("strh");
constexpr uint32_t ID_ODML = idOf("odml");
constexpr uint32_t ID_MOVI = idOf("movi");
constexpr uint32_t ID_REC = idOf("rec ");
// "ix##" and "##ix" name their stream in the other two characters.
constexpr uint32_t ID_IX = idOf("ix\0\0");
constexpr uint32_t FIRST_HALF = 0xFFFF;  // of an id: its first two characters

// WebP
constexpr uint32_t ID_VP8 = idOf("VP8 ");
constexpr uint32_t ID_VP8L = idOf("VP8L");
constexpr uint32_t ID_VP8X = idOf("VP8X");
constexpr uint32_t ID_ALPH = idOf("ALPH");
constexpr uint32_t ID_ANIM = idOf("ANIM");
constexpr uint32_t ID_ANMF = idOf("ANMF");
constexpr uint32_t ID_ICCP = idOf("ICCP");
constexpr uint32_t ID_EXIF = idOf("EXIF");
constexpr uint32_t ID_XMP = idOf("XMP ");

}  // namespace tool

#endif
