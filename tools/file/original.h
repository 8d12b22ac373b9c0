// The file that a command works on, before any change.
#ifndef VELMOR_CORE_TOOLS_FILE_ORIGINAL_H
#define VELMOR_CORE_TOOLS_FILE_ORIGINAL_H

#include <string>

#include "file/file.h"

namespace tool {

class Original {
 public:
  enum Purpose {
    LOOK,  // no lock
    COPY,  // programs that want to edit the file wait
    EDIT   // programs that want to edit or copy the file wait
  };

  // Opens an existing regular file for reading. COPY waits while another program edits or replaces
  // the file. EDIT also waits while another program copies it. Then the file that has the name by
  // that time is opened. LOOK does not wait. Throws Failure with the reason, also if an edit in
  // place was interrupted or is going on. EDIT also throws it if this program may not write to the
  // file.
  Original(const std::string& name, Purpose purpose);

  // The name as it was typed.
  const std::string& name() const { return file.name(); }
  // The name with symbolic links resolved.
  const std::string& path() const { return resolvedPath; }
  const File& get() const { return file; }
  const struct stat& status() const { return before; }
  uint64_t size() const { return static_cast<uint64_t>(before.st_size); }

  // Throws Failure if another program has changed or replaced the file since it was opened.
  void requireUnchanged() const;
  // Throws Failure if a program has the file open for writing. If the file is replaced, that
  // program goes on writing to the old file. This does not find programs on other computers. It
  // finds none if the file system has no leases, or if the user does not own the file.
  void requireNoWriter() const;

 private:
  File file;
  std::string resolvedPath;
  struct stat before {};
};

// The file's status. Returns only when every later change would give the file a different
// timestamp. File systems count time in ticks of up to 10 ms, and two changes in one tick have the
// same timestamp. So this may wait for the next tick. A timestamp in the future is not waited for.
// Throws Failure if another program keeps changing the file.
struct stat settledStatus(const File& file);

// Whether both belong to the same file, with the same size and the same times of modification and
// status change.
bool isUnchanged(const struct stat& before, const struct stat& now);

// Throws Failure if a marker says that the file at `path` (without symbolic links) is being edited
// in place, or that such an edit was interrupted.
void requireNoMarker(const File& file, const std::string& path);

// The name of the file that marks an edit in place of `path`.
std::string markerOf(const std::string& path);

}  // namespace tool

#endif
