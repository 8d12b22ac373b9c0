// Tells RIFF files from all others by their first bytes.
#ifndef VELMOR_CORE_TOOLS_CHUNKS_FILE_KIND_H
#define VELMOR_CORE_TOOLS_CHUNKS_FILE_KIND_H

#include <optional>
#include <string>

#include "chunks/raw_bytes.h"

namespace tool {

// Nothing for a RIFF file, which begins with "RIFF", "RIFX", "RF64" or "BW64". For any other file,
// a text that says what it looks like: "not a RIFF file: it looks like PNG".
std::optional<std::string> foreignKind(RawBytes& bytes);

// Throws Failure with that text unless the bytes are a RIFF file's. The commands that read chunks
// call this before anything else.
void requireRiff(const std::string& name, RawBytes& bytes);

// The same for the commands that change chunks. Only a file that begins with "RIFF" can be changed.
void requireEditable(const std::string& name, RawBytes& bytes);

}  // namespace tool

#endif
