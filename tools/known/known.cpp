#include "known/known.h"

#include <algorithm>

namespace tool {

const Known* findKnown(const ChunkData& data) {
  const RawChunk& chunk = data.chunk();
  if (chunk.isGroup() || chunk.id == ID_JUNK) return nullptr;
  const auto fits = [&](const Known& known) {
    return known.parent == data.parent().groupId && ((chunk.id ^ known.id) & known.idBits) == 0 &&
           (known.stream == 0 || known.stream == streamType(data));
  };
  for (const auto& family : {waveChunks(), aviChunks(), webpChunks(), textChunks()}) {
    const auto found = std::ranges::find_if(family, fits);
    if (found != family.end()) return &*found;
  }
  return nullptr;
}

ChunkValue valueOf(const ChunkData& data, uint64_t maxText) {
  const Known* known = findKnown(data);
  if (!known || data.size() < known->needed) return {};
  if (!known->isText()) return {known->words(data), false};
  std::string text = data.text(0, maxText);
  if (text.size() == maxText && maxText < data.size()) text += "...";
  return {text, true};
}

}  // namespace tool
