// Reads a pipe once, and keeps what the commands that look at a file need.
#include "chunks/keep_headers.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <queue>
#include <tuple>
#include <vector>

#include "app/errors.h"
#include "chunks/header_format.h"

namespace tool {

namespace {

constexpr uint64_t START = 1 << 16;
constexpr uint64_t DATA_OF_CHUNK = 1 << 16;
constexpr uint64_t DATA_OF_ALL = 1 << 26;
constexpr uint64_t TAIL = 256;  // an ID3v1 tag and the end of an APE tag before it
constexpr std::size_t BLOCK = 1 << 18;

// "ix00" to "ix99" are indexes, too.
bool isIndex(uint32_t id) { return id == ID_IDX1 || id == ID_INDX || idText(id).starts_with("ix"); }

// The bytes of a descriptor, block by block.
class Stream {
 public:
  Stream(int descriptor, const std::string& name) : descriptor(descriptor), name(name) {}

  // The next bytes; none at the end.
  std::string_view next() {
    if (rest.empty() && !isAtEnd) readBlock();
    return rest;
  }
  void take(std::size_t count) { rest.remove_prefix(count); }
  // The last bytes of the stream, TAIL at most. Call it at the end.
  const std::string& tail() const { return lastBytes; }

 private:
  void readBlock() {
    lastBytes.append(block.data(), size);
    lastBytes.erase(0, lastBytes.size() - std::min<std::size_t>(lastBytes.size(), TAIL));
    ssize_t count = -1;
    while ((count = ::read(descriptor, block.data(), block.size())) == -1) {
      if (errno != EINTR) throw Failure(name, "cannot be read: " + systemError());
    }
    size = static_cast<std::size_t>(count);
    rest = {block.data(), size};
    isAtEnd = size == 0;
  }

  int descriptor;
  const std::string& name;
  std::vector<char> block = std::vector<char>(BLOCK);
  std::size_t size = 0;   // of the bytes in the block
  std::string_view rest;  // the bytes of the block that were not taken
  std::string lastBytes;  // the last bytes of the blocks before this one
  bool isAtEnd = false;
};

// Goes through all places where a header could be expected, in the order of the bytes. If the
// stream is already past a place, the bytes from that place on have been kept.
class Keeper {
 public:
  explicit Keeper(Stream stream) : stream(std::move(stream)) {}

  KeptBytes run() {
    keepTo(START);
    format = HeaderFormat(
        [this](void* to, uint64_t count, uint64_t offset) { kept.copy(to, count, offset); });
    for (places.push({0, true}); !places.empty();) {
      const Place place = places.top();
      while (!places.empty() && places.top() == place) places.pop();
      passTo(place.offset);
      keepTo(place.offset + 1);
      if (place.offset >= kept.size()) break;  // past the end of the stream
      if (place.isHeader || isUsedPad(place.offset)) keepChunk(place.offset);
    }
    passTo(END);
    kept.keepLast(stream.tail());
    return std::move(kept);
  }

 private:
  static constexpr uint64_t END = ~uint64_t{0};

  struct Place {
    uint64_t offset;
    // False for the place of a pad byte. A header is there only if the pad byte is missing.
    bool isHeader;
    bool operator==(const Place&) const = default;
    bool operator>(const Place& other) const {
      return std::tie(offset, isHeader) > std::tie(other.offset, other.isHeader);
    }
  };

  bool isUsedPad(uint64_t offset) const { return kept.endOfZeros(offset, offset + 1) == offset; }

  void keepChunk(uint64_t offset) {
    keepTo(offset + GROUP_HEADER_SIZE);
    std::array<uint8_t, GROUP_HEADER_SIZE> header{};
    kept.copy(header.data(), header.size(), offset);
    const RawChunk chunk = format.chunk(header.data(), offset);
    if (chunk.id == 0 && chunk.dataSize == 0) return passZeros(offset);
    places.push({chunk.end(), true});
    if (chunk.isGroup()) {
      places.push({offset + GROUP_HEADER_SIZE, true});
      return;
    }
    if (chunk.dataSize % 2 == 1) places.push({chunk.dataEnd(), false});
    if (!isPrintable(chunk.id) || hasStreamNumber(chunk.id)) return;
    const uint64_t wanted =
        isIndex(chunk.id) ? chunk.dataSize : std::min(chunk.dataSize, DATA_OF_CHUNK);
    const uint64_t before = kept.size();
    keepTo(chunk.dataOffset() + std::min(wanted, dataLeft));
    dataLeft -= std::min(dataLeft, kept.size() - before);
  }

  void passZeros(uint64_t offset) {
    if (offset >= endOfRun) {
      endOfRun = kept.endOfZeros(offset, kept.size());
      for (bool goesOn = endOfRun == kept.size(); goesOn;) {
        const std::string_view bytes = stream.next();
        const std::size_t zeros = std::min(bytes.find_first_not_of('\0'), bytes.size());
        kept.addZeros(zeros);
        stream.take(zeros);
        endOfRun += zeros;
        goesOn = zeros > 0 && zeros == bytes.size();
      }
    }
    const uint64_t headers = (endOfRun - offset) / HEADER_SIZE;
    if (headers > 0) places.push({offset + headers * HEADER_SIZE, true});
    places.push({endOfRun, true});
  }

  void keepTo(uint64_t end) {
    forNext(end, [this](std::string_view bytes) { kept.add(bytes); });
  }

  void passTo(uint64_t end) {
    forNext(end, [this](std::string_view bytes) { kept.skip(bytes.size()); });
  }

  // Takes the next bytes up to an offset, or to the end of the stream.
  template <typename Use>
  void forNext(uint64_t end, Use use) {
    while (kept.size() < end) {
      const std::string_view bytes = stream.next();
      if (bytes.empty()) return;
      const std::string_view some = bytes.substr(0, end - kept.size());
      use(some);
      stream.take(some.size());
    }
  }

  Stream stream;
  KeptBytes kept;
  HeaderFormat format;
  std::priority_queue<Place, std::vector<Place>, std::greater<>> places;
  uint64_t dataLeft = DATA_OF_ALL;
  uint64_t endOfRun = 0;  // of the last run of zeros
};

}  // namespace

KeptBytes keepHeaders(int descriptor, const std::string& name) {
  return Keeper(Stream(descriptor, name)).run();
}

}  // namespace tool
