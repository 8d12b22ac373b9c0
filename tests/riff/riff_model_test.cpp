// Random edits of the library's store and of the plain model of it.

#include <cstdlib>

#include "riff_lockstep.h"

namespace {

// To look closer at one seed, or to let many more run.
uint32_t fromEnvironment(const char* name, uint32_t otherwise) {
  const char* const value = std::getenv(name);
  return value ? static_cast<uint32_t>(std::strtoul(value, nullptr, 10)) : otherwise;
}

TEST(RiffModelTest, RandomEditsLeaveTheSameResultsTreesBytesAndSystemCalls) {
  const uint32_t first = fromEnvironment("RIFF_MODEL_SEED", 1);
  const uint32_t runs = fromEnvironment("RIFF_MODEL_RUNS", 400);
  for (uint32_t seed = first; seed < first + runs; seed++) {
    riff_model::Lockstep lockstep{riff_model::Choices(seed)};
    for (int i = 0; i < 200; i++) {
      lockstep.step();
      if (HasFailure()) FAIL() << "seed " << seed << ", step " << i << "\n" << lockstep.lastSteps();
    }
  }
}

}  // namespace
