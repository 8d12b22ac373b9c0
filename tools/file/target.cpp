// Where an edit is made, and how its result gets its name.

#include "file/target.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstring>

#include "app/errors.h"
#include "app/progress.h"
#include "app/signals.h"
#include "file/new_file.h"

namespace tool {

namespace {

// A copy of the original, edited under a temporary name.
class Copied : public Target {
 public:
  Copied(const Original& original, const std::string& path, const File* replaced, Space space)
      : original(original), copy(path, replaced), replacesOriginal(replaced == &original.get()) {
    copyBytes(original.get(), copy.get(), original.size(), space);
  }

  const File& file() const override { return copy.get(); }
  const std::string& path() const override { return copy.get().name(); }
  void begin() override {}
  void finish() override {
    copy.complete(original.status().st_mode);
    if (replacesOriginal) original.requireNoWriter();
    original.requireUnchanged();
    copy.publish();
  }
  std::string consequence() const override {
    return copy.isPublished() ? "" : "; " + original.name() + " is unchanged";
  }

 private:
  const Original& original;
  NewFile copy;
  bool replacesOriginal;
};

// The same, for another name.
class CopiedTo : private Output, public Copied {
 public:
  CopiedTo(const Original& original, const std::string& name, bool mayReplace, Space space)
      : Output(name, mayReplace), Copied(original, Output::path, replaced(), space) {}
};

class InPlace : public Target {
 public:
  InPlace(const Original& original, uint64_t room, std::string what)
      : original(original),
        edited(original.path(), File::READ_WRITE),
        what(std::move(what)),
        marker(markerOf(original.path())) {
    original.requireUnchanged();
    reserve(room);
    reserved = settledStatus(edited);
  }
  ~InPlace() override {
    if (!begun) giveBackRoom();
  }

  const File& file() const override { return edited; }
  const std::string& path() const override { return original.path(); }

  void begin() override {
    const int descriptor = ::open(marker.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (descriptor == -1) throw Failure(marker, "cannot be made: " + systemError());
    const File file(marker, Descriptor(descriptor));
    try {
      const std::string text = what + "\n";
      file.write(text.data(), text.size());
      file.sync();
      syncFolderOf(marker);
      if (!isUnchanged(reserved, statusOf(path()))) {
        throw Failure(original.name(), "was changed by another program meanwhile");
      }
    } catch (const Failure&) {
      ::unlink(marker.c_str());
      throw;
    }
    begun = true;
  }

  void finish() override {
    const Waiting waiting("syncing " + original.name());
    giveBackRoom();
    edited.sync();
    finished = true;
    if (::unlink(marker.c_str()) == -1) {
      throw Failure(marker, "cannot be removed, though the edit is complete: " + systemError());
    }
    syncFolderOf(marker);
  }

  std::string consequence() const override {
    if (finished) return "";
    return begun ? "; the edit in place stopped half-way, and " + marker + " marks it"
                 : "; " + original.name() + " is unchanged";
  }

 private:
  // Reserves disk space, so that no edit stops half-way for lack of it. Also fills the holes of a
  // sparse file, since bytes may move there. Does nothing if the file system cannot reserve space.
  void reserve(uint64_t room) const {
    const uint64_t end = original.size() + room;
    struct rlimit limit {};
    if (::getrlimit(RLIMIT_FSIZE, &limit) == 0 && end > limit.rlim_cur) {
      throw Failure(original.name(), std::strerror(EFBIG));
    }
    const int descriptor = edited.descriptor();
    int result = 0;
    do {
      result = ::fallocate(descriptor, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(end));
    } while (result == -1 && errno == EINTR);
    if (result == 0 || errno == EOPNOTSUPP || errno == ENOSYS) return;
    const std::string reason = systemError();
    giveBackRoom();
    throw Failure(original.name(), "no room to edit it in place: " + reason + " (at offset " +
                                       std::to_string(original.size()) + ")");
  }

  // Setting a file to the size that it has frees the blocks that were reserved past its end.
  void giveBackRoom() const {
    const int descriptor = edited.descriptor();
    struct stat now {};
    if (::fstat(descriptor, &now) == -1 || ::ftruncate(descriptor, now.st_size) == -1) return;
  }

  SignalsWait wait;
  const Original& original;
  File edited;
  std::string what;
  std::string marker;
  struct stat reserved {};
  bool begun = false;
  bool finished = false;
};

// If no file can be made in the folder, the marker of an edit in place cannot be made there either.
bool isInWritableFolder(const std::string& path) {
  return ::access(path.substr(0, path.rfind('/') + 1).c_str(), W_OK | X_OK) == 0;
}

}  // namespace

std::unique_ptr<Target> replaceOriginal(const Original& original, Space space) {
  constexpr const char* OFFER = "; --in-place edits the file itself";
  constexpr const char* OTHER_OFFER =
      "; -o can write the result to another folder (--in-place would have to create a marker file "
      "in this folder)";
  if (const auto names = original.get().status().st_nlink; names > 1) {
    throw Failure(original.name(),
                  "has " + std::to_string(names) +
                      " names (hard links), and a new file would get only one of them" + OFFER);
  }
  original.requireNoWriter();
  try {
    return std::make_unique<Copied>(original, original.path(), &original.get(), space);
  } catch (const Failure& failure) {
    throw Failure(failure.what() + ("; " + original.name() + " is unchanged") +
                  (isInWritableFolder(original.path()) ? OFFER : OTHER_OFFER));
  }
}

std::unique_ptr<Target> writeOutput(const Original& original, const std::string& output,
                                    bool mayReplace, Space space) {
  if (isSameFile(original.path(), output)) throw UsageError("the output is the file itself");
  return std::make_unique<CopiedTo>(original, output, mayReplace, space);
}

std::unique_ptr<Target> editInPlace(const Original& original, uint64_t room,
                                    const std::string& what) {
  return std::make_unique<InPlace>(original, room, what);
}

}  // namespace tool
