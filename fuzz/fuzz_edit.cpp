// Opens any bytes as objects of all kinds, makes edits decoded from them, and compares with the
// tests' model.

#include <iostream>

#include "riff/riff_lockstep.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  riff_model::Lockstep lockstep{riff_model::Choices(std::span(data, size))};
  for (int step = 0; step < 60 && !lockstep.exhausted(); ++step) lockstep.step();
  if (!testing::Test::HasFailure()) return 0;
  std::cerr << lockstep.history;
  std::abort();
}
