// What the C interface cannot ask of the byte operations: ranges far beyond any chunk, and the
// messages of what they refuse.

#include <array>
#include <cstddef>

#include "riff/cache_object.h"
#include "riff/file_object.h"
#include "support/riff_support.h"

namespace RIFF {
namespace {

constexpr uint64_t FAR = ~uint64_t{0};

// The message of the exception that an operation raises, empty if none.
std::string failure(const std::function<void()>& operation) {
  try {
    operation();
  } catch (const std::exception& error) {
    return error.what();
  }
  return "";
}

std::string readFailure(RIFF::Object& object, uint64_t offset, uint64_t length) {
  std::array<std::byte, 64> out;
  return failure([&] { object.read(offset, out.data(), length); });
}

std::string writeFailure(RIFF::Object& object, uint64_t offset, uint64_t length) {
  const std::array<std::byte, 64> in = {};
  return failure([&] { object.write(offset, in.data(), length); });
}

struct Range {
  uint64_t offset, length;
  bool fits;  // in 40 bytes
};
const std::vector<Range> RANGES = {
    {0, 40, true},     {39, 1, true},   {40, 0, true},       {0, 41, false},  {39, 2, false},
    {40, 1, false},    {41, 0, false},  {FAR, 1, false},     {FAR, 2, false}, {1, FAR, false},
    {FAR, FAR, false}, {FAR, 0, false}, {FAR - 1, 2, false}, {41, FAR, false}};

TEST(MemoryObjectTest, ChecksEveryRangeBeforeItTouchesAnything) {
  std::vector<char> buffer(40, 'x');
  MemoryObject readOnly(buffer.data(), 40);
  for (const auto& [offset, length, fits] : RANGES) {
    SCOPED_TRACE(testing::Message() << offset << " + " << length);
    MemoryObject object(buffer.data(), 0, 40);
    const auto moved = [n = length](MemoryObject& in, uint64_t source, uint64_t destination) {
      return failure([&] { in.move(source, destination, n); });
    };
    const bool nothing = offset == 0 && length == 0;
    EXPECT_EQ(readFailure(readOnly, offset, length), fits ? "" : "invalid read");
    EXPECT_EQ(writeFailure(readOnly, offset, length), nothing ? "" : "invalid write");
    EXPECT_EQ(moved(readOnly, 0, offset), nothing ? "" : "invalid write");
    EXPECT_EQ(moved(object, 0, offset), fits ? "" : "invalid write");
    EXPECT_EQ(moved(object, offset, 0), fits || length == 0 ? ""
                                        : length > 40       ? "invalid write"
                                                            : "invalid read");
    EXPECT_EQ(object.getSize(), 0U);
    EXPECT_EQ(buffer, std::vector<char>(40, 'x'));
    EXPECT_EQ(writeFailure(object, offset, length), fits ? "" : "invalid write");
    EXPECT_EQ(object.getSize(), fits ? offset + length : 0);  // lengthened as far as written
    buffer.assign(40, 'x');
  }
  EXPECT_EQ(failure([&] { readOnly.resize(1); }), "out of space");
  EXPECT_EQ(failure([&] { readOnly.resize(0); }), "");
}

TEST(CacheObjectTest, RefusesWhatNoMemoryHolds) {
  for (const uint64_t capacity : {0U, 1U, 1000U}) {  // 2^64 - 1 bytes are 2^64 steps of 1
    CacheObject cache(capacity);
    for (const uint64_t size : {FAR, FAR - 1, FAR / 2 + 1}) {
      EXPECT_EQ(failure([&] { cache.resize(size); }), "std::bad_alloc");
      EXPECT_EQ(cache.getSize(), 0U);
      EXPECT_EQ(cache.getCapacity(), capacity);
    }
  }
}

TEST(CacheObjectTest, KeepsTheWholeOldBufferAndClearsTheNew) {
  std::make_unique<std::string>(8000, 'x').reset();  // leaves memory that is not clear
  CacheObject cache(2000);
  cache.write(1996, reinterpret_cast<const std::byte*>("abcd"), 4);
  cache.resize(2);
  cache.resize(2001);
  const auto* bytes = reinterpret_cast<const char*>(cache.getBuffer());
  EXPECT_EQ(std::string(bytes, 4000), std::string(1996, 0) + "abcd" + std::string(2000, 0));
}

TEST(FileObjectTest, TheEndOfTheFileDecides) {
  const TemporaryFile file;
  FileObject object(file.path(), FileObject::READ_WRITE);
  EXPECT_EQ(writeFailure(object, 10, 30), "");
  EXPECT_EQ(object.getSize(), 0U);  // only resize changes it
  EXPECT_EQ(file.content().size(), 40U);
  EXPECT_EQ(readFailure(object, 39, 1), "");
  EXPECT_EQ(readFailure(object, 39, 2), "read failed");
  EXPECT_EQ(readFailure(object, FAR, 1), "lseek failed");
  EXPECT_EQ(failure([&] { object.resize(FAR); }), "ftruncate failed");
  EXPECT_EQ(failure([&] { object.move(0, 0, FAR); }), "");

  FileObject readOnly(file.path(), 0);
  EXPECT_EQ(writeFailure(readOnly, 0, 1), "write failed");
  EXPECT_EQ(failure([&] { readOnly.resize(0); }), "ftruncate failed");
  EXPECT_EQ(failure([&] { readOnly.move(0, 1, 1); }), "write failed");
  EXPECT_EQ(failure([] { FileObject("/missing/file", 0); }), "open failed");
}

}  // namespace
}  // namespace RIFF
