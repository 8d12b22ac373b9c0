// Reads the raw headers of a file and tells where sizes, padding and nesting disagree, also where
// the store refuses to open it.
#ifndef VELMOR_CORE_TOOLS_VERIFIER_H
#define VELMOR_CORE_TOOLS_VERIFIER_H

#include <cstdint>
#include <optional>
#include <string>

namespace tool {

struct Finding {
  uint64_t offset;   // in bytes from the start of the file
  std::string what;  // names the chunk by its path
};

struct Survey {
  uint64_t chunks = 0;             // as far as the walk came
  std::optional<Finding> finding;  // none: the file is sound
};

// Follows the headers up to the first disagreement: behind a wrong size it is a guess where the
// next header lies. Takes one read for each chunk and memory for the groups that are open. Throws
// Failure if the file cannot be read.
Survey surveyFile(const std::string& file);

// "what (at offset N)".
std::string findingText(const Finding& finding);

}  // namespace tool

#endif
