// What is wrong with the chunk ds64 of an RF64 or BW64 file. Sizes in ds64 that do not agree with
// the file are not checked here: the survey finds them.
#include "verdict/wide_sizes.h"

#include "app/text.h"

namespace tool {

void checkWideSizes(RawBytes& bytes, const Report& report) {
  const auto fail = [&](uint64_t offset, const std::string& what) {
    report({offset, what, Severity::DOUBTFUL});
  };
  if (bytes.size() < GROUP_HEADER_SIZE + HEADER_SIZE) return;  // the survey reports the cut header
  const std::string riff = bytes.chunkAt(0).name();
  const RawChunk ds64 = bytes.chunkAt(GROUP_HEADER_SIZE);
  if (ds64.id != ID_DS64) return fail(0, riff + " does not begin with a ds64 chunk");
  const uint64_t size = ds64.dataSize;
  if (size < WideSizes::SMALLEST) {
    return fail(ds64.offset,
                riff + "/ds64 holds " + counted(size, "byte") + ", too few for its sizes");
  }
  const uint64_t room =
      size < WideSizes::FIXED_SIZE ? 0 : (size - WideSizes::FIXED_SIZE) / WideSizes::ENTRY_SIZE;
  const uint64_t stated = bytes.format().wideSizes().entryCount;
  if (stated > room) {
    fail(ds64.offset, riff + "/ds64 states " + counted(stated, "entry", "entries") +
                          " in its table and has room for " + std::to_string(room));
  }
}

}  // namespace tool
