// Any bytes, opened as a buffer and as a file: both refuse them or show the tree that the tests'
// model of the store shows, and the file is read by the same system calls.

#include "riff/riff_model_pair.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  for (const Kind kind : {Kind::READ_ONLY, Kind::FILE}) {
    riff_model::Pair pair(kind);
    if (pair.open({data, data + size}, 0)) pair.compare();
  }
  if (testing::Test::HasFailure()) std::abort();
  return 0;
}
