// A regular file's bytes, for what the store does not do: reasons, values and raw headers.
#ifndef VELMOR_CORE_TOOLS_FILE_H
#define VELMOR_CORE_TOOLS_FILE_H

#include <cstdint>
#include <string>

namespace tool {

// An open descriptor, closed by its owner. Every failure throws Failure with the file's name.
class File {
 public:
  enum Mode { READ, READ_WRITE, CREATE, CREATE_NEW };

  // READ and READ_WRITE want an existing regular file; CREATE takes anything that can be written
  // and empties it; CREATE_NEW fails if the file exists, and reads and writes.
  File(const std::string& name, Mode mode);
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File();

  uint64_t size() const;
  // Reads up to `length` bytes at `offset`; returns how many there were.
  uint64_t read(void* bytes, uint64_t length, uint64_t offset) const;
  // The same, but all of them have to be there.
  void readAll(void* bytes, uint64_t length, uint64_t offset) const;
  // The offset of the first byte at or after `offset` that is not in a hole; size() if all are.
  // Where the file system knows no holes, `offset`. Moves the position of write().
  uint64_t nextData(uint64_t offset) const;
  void write(const void* bytes, uint64_t length) const;
  void writeAt(const void* bytes, uint64_t length, uint64_t offset) const;
  void resize(uint64_t length) const;
  // Reports what only shows when a file is closed (a full network disk, say).
  void close();

 private:
  std::string name;
  int descriptor;
};

// Whether two names lead to the same existing file.
bool isSameFile(const std::string& first, const std::string& second);

}  // namespace tool

#endif
