// TagLib's reader of RIFF files, for the benchmarks of the riff family. Its functions for chunks
// are protected there.

#ifndef BENCH_TAGLIB_RIFF_H
#define BENCH_TAGLIB_RIFF_H

#include <taglib/rifffile.h>
#include <taglib/tbytevectorstream.h>

#include "riff_support.h"

namespace bench {

class TagLibRiff : public TagLib::RIFF::File {
 public:
  explicit TagLibRiff(TagLib::IOStream& stream) : File(&stream, LittleEndian) {}
  using File::chunkCount;
  using File::chunkDataSize;
  using File::chunkName;
  using File::setChunkData;

  TagLib::Tag* tag() const override { return nullptr; }
  TagLib::AudioProperties* audioProperties() const override { return nullptr; }
  bool save() override { return false; }
};

inline TagLib::ByteVector toByteVector(const Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), static_cast<unsigned>(bytes.size())};
}

}  // namespace bench

#endif
