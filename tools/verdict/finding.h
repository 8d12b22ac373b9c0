// What is wrong with a file.
#ifndef VELMOR_CORE_TOOLS_VERDICT_FINDING_H
#define VELMOR_CORE_TOOLS_VERDICT_FINDING_H

#include <cstdint>
#include <functional>
#include <string>

namespace tool {

enum class Severity {
  WARNING,  // programs read the file all the same
  DAMAGE,   // has one right repair
  DOUBTFUL  // damage that has several possible repairs, or none
};

struct Finding {
  uint64_t offset = 0;  // in bytes from the start of the file
  std::string what;     // names the chunk by its path
  Severity severity = Severity::DAMAGE;

  bool isWarning() const { return severity == Severity::WARNING; }
  bool isDoubtful() const { return severity == Severity::DOUBTFUL; }
};

// "what (at offset N)".
std::string findingText(const Finding& finding);

// Prints a finding about a file as "check" does.
void complain(const std::string& file, const Finding& finding);
// Prints how many findings about a file were not printed, unless it is none.
void complainOfMore(const std::string& file, uint64_t count);

// Receives findings as they are met.
using Report = std::function<void(const Finding&)>;

}  // namespace tool

#endif
