// Where an edit is made, and how its result gets the name under which people look for it.
//
// Every way keeps one promise: whatever ends the program, the file under that name is the old one
// or the new one, whole. Only an edit in place cannot keep it alone: there a marker file says that
// the edit was interrupted, and the commands refuse to read the file.
#ifndef VELMOR_CORE_TOOLS_TARGET_H
#define VELMOR_CORE_TOOLS_TARGET_H

#include <memory>
#include <string>

#include "original.h"

namespace tool {

class Target {
 public:
  Target() = default;
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;
  // Takes back what finish() has not completed.
  virtual ~Target() = default;

  // Open for reading and writing; holds the original's bytes.
  virtual const File& file() const = 0;
  // The name under which others can open the same file until finish().
  virtual const std::string& path() const = 0;
  // Call directly before the first byte is changed.
  virtual void begin() = 0;
  // Syncs the bytes to the disk and gives the file its name. Whoever opened path() has to have
  // closed it.
  virtual void finish() = 0;
  // What a failure leaves behind, as the end of its message.
  virtual std::string consequence() const = 0;
};

// The three ways. Each copies or reserves what it needs, and throws Failure with the reason if it
// cannot. The original has to outlive the target.

// A new file beside the original, which takes its name, permissions, owner and attributes.
std::unique_ptr<Target> replaceOriginal(const Original& original);

// Another file. One that exists is replaced only if mayReplace says so, and keeps its permissions.
std::unique_ptr<Target> writeOutput(const Original& original, const std::string& output,
                                    bool mayReplace);

// The original itself, with room for `room` bytes more; `what` names the edit in the marker.
// Signals wait until the target is destroyed.
std::unique_ptr<Target> editInPlace(const Original& original, uint64_t room,
                                    const std::string& what);

}  // namespace tool

#endif
