#include "verifier.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "chunk_id.h"
#include "errors.h"
#include "file.h"

namespace tool {

namespace {

constexpr uint64_t HEADER_SIZE = 8;
constexpr uint64_t GROUP_HEADER_SIZE = 12;
constexpr uint64_t GROUP_ID_SIZE = 4;

// A chunk as its header describes it; its end may lie anywhere.
struct RawChunk {
  uint32_t id = 0;
  uint32_t groupId = 0;
  uint64_t offset = 0;
  uint64_t dataSize = 0;
  uint64_t end = 0;  // behind the pad byte
};

uint32_t littleEndian(const unsigned char* bytes) {
  return VELMOR_CORE_RIFF_ID(bytes[0], bytes[1], bytes[2], bytes[3]);
}

std::string bytesText(uint64_t number) {
  return std::to_string(number) + (number == 1 ? " byte" : " bytes");
}

class Walker {
 public:
  explicit Walker(const std::string& name) : file(name, File::READ), size(file.size()) {}

  Survey run() {
    while (!survey.finding && closeGroups()) step();
    return survey;
  }

 private:
  // Leaves the groups that end here. False where the walk has come to its end.
  bool closeGroups() {
    while (!open.empty() && open.back().end == at) open.pop_back();
    return !open.empty() || at < size;
  }

  void step() {
    if (!headerFits(HEADER_SIZE)) return;
    std::array<unsigned char, GROUP_HEADER_SIZE> header{};
    file.read(header.data(), header.size(), at);
    RawChunk chunk;
    chunk.id = littleEndian(header.data());
    chunk.offset = at;
    chunk.dataSize = littleEndian(&header[4]);
    chunk.end = at + HEADER_SIZE + chunk.dataSize + chunk.dataSize % 2;
    ++survey.chunks;
    if (isGroupId(chunk.id)) {
      if (!headerFits(GROUP_HEADER_SIZE)) return;
      chunk.groupId = littleEndian(&header[HEADER_SIZE]);
    }
    if (!open.empty() && chunk.end > open.back().end) {
      report(at, pathOf(&chunk) + " ends " + bytesText(chunk.end - open.back().end) +
                     " behind the end of its group");
    } else if (isGroupId(chunk.id)) {
      enterGroup(chunk);
    } else {
      passData(chunk);
    }
  }

  // Whether this many bytes are left, in the group and in the file, for a header.
  bool headerFits(uint64_t needed) {
    if (at >= size) {
      report(at, "the file ends " + bytesText(open.back().end - at) + " before the end of " +
                     pathOf(nullptr));
    } else if (!open.empty() && open.back().end - at < needed) {
      report(at, bytesText(open.back().end - at) + " at the end of " + pathOf(nullptr) +
                     " are too few for a chunk header");
    } else if (size - at < needed) {
      report(at, "the file ends inside a chunk header, " + bytesText(size - at) + " into it");
    }
    return !survey.finding;
  }

  void enterGroup(const RawChunk& group) {
    if (group.dataSize < GROUP_ID_SIZE) {
      report(at, pathOf(&group) + " has the size " + std::to_string(group.dataSize) +
                     ", too small for its group id");
      return;
    }
    open.push_back(group);
    at += GROUP_HEADER_SIZE;
  }

  void passData(const RawChunk& chunk) {
    if (chunk.end > size) {
      const uint64_t dataEnd = chunk.end - chunk.dataSize % 2;
      const uint64_t missing = dataEnd - std::min(size, dataEnd);
      report(at, pathOf(&chunk) + (missing == 0 ? " lacks the pad byte behind its odd size"
                                                : " ends " + bytesText(missing) +
                                                      " behind the end of the file"));
    }
    at = chunk.end;
  }

  void report(uint64_t offset, std::string what) { survey.finding = {offset, std::move(what)}; }

  // The names of the open groups, and of a chunk in the last of them. Of very many groups the
  // middle is left out.
  std::string pathOf(const RawChunk* chunk) const {
    constexpr std::size_t SHOWN = 4;
    std::string path;
    for (std::size_t i = 0; i < open.size(); ++i) {
      if (i == SHOWN && open.size() > 2 * SHOWN) {
        path += "/...";
        i = open.size() - SHOWN;
      }
      if (i > 0) path += '/';
      path += nameText(open[i].id, open[i].groupId);
    }
    if (!chunk) return path;
    if (!path.empty()) path += '/';
    return path += nameText(chunk->id, chunk->groupId);
  }

  File file;
  uint64_t size;
  uint64_t at = 0;
  std::vector<RawChunk> open;
  Survey survey;
};

}  // namespace

Survey surveyFile(const std::string& file) { return Walker(file).run(); }

std::string findingText(const Finding& finding) {
  return finding.what + " (at offset " + std::to_string(finding.offset) + ")";
}

}  // namespace tool
