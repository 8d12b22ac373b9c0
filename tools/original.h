// The file that a command was given, as it stands before anything is changed.
#ifndef VELMOR_CORE_TOOLS_ORIGINAL_H
#define VELMOR_CORE_TOOLS_ORIGINAL_H

#include <string>

#include "file.h"

namespace tool {

class Original {
 public:
  enum Purpose {
    LOOK,  // opened for reading
    COPY,  // the same, and editors of the file wait
    EDIT   // opened for reading and writing; other editors and copies wait
  };

  // Opens an existing regular file. Waits for its turn, and then opens the file that the name leads
  // to by that time. Throws Failure with the reason; also where an edit in place was interrupted.
  Original(const std::string& name, Purpose purpose);

  // As it was typed.
  const std::string& name() const { return file.name(); }
  // Without symbolic links.
  const std::string& path() const { return resolvedPath; }
  const File& get() const { return file; }
  const struct stat& status() const { return before; }
  uint64_t size() const { return static_cast<uint64_t>(before.st_size); }

  // Throws Failure if another program has changed or replaced the file since it was opened.
  void requireUnchanged() const;

 private:
  File file;
  std::string resolvedPath;
  struct stat before {};
};

// Whether a file is the same and has not been written, as far as its status tells.
bool isUnchanged(const struct stat& before, const struct stat& now);

// Throws Failure if a marker says that the file at `path` (without symbolic links) is being edited
// in place, or was when a program was killed.
void requireNoMarker(const File& file, const std::string& path);

// The name of the file that marks an edit in place of `path`.
std::string markerOf(const std::string& path);

}  // namespace tool

#endif
