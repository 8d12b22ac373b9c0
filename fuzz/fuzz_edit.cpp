// Edits decoded from bytes, of all kinds of object at once, in lockstep with the tests' model.

#include <iostream>

#include "riff/riff_lockstep.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  riff_model::Lockstep lockstep{riff_model::Choices(std::span(data, size))};
  for (int step = 0; step < 60 && !lockstep.exhausted(); ++step) {
    lockstep.step();
    if (!testing::Test::HasFailure()) continue;
    std::cerr << lockstep.lastSteps();
    std::abort();
  }
  return 0;
}
