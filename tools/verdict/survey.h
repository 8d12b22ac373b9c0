// Judges the bytes of a file: where sizes, padding and nesting disagree, what is missing from its
// form, and what would repair it.
#ifndef VELMOR_CORE_TOOLS_VERDICT_SURVEY_H
#define VELMOR_CORE_TOOLS_VERDICT_SURVEY_H

#include <cstdint>
#include <optional>
#include <string>

#include "chunks/raw_bytes.h"
#include "verdict/finding.h"
#include "verdict/repair_plan.h"

namespace tool {

struct Survey {
  uint64_t fileSize = 0;
  uint64_t chunks = 0;
  uint64_t damages = 0;   // findings that are no warnings
  uint64_t doubtful = 0;  // damages that have no single right repair
  uint64_t warnings = 0;
  // The library must not open the file. It would read the whole file and then refuse it, or it
  // would build a tree of millions of empty chunks.
  bool mustStayClosed = false;
  bool trailingIsDoubtful = false;  // a doubtful finding is about the bytes after the last chunk
  RepairPlan plan;

  uint64_t trailing() const { return plan.end < fileSize ? fileSize - plan.end : 0; }
};

constexpr uint64_t MAX_REPORTED = 1000;

// Follows the headers and reports each finding as it is met, causes before their consequences.
// After a chunk that ends past its group, the walk usually continues at the group's end. Of the
// chunks' data, only this is read: the fields that are checked, such as those of "fmt ", and the
// entries of an AVI's indexes. Reports the first MAX_REPORTED doubtful findings and the first
// MAX_REPORTED others. All further findings are only counted. `name` is the name of the file, for
// progress. Throws Failure if the file cannot be read.
Survey surveyBytes(const std::string& name, RawBytes& bytes, const Report& report);
// The same for a file, or for standard input if the name is "-".
Survey surveyFile(const std::string& file, const Report& report);

// The first finding that is no warning; none where the file is sound.
std::optional<Finding> firstDamage(const std::string& name, RawBytes& bytes);

// Throws Failure if the library should not open a file. There are three reasons: it is no RIFF
// file, or one of another kind, such as RF64; the library would read all of it and then refuse it;
// or it holds too many zeros, which the library takes for empty chunks. Other damage does not
// prevent opening; the first of it is returned.
std::optional<Finding> requireOpenable(const std::string& name, RawBytes& bytes);

}  // namespace tool

#endif
