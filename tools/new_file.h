// A file that nobody sees under its name before it is complete.
#ifndef VELMOR_CORE_TOOLS_NEW_FILE_H
#define VELMOR_CORE_TOOLS_NEW_FILE_H

#include <optional>
#include <string>

#include "file.h"

namespace tool {

// Syncs the folder that a file lies in, so that the file's name survives a power cut.
void syncFolderOf(const std::string& path);

// The bytes lie in a file with a temporary name in the same folder until publish(). It is removed
// again on any failure, and when a signal ends the program. Only SIGKILL and a power cut leave it
// there; the next new file for the same name removes it.
class NewFile {
 public:
  // Makes an empty file, for the user's eyes only, that is to get the name `path`. If it is to
  // replace a file, that one has to outlive it, and the new file gets its owner now, its
  // permissions and attributes in complete(). Throws Failure if the file cannot be made, or if
  // another program is making one for the same name.
  NewFile(std::string path, const File* replaced);
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();

  // Open for reading and writing. Its name is the temporary one.
  const File& get() const { return file; }
  // Completes the file and syncs it to the disk. A file that replaces none gets these permissions,
  // less those that the umask takes.
  void complete(mode_t permissions) const;
  // Gives the file its name, at once and for good. Throws Failure if the name has been taken since,
  // unless the file replaces one.
  void publish();
  bool isPublished() const { return published; }

 private:
  void remove() const;

  std::string path;
  const File* replaced;
  File file;
  bool published = false;
};

// Where the result of a command goes, as the user has named it.
struct Output {
  // Throws Failure if there is such a file and it must not be replaced, or a marker of an edit in
  // place lies beside it.
  Output(const std::string& name, bool mayReplace);

  std::string path;              // without symbolic links
  std::optional<File> existing;  // what is replaced
  const File* replaced() const { return existing ? &*existing : nullptr; }
};

}  // namespace tool

#endif
