// A file that appears under its name only when it is complete.
#ifndef VELMOR_CORE_TOOLS_FILE_NEW_FILE_H
#define VELMOR_CORE_TOOLS_FILE_NEW_FILE_H

#include <functional>
#include <optional>
#include <string>

#include "file/file.h"

namespace tool {

// Syncs the folder that a file lies in, so that the file's name survives a power cut.
void syncFolderOf(const std::string& path);

// Until publish(), the bytes are in a temporary file in the same folder. The temporary file is
// removed on any failure, and when an ending signal (see signals.h) ends the program. Other
// signals, such as SIGKILL and SIGSEGV, and a power cut can leave the temporary file. The next new
// file for the same name removes it.
class NewFile {
 public:
  // Makes an empty file that only the user can read. publish() gives it the name `path`. If
  // `replaced` is not null, the new file gets the owner of that file now, and its permissions and
  // attributes in complete(). `replaced` has to outlive this object. Throws Failure if the file
  // cannot be made, or if another program is making one for the same name.
  NewFile(std::string path, const File* replaced);
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();

  // Open for reading and writing. Its name is the temporary one.
  const File& get() const { return file; }
  // Completes the file and syncs it to the disk. If no file is replaced, the new
  // file gets these permissions, without those in the umask.
  void complete(mode_t permissions) const;
  // Renames the file to its name in one step. If it replaces no file, throws Failure if a file with
  // this name exists by now.
  void publish();
  bool isPublished() const { return published; }

 private:
  void remove() const;

  std::string path;
  const File* replaced;
  File file;
  bool published = false;
};

// The file that the user has named for the result of a command.
struct Output {
  // Throws Failure if such a file exists and must not be replaced, or is not a regular file that
  // can be read. Also throws Failure if another program is editing, copying or replacing the file,
  // or if a marker of an edit in place lies beside it. Programs that want to edit or copy the file
  // wait until this is destroyed.
  Output(const std::string& name, bool mayReplace);

  std::string path;              // without symbolic links
  std::optional<File> existing;  // the file to replace
  const File* replaced() const { return existing ? &*existing : nullptr; }
};

// Writes a file that appears under its name only when it is complete. A device or a named pipe is
// written directly, since no new file can replace it. Throws Failure as Output and NewFile do.
void writeNamed(const std::string& name, bool mayReplace,
                const std::function<void(const File&)>& write);

}  // namespace tool

#endif
