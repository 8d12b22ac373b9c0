// What the forms WAVE, AVI and WebP require of their chunks.
#ifndef VELMOR_CORE_TOOLS_VERDICT_FORM_H
#define VELMOR_CORE_TOOLS_VERDICT_FORM_H

#include <memory>

#include "chunks/raw_bytes.h"
#include "known/ids.h"
#include "verdict/finding.h"

namespace tool {

// Looks at the chunks of one RIFF group. Reports a warning where players still work, and doubtful
// damage where they fail.
class Form {
 public:
  Form(RawBytes& bytes, const Report& report, const RawChunk& riff)
      : bytes(bytes), report(report), riff(riff) {}
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;
  virtual ~Form() = default;

  // Takes each chunk in the order of the bytes, a group before its children. `level` is 1 for the
  // children of the RIFF; `parent` is the group id of the group that holds the chunk. The data
  // may be incomplete: chunks that end past the end of the file were cut short.
  virtual void take(const RawChunk& chunk, uint64_t level, uint32_t parent) = 0;
  // Reports what only shows when all chunks are known.
  virtual void finish() = 0;

 protected:
  void warn(uint64_t offset, const std::string& what) const {
    report({offset, what, Severity::WARNING});
  }
  void fail(uint64_t offset, const std::string& what) const {
    report({offset, what, Severity::DOUBTFUL});
  }
  bool isComplete(const RawChunk& chunk) const { return chunk.dataEnd() <= bytes.size(); }

  RawBytes& bytes;
  const Report& report;
  RawChunk riff;
};

std::unique_ptr<Form> makeWaveForm(RawBytes& bytes, const Report& report, const RawChunk& riff);
std::unique_ptr<Form> makeAviForm(RawBytes& bytes, const Report& report, const RawChunk& riff);
std::unique_ptr<Form> makeWebpForm(RawBytes& bytes, const Report& report, const RawChunk& riff);

// The form of a RIFF group; null for one that is not known here.
std::unique_ptr<Form> makeForm(RawBytes& bytes, const Report& report, const RawChunk& riff);

}  // namespace tool

#endif
