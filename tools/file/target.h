// Where an edit is made, and how its result gets its name.
//
// However the program ends, the name leads to the complete old file or the complete new one. Only
// an edit in place cannot promise this. If it is interrupted, a marker file says so, and the
// commands that read chunks refuse the file.
#ifndef VELMOR_CORE_TOOLS_FILE_TARGET_H
#define VELMOR_CORE_TOOLS_FILE_TARGET_H

#include <memory>
#include <string>

#include "file/copying.h"
#include "file/original.h"

namespace tool {

class Target {
 public:
  Target() = default;
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;
  // Removes a new file that is not finished. An edit in place that has begun is not undone.
  virtual ~Target() = default;

  // Open for reading and writing. Holds the original's bytes. A copy also has the zeros of its
  // Space.
  virtual const File& file() const = 0;
  // A name under which the library can open the same file, until finish().
  virtual const std::string& path() const = 0;
  // Call directly before you change the first byte.
  virtual void begin() = 0;
  // Syncs the bytes to the disk and gives the file its name. Close path() first if you opened it.
  virtual void finish() = 0;
  // The end of a failure's message: what state the files are in.
  virtual std::string consequence() const = 0;
};

// The three ways. Each first makes its copy or reserves disk space, and throws Failure with the
// reason if it cannot. A copy also has the zeros of `space`. The original has to outlive the
// target.

// A new file in the original's folder. It replaces the original and gets its name, permissions,
// owner and attributes.
std::unique_ptr<Target> replaceOriginal(const Original& original, Space space);

// Another file. If it exists, mayReplace has to be true; the new file gets its permissions.
std::unique_ptr<Target> writeOutput(const Original& original, const std::string& output,
                                    bool mayReplace, Space space = {});

// The original itself, with space for `room` more bytes; `what` names the edit in the marker.
// Signals wait until the target is destroyed.
std::unique_ptr<Target> editInPlace(const Original& original, uint64_t room,
                                    const std::string& what);

}  // namespace tool

#endif
