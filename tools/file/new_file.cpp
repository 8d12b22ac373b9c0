// A file that appears under its name only when it is complete.

#include "file/new_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <climits>
#include <cstdio>

#include "app/errors.h"
#include "app/progress.h"
#include "app/signals.h"
#include "file/copying.h"
#include "file/original.h"

namespace tool {

namespace {

std::size_t nameStart(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? 0 : slash + 1;
}

// "song.wav.velmor-core-new". All new files for song.wav have this name, so at most one is left
// over, however many programs are killed.
std::string temporaryName(const std::string& path) {
  constexpr std::string_view ENDING = ".velmor-core-new";
  const std::size_t start = nameStart(path);
  return path.substr(0, start) + path.substr(start, NAME_MAX - ENDING.size()).append(ENDING);
}

bool isNamed(const Descriptor& file, const std::string& path) {
  struct stat open {};
  struct stat named {};
  return ::fstat(file.get(), &open) == 0 && ::lstat(path.c_str(), &named) == 0 &&
         isSameFile(open, named);
}

// Removes the file that a killed program has left.
void removeLeftover(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!file && errno == ENOENT) return;
  if (!file && errno == ELOOP) throw Failure(path, "is in the way: it is a symbolic link");
  if (!file) throw Failure(path, "is in the way: " + systemError());
  // The program that makes a file holds its lock.
  if (isLockedByAnother(file, LOCK_EX)) throw Failure(path, "is being written by another program");
  if (isNamed(file, path) && ::unlink(path.c_str()) == -1) {
    throw Failure(path, "is in the way: " + systemError());
  }
}

File make(const std::string& path) {
  constexpr mode_t USER_ONLY = 0600;
  const SignalsWait wait;
  for (;;) {
    Descriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, USER_ONLY));
    if (!file && errno != EEXIST) throw Failure(path, "cannot be made: " + systemError());
    if (!file) {
      removeLeftover(path);
      continue;
    }
    // isNamed() is checked because another program may have removed the file as a leftover before
    // this one locked it.
    if (!isLockedByAnother(file, LOCK_EX) && isNamed(file, path)) {
      setUnfinishedFile(path);
      return {path, std::move(file)};
    }
  }
}

// Renames a file unless the new name is taken.
void renameToFreeName(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return;
  // The file system does not know RENAME_NOREPLACE (EINVAL), or the system has no renameat2().
  const bool isUnknown = errno == EINVAL || errno == ENOSYS;
  struct stat status {};
  if (errno == EEXIST || (isUnknown && ::lstat(to.c_str(), &status) == 0)) {
    throw Failure(to, "exists: --force replaces it");
  }
  if (!isUnknown || ::rename(from.c_str(), to.c_str()) == -1) throw Failure(to, systemError());
}

}  // namespace

void syncFolderOf(const std::string& path) {
  const std::size_t start = nameStart(path);
  const std::string folder = start == 0 ? "." : path.substr(0, start);
  const Descriptor open(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // Does nothing for folders that cannot be read, and on file systems that cannot sync folders.
  if (!open || ::fsync(open.get()) == 0 || errno == EINVAL) return;
  throw Failure(folder, "cannot be synced, so a power cut may undo the change: " + systemError());
}

NewFile::NewFile(std::string path, const File* replaced)
    : path(std::move(path)), replaced(replaced), file(make(temporaryName(this->path))) {
  try {
    if (replaced) copyOwner(*replaced, file);
  } catch (const Failure&) {
    remove();
    throw;
  }
}

NewFile::~NewFile() {
  if (!published) remove();
}

void NewFile::remove() const {
  const SignalsWait wait;
  ::unlink(file.name().c_str());
  clearUnfinishedFile();
}

void NewFile::complete(mode_t permissions) const {
  if (replaced) {
    copyAttributes(*replaced, file);
  } else {
    setPermissions(file, permissions);
  }
  const Waiting waiting("syncing " + file.name());
  file.sync();
}

void NewFile::publish() {
  {
    const SignalsWait wait;
    if (!replaced) {
      renameToFreeName(file.name(), path);
    } else if (::rename(file.name().c_str(), path.c_str()) == -1) {
      throw Failure(path, errno == EBUSY ? "is a mount point: only --in-place can change it"
                                         : "cannot be replaced: " + systemError());
    }
    published = true;
    clearUnfinishedFile();
  }
  syncFolderOf(path);
}

Output::Output(const std::string& name, bool mayReplace) : path(name) {
  struct stat status {};
  if (::lstat(name.c_str(), &status) == -1) {
    const std::string marker = markerOf(name);
    if (::lstat(marker.c_str(), &status) == -1) return;
    throw Failure(
        marker,
        "marks an interrupted edit: while this marker exists, the commands that read chunks "
        "would refuse the output");
  }
  if (!mayReplace) throw Failure(name, "exists: --force replaces it");
  path = realPath(name);
  existing.emplace(name, File::READ);
  requireNoMarker(*existing, path);  // commands would refuse the result because of the marker
  // Does not wait: the other program may wait for a file that this one has locked.
  if (isLockedByAnother(existing->owner(), LOCK_EX)) {
    throw Failure(name, "is being read or written by another program");
  }
}

void writeNamed(const std::string& name, bool mayReplace,
                const std::function<void(const File&)>& write) {
  constexpr mode_t PERMISSIONS = 0666;
  struct stat status {};
  if (::stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    Descriptor opened(::open(name.c_str(), O_WRONLY | O_CLOEXEC));
    if (!opened) throw Failure(name, systemError());
    return write(File(name, std::move(opened)));
  }
  const Output output(name, mayReplace);
  NewFile file(output.path, output.replaced());
  write(file.get());
  file.complete(PERMISSIONS);
  file.publish();
}

}  // namespace tool
