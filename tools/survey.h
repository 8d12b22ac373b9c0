// Reads the headers of a file, tells where sizes, padding and nesting disagree, also where the
// store refuses to open it, and what would mend it.
#ifndef VELMOR_CORE_TOOLS_SURVEY_H
#define VELMOR_CORE_TOOLS_SURVEY_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

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

// Follows the headers and hands over each disagreement as it is met: causes come before what
// follows from them. Behind a chunk that leaves its group the walk goes on at the group's end.
// Reads a few KiB for each chunk at most, holds the groups that are open and the remedy. Throws
// Failure if the file cannot be read, or has sizes of another kind (RF64, RIFX).
Survey surveyFile(const std::string& file, const std::function<void(const Finding&)>& report);

// The first finding that is no warning; none where the file is sound.
std::optional<Finding> firstDamage(const std::string& file);

}  // namespace tool

#endif
