// Keeps the extended header (VP8X) of a WebP file right when an edit adds or removes chunks.
#include "editing/webp_header.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "known/ids.h"

namespace tool {

namespace {

// The RIFF:WEBP group, or none.
Chunk webpIn(const Chunk& root) {
  const Chunk first = root.firstChild();
  return first && first.groupId() == FORM_WEBP ? first : Chunk();
}

struct Announced {
  uint8_t flag;
  uint32_t id;
};
constexpr std::array ANNOUNCED = {Announced{FLAG_ICC, ID_ICCP}, Announced{FLAG_EXIF, ID_EXIF},
                                  Announced{FLAG_XMP, ID_XMP}, Announced{FLAG_ANIMATION, ID_ANIM}};

// The place of a chunk in the file. The format fixes the order of VP8X, ICCP, ANIM, ALPH and the
// picture. All other chunks may be anywhere after VP8X.
int rankOf(uint32_t id) {
  constexpr std::array ORDER = {ID_VP8X, ID_ICCP, ID_ANIM, ID_ALPH};
  return static_cast<int>(std::ranges::find(ORDER, id) - ORDER.begin());
}

bool isPicture(uint32_t id) { return id == ID_VP8 || id == ID_VP8L || id == ID_ANMF; }

// The right order is VP8X, ICCP, ANIM, ALPH, picture, and nothing comes before VP8X.
bool isOutOfOrder(const Chunk& group) {
  const int last = rankOf(ID_VP8);
  int highest = 0;
  for (Chunk chunk = group.firstChild(); chunk; chunk = chunk.next()) {
    const int rank = rankOf(chunk.id());
    if (rank < highest) return true;
    if (rank < last || isPicture(chunk.id())) highest = rank;
    if (rank == last) highest = std::max(highest, 1);  // VP8X is the first of all
  }
  return false;
}

// Puts the chunks of the group into their order. The library adds chunks at the end, so all chunks
// are copied into memory, removed, and added together. `added` is put before them.
void rebuild(const Chunk& group, Chunk added = {}) {
  std::vector<Chunk> chunks;
  if (added) chunks.push_back(added);
  for (Chunk chunk = group.firstChild(); chunk; chunk = chunk.next()) chunks.push_back(chunk);
  std::ranges::stable_sort(chunks, {}, [](const Chunk& chunk) { return rankOf(chunk.id()); });
  const Object ordered = required("copy the chunks of " + group.name(), [&] {
    Object cache = Object::openCache(group.dataSize() + WebpHeader::ROOM, std::nothrow);
    for (const Chunk& chunk : chunks) {
      if (!cache.root().addCopy(chunk, std::nothrow)) return Object();
    }
    return cache;
  });
  // From the last to the first, so that little moves.
  for (uint32_t count = group.childCount(); count > 0; --count) {
    required("move the chunks of " + group.name(),
             [&] { return group.child(count - 1).remove(std::nothrow); });
  }
  required("put back the chunks of " + group.name(),
           [&] { return group.addCache(ordered, std::nothrow); });
}

}  // namespace

WebpHeader::Picture WebpHeader::pictureIn(const Chunk& chunk) {
  std::array<uint8_t, LOSSY_HEADER> bytes{};  // the rest stays 0
  const auto size = std::min<std::size_t>(bytes.size(), chunk.dataSize());
  if (!chunk.read(std::span(bytes).first(size), 0, std::nothrow)) return {};
  if (chunk.id() == ID_VP8 && (littleEndian32(&bytes[LOSSY_START]) & 0xFF'FFFF) == START_CODE) {
    return {littleEndian16(&bytes[6]) & SIZE_MASK, littleEndian16(&bytes[8]) & SIZE_MASK, false};
  }
  if (chunk.id() == ID_VP8L && bytes[0] == LOSSLESS_SIGNATURE) {
    const uint32_t bits = littleEndian32(&bytes[LOSSLESS_BITS]);
    return {(bits & SIZE_MASK) + 1, (bits >> SIZE_BITS & SIZE_MASK) + 1,
            (bits & LOSSLESS_ALPHA) != 0};
  }
  return {};
}

WebpHeader::Contents::Contents(const Chunk& group) {
  for (Chunk chunk = group.firstChild(); chunk; chunk = chunk.next()) {
    const uint32_t id = chunk.id();
    for (const Announced& known : ANNOUNCED) flags |= id == known.id ? known.flag : uint8_t{0};
    isExtended |= id == ID_VP8X;
    hasFrames |= id == ID_ANMF;
    if (id == ID_VP8 || id == ID_VP8L) picture = pictureIn(chunk);
    if (id == ID_ALPH) flags |= FLAG_ALPHA;
  }
  if (hasFrames) picture = {};
  if (picture.hasAlpha) flags |= FLAG_ALPHA;
}

WebpHeader::WebpHeader(const Chunk& root) : before(webpIn(root)) {}

void WebpHeader::correct(const Chunk& root, std::vector<std::string>& warnings) const {
  const Chunk group = webpIn(root);
  if (!group) return;
  const Contents now(group);
  if (now == before) return;
  // A simple file needs no header. VP8L has its own alpha bit.
  const bool needsHeader =
      (now.flags & ~FLAG_ALPHA) != 0 || (now.flags != 0 && !now.picture.hasAlpha);
  if (now.isExtended) {
    correctHeader(Chunk(group.find(velmor_core::Id(ID_VP8X))), now);
    if (isOutOfOrder(group)) rebuild(group);
  } else if (needsHeader) {
    addHeader(group, now, warnings);
  }
}

void WebpHeader::correctHeader(const Chunk& header, const Contents& contents) {
  std::array<uint8_t, VP8X_SIZE> bytes{};
  if (header.dataSize() < VP8X_SIZE || !header.read(bytes, 0, std::nothrow)) return;
  // In an animation, only the frames show whether there is alpha. So the alpha flag stays as it is.
  // It also stays if the picture cannot be read.
  uint8_t described = contents.isStill() ? FLAG_ALPHA : 0;
  for (const Announced& known : ANNOUNCED) described |= known.flag;
  bytes[0] = static_cast<uint8_t>((bytes[0] & ~described) | (contents.flags & described));
  if (contents.isStill()) {
    const auto width = littleEndianBytes(contents.picture.width - 1);
    const auto height = littleEndianBytes(contents.picture.height - 1);
    std::copy_n(width.begin(), 3, &bytes[VP8X_WIDTH]);
    std::copy_n(height.begin(), 3, &bytes[VP8X_HEIGHT]);
  }
  required("correct VP8X", [&] { return header.write(bytes, 0, std::nothrow); });
}

void WebpHeader::addHeader(const Chunk& group, const Contents& contents,
                           std::vector<std::string>& warnings) {
  if (!contents.isStill() || group.dataSize() > MAX_SIZE - ROOM) {
    warnings.push_back(
        std::string("the file needs a VP8X header, which cannot be made: ") +
        (contents.isStill() ? "the file is too large" : "the size of the picture is not known"));
    return;
  }
  const std::array<uint8_t, VP8X_SIZE> empty{};
  const Object cache = required("make VP8X", [&] {
    Object made = Object::openCache(ROOM, std::nothrow);
    if (!made.root().addData(velmor_core::Id(ID_VP8X), empty, std::nothrow)) return Object();
    return made;
  });
  const Chunk header(cache.root().child(0));
  correctHeader(header, contents);
  rebuild(group, header);
}

}  // namespace tool
