// Reads the headers of a file, tells where sizes, padding and nesting disagree, also where the
// store refuses to open it, and what would mend it.
#ifndef VELMOR_CORE_TOOLS_SURVEY_H
#define VELMOR_CORE_TOOLS_SURVEY_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "raw_bytes.h"

namespace tool {

// Something that is wrong with a file.
struct Finding {
  uint64_t offset = 0;     // in bytes from the start of the file
  std::string what;        // names the chunk by its path
  bool isWarning = false;  // programs read the file all the same
  bool hasRemedy = true;   // there is one right answer to it
  bool isFatal = false;    // as the first one: the store refuses the file, having read all of it
};

// "what (at offset N)".
std::string findingText(const Finding& finding);

// The edits that make a file sound, if every finding has a remedy.
struct Remedy {
  struct Size {
    uint64_t offset;  // of the chunk's header
    uint32_t size;    // what its size field has to be
  };
  std::vector<Size> sizes;
  std::vector<uint64_t> stalePads;  // offsets of pad bytes that are not 0
  bool padIsMissing = false;        // behind the last byte
  uint64_t end = 0;  // where the chunks end; bytes behind that belong to none of them
};

struct Survey {
  uint64_t fileSize = 0;
  uint64_t chunks = 0;
  uint64_t damages = 0;  // findings that are no warnings
  uint64_t warnings = 0;
  uint64_t withoutRemedy = 0;
  Remedy remedy;

  bool isClean() const { return damages + warnings == 0; }
  uint64_t trailing() const { return remedy.end < fileSize ? fileSize - remedy.end : 0; }
};

using Report = std::function<void(const Finding&)>;

// Follows the headers and hands over each disagreement as it is met: causes come before what
// follows from them. After a chunk that leaves its group the walk goes on at the group's end.
// `name` is the file's, for progress. Throws Failure if the file cannot be read, or has sizes of
// another kind (RF64, RIFX).
Survey surveyBytes(const std::string& name, RawBytes& bytes, const Report& report);
Survey surveyFile(const std::string& file, const Report& report);

// The first finding that is no warning; none where the file is sound.
std::optional<Finding> firstDamage(const std::string& name, RawBytes& bytes);
std::optional<Finding> firstDamage(const std::string& file);

// Throws Failure where a command should not let the library open a file: it is no RIFF file, the
// library would read all of it and then refuse it, or it holds so many zeros that the library would
// take for empty chunks that they cost too much. Damage with which the library can work is no
// reason; the first of it is returned.
std::optional<Finding> requireOpenable(const std::string& name, RawBytes& bytes);

// The first damage in `after` if there is none in `before`. An edit asks this before its result
// takes the place of the file.
std::optional<Finding> damageByEdit(const std::string& name, RawBytes& before, RawBytes& after);

}  // namespace tool

#endif
