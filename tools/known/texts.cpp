// Chunks whose whole data is a text: LIST:INFO in all forms, and documents in XML.
#include <array>

#include "known/ids.h"
#include "known/known.h"

namespace tool {

namespace {

constexpr uint32_t ID_IDIT = idOf("IDIT");
constexpr uint32_t ID_ISMP = idOf("ISMP");
constexpr uint32_t ID_STRN = idOf("strn");
constexpr uint32_t ID_IXML = idOf("iXML");
constexpr uint32_t ID_AXML = idOf("axml");
constexpr uint32_t ID_PMX = idOf("_PMX");

constexpr Known text(uint32_t parent, uint32_t id, uint32_t idBits = 0xFFFF'FFFF) {
  return {parent, id, 0, nullptr, nullptr, idBits};
}

constexpr std::array CHUNKS = {
    text(ID_INFO, 0, 0),  // any id
    text(FORM_WAVE, ID_IXML), text(FORM_WAVE, ID_AXML), text(FORM_WAVE, ID_PMX),
    text(FORM_AVI, ID_PMX),   text(FORM_AVI, ID_IDIT),  text(ID_HDRL, ID_IDIT),
    text(ID_HDRL, ID_ISMP),   text(ID_STRL, ID_STRN),   text(FORM_WEBP, ID_XMP),
};

}  // namespace

std::span<const Known> textChunks() { return CHUNKS; }

}  // namespace tool
