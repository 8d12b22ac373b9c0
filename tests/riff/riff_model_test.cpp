// Random edits of the library's objects and of their model.

#include <cstdlib>

#include "riff_lockstep.h"

namespace {

TEST(RiffModelTest, RandomEditsLeaveTheSameResultsTreesBytesAndSystemCalls) {
  const char* const more = std::getenv("RIFF_MODEL_RUNS");
  const unsigned long runs = more ? std::strtoul(more, nullptr, 10) : 400;
  for (uint32_t seed = 1; seed <= runs; seed++) {
    riff_model::Lockstep lockstep{riff_model::Choices(seed)};
    for (int i = 0; i < 200; i++) {
      lockstep.step();
      if (HasFailure()) FAIL() << "seed " << seed << ", step " << i << "\n" << lockstep.history;
    }
  }
}

}  // namespace
