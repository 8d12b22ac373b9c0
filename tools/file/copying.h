// Copies of whole files.
#ifndef VELMOR_CORE_TOOLS_FILE_COPYING_H
#define VELMOR_CORE_TOOLS_FILE_COPYING_H

#include "file/file.h"

namespace tool {

// Bytes that a copy has in addition. They are zeros.
struct Space {
  uint64_t offset = 0;
  uint64_t size = 0;
};

// Copies the first `size` bytes of a file to an empty one. Holes stay holes. Without a space, the
// copy shares all blocks of the source if the file system can share them and the source has exactly
// `size` bytes. Otherwise the bytes are copied within the kernel, or through memory if the kernel
// cannot copy them.
//
// In the copy, the space begins at `space.offset`. The bytes of the source from this offset on
// follow the space. They are copied through memory.
void copyBytes(const File& source, const File& copy, uint64_t size, Space space = {});

// Gives a file the owner and group of another. Throws Failure if it may not.
void copyOwner(const File& source, const File& copy);

// Gives a file the permissions, access control lists and extended attributes of another.
void copyAttributes(const File& source, const File& copy);

// Sets a new file's permissions, without those in the umask.
void setPermissions(const File& file, mode_t permissions);

}  // namespace tool

#endif
