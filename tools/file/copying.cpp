// Copies of whole files.

#include "file/copying.h"

#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "app/errors.h"
#include "app/progress.h"

namespace tool {

namespace {

constexpr uint64_t AT_ONCE = 1 << 24;  // within the kernel
constexpr uint64_t BLOCK = 1 << 18;    // through memory
constexpr mode_t ALL_BITS = 07777;
constexpr mode_t PERMISSION_BITS = 0777;

// Copies a range within the kernel, to the same offsets, and returns how many bytes it copied, 0 if
// the call fails. The caller then copies through memory, which works between any two files and says
// which one fails.
uint64_t copyInSystem(const File& source, const File& copy, uint64_t begin, uint64_t end) {
  auto from = static_cast<off_t>(begin);
  auto to = from;
  const ssize_t count = ::copy_file_range(source.descriptor(), &from, copy.descriptor(), &to,
                                          std::min(end - begin, AT_ONCE), 0);
  return count > 0 ? static_cast<uint64_t>(count) : 0;
}

class Copier {
 public:
  Copier(const File& source, const File& copy, uint64_t size)
      : source(source), copy(copy), progress("copying " + source.name(), size) {}

  // Copies a range to offsets that are larger by `shift`.
  void run(uint64_t begin, uint64_t end, uint64_t shift) {
    for (uint64_t at = nextData(begin, end); at < end;) {
      const uint64_t endOfPiece = endOfData(at, end);
      while (at < endOfPiece) {
        at += copyPiece(at, endOfPiece, shift);
        progress.at(at);
      }
      at = nextData(at, end);
    }
  }

 private:
  uint64_t nextData(uint64_t offset, uint64_t end) const {
    return offset < end ? std::min(source.nextData(offset), end) : end;
  }

  uint64_t endOfData(uint64_t offset, uint64_t end) const {
    const off_t hole = ::lseek(source.descriptor(), static_cast<off_t>(offset), SEEK_HOLE);
    // The call fails if the file was cut before this offset meanwhile. copyPiece() reports that.
    return hole > static_cast<off_t>(offset) ? std::min(static_cast<uint64_t>(hole), end) : end;
  }

  uint64_t copyPiece(uint64_t begin, uint64_t end, uint64_t shift) {
    if (inSystem && shift == 0) {
      if (const uint64_t count = copyInSystem(source, copy, begin, end); count > 0) return count;
      inSystem = errno == EINTR;
    }
    // Copying to other offsets is slower within the kernel than through memory. A write is fastest
    // if it begins at a multiple of BLOCK and writes BLOCK bytes.
    const uint64_t count = std::min(end - begin, BLOCK - (begin + shift) % BLOCK);
    block.resize(BLOCK);
    source.readAll(block.data(), count, begin);
    copy.writeAt(block.data(), count, begin + shift);
    return count;
  }

  const File& source;
  const File& copy;
  Progress progress;
  bool inSystem = true;
  std::vector<char> block;
};

// The names of a file's extended attributes. Access control lists are among them.
std::vector<std::string> attributeNames(const File& file) {
  std::vector<char> list(65536);  // the longest list that Linux returns
  const ssize_t size = ::flistxattr(file.descriptor(), list.data(), list.size());
  if (size == -1 && errno != EOPNOTSUPP) throw Failure(file.name(), systemError());
  std::vector<std::string> names;
  for (const char* name = list.data(); name < list.data() + size; name += names.back().size() + 1) {
    names.emplace_back(name);
  }
  return names;
}

// True for all attributes except "user." ones and access control lists. Most of the others, such as
// security labels, are set by the system when a file is made. So it is no failure if such an
// attribute cannot be copied or removed.
bool isKeptBySystem(const std::string& name) {
  return !name.starts_with("user.") && !name.starts_with("system.posix_acl");
}

void copyAttribute(const File& source, const File& copy, const std::string& name) {
  std::vector<char> value(65536);  // the largest value that Linux allows
  const ssize_t size = ::fgetxattr(source.descriptor(), name.c_str(), value.data(), value.size());
  if (size == -1 && !isKeptBySystem(name)) {
    throw Failure(source.name(), "its attribute " + name + " cannot be read: " + systemError());
  }
  if (size >= 0 && ::fsetxattr(copy.descriptor(), name.c_str(), value.data(),
                               static_cast<std::size_t>(size), 0) == 0) {
    return;
  }
  if (isKeptBySystem(name)) return;
  throw Failure(copy.name(), "its attribute " + name + " cannot be set: " + systemError());
}

void removeAttribute(const File& file, const std::string& name) {
  if (::fremovexattr(file.descriptor(), name.c_str()) == 0 || isKeptBySystem(name)) return;
  throw Failure(file.name(), "its attribute " + name + " cannot be removed: " + systemError());
}

void setMode(const File& file, mode_t mode) {
  if (::fchmod(file.descriptor(), mode) == -1) {
    throw Failure(file.name(), "its permissions cannot be set: " + systemError());
  }
}

}  // namespace

void copyBytes(const File& source, const File& copy, uint64_t size, Space space) {
  if (space.size == 0 && ::ioctl(copy.descriptor(), FICLONE, source.descriptor()) == 0) {
    if (copy.size() == size) return;
  }
  copy.resize(size + space.size);  // what is not written is a hole
  Copier copier(source, copy, size);
  copier.run(0, space.offset, 0);
  copier.run(space.offset, size, space.size);
}

void copyOwner(const File& source, const File& copy) {
  const struct stat wanted = source.status();
  const struct stat made = copy.status();
  if (wanted.st_uid == made.st_uid && wanted.st_gid == made.st_gid) return;
  if (::fchown(copy.descriptor(), wanted.st_uid, wanted.st_gid) == -1) {
    throw Failure(copy.name(),
                  "cannot be given the owner of " + source.name() + ": " + systemError());
  }
}

void copyAttributes(const File& source, const File& copy) {
  const std::vector<std::string> names = attributeNames(source);
  for (const std::string& name : attributeNames(copy)) {
    // An access control list that the folder gives by default may allow more than the original's.
    if (std::ranges::find(names, name) == names.end()) removeAttribute(copy, name);
  }
  for (const std::string& name : names) copyAttribute(source, copy, name);
  setMode(copy, source.status().st_mode & ALL_BITS);
}

void setPermissions(const File& file, mode_t permissions) {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  setMode(file, permissions & PERMISSION_BITS & ~mask);
}

}  // namespace tool
