// What a command looks at: a file, or standard input.
#ifndef VELMOR_CORE_TOOLS_CHUNKS_INPUT_H
#define VELMOR_CORE_TOOLS_CHUNKS_INPUT_H

#include <optional>
#include <string>

#include "chunks/kept_bytes.h"
#include "chunks/raw_bytes.h"
#include "file/original.h"

namespace tool {

// The name of an operand in titles and messages: "standard input" for "-".
std::string inputName(const std::string& operand);

class Input {
 public:
  // Opens a file. For "-", opens the file that standard input was redirected from, or reads a pipe
  // to its end. Throws Failure with the reason.
  explicit Input(const std::string& operand);

  RawBytes bytes() const { return kept ? RawBytes(*kept) : RawBytes(file()); }

 private:
  const File& file() const { return original ? original->get() : *redirected; }

  std::optional<Original> original;
  std::optional<File> redirected;
  std::optional<KeptBytes> kept;  // of a pipe
};

}  // namespace tool

#endif
