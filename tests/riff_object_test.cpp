// The four byte operations of every kind of object: bounds at the last byte and far beyond 2^64.

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

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

std::string readFailure(Object& object, uint64_t offset, uint64_t length) {
  std::array<char, 64> out;
  return failure([&] { object.read(offset, out.data(), length); });
}

std::string writeFailure(Object& object, uint64_t offset, uint64_t length) {
  const std::array<char, 64> in = {};
  return failure([&] { object.write(offset, in.data(), length); });
}

std::string moveFailure(Object& object, uint64_t source, uint64_t destination, uint64_t length) {
  return failure([&] { object.move(source, destination, length); });
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
  MemoryObject readWrite(buffer.data(), 0, 40);
  for (const auto& [offset, length, fits] : RANGES) {
    SCOPED_TRACE(testing::Message() << offset << " + " << length);
    EXPECT_EQ(readFailure(readOnly, offset, length), fits ? "" : "invalid read");
    const bool nothing = offset == 0 && length == 0;
    EXPECT_EQ(writeFailure(readOnly, offset, length), nothing ? "" : "invalid write");
    EXPECT_EQ(moveFailure(readOnly, 0, offset, length), nothing ? "" : "invalid write");
    EXPECT_EQ(moveFailure(readWrite, 0, offset, length), fits ? "" : "invalid write");
    EXPECT_EQ(moveFailure(readWrite, offset, 0, length), fits || length == 0 ? ""
                                                         : length > 40       ? "invalid write"
                                                                             : "invalid read");
    EXPECT_EQ(buffer, std::vector<char>(40, 'x'));
  }
  for (const auto& [offset, length, fits] : RANGES) {
    MemoryObject object(buffer.data(), 0, 40);
    EXPECT_EQ(writeFailure(object, offset, length), fits ? "" : "invalid write");
    EXPECT_EQ(object.getSize(), fits ? offset + length : 0);  // lengthened as far as written
  }
  EXPECT_EQ(failure([&] { readWrite.resize(40); }), "");
  EXPECT_EQ(failure([&] { readWrite.resize(41); }), "out of space");
  EXPECT_EQ(readWrite.getSize(), 40U);
  EXPECT_EQ(failure([&] { readOnly.resize(1); }), "out of space");
  EXPECT_EQ(failure([&] { readOnly.resize(0); }), "");
  EXPECT_EQ(readOnly.getSize(), 0U);
}

TEST(CacheObjectTest, GrowsToTheNextMultipleAboveTheSize) {
  CacheObject cache(1000);
  const std::vector<std::pair<uint64_t, uint64_t>> steps = {
      {999, 1000}, {1000, 1000}, {1500, 2000}, {10, 2000}, {2001, 4000}, {8000, 12000}};
  for (const auto& [size, capacity] : steps) {
    cache.resize(size);
    EXPECT_EQ(cache.getSize(), size);
    EXPECT_EQ(cache.getCapacity(), capacity);
  }
  EXPECT_EQ(writeFailure(cache, 12'000, 1), "invalid write");
  EXPECT_NE(failure([&] { cache.resize(FAR); }), "");
  EXPECT_NE(failure([&] { cache.resize(FAR / 2); }), "");
  EXPECT_EQ(cache.getSize(), 8000U);
  EXPECT_EQ(cache.getCapacity(), 12'000U);

  CacheObject small(1);  // 2^64 - 1 bytes are 2^64 steps of it
  EXPECT_NE(failure([&] { small.resize(FAR); }), "");
  EXPECT_EQ(small.getCapacity(), 1U);

  CacheObject empty(0);
  empty.resize(7);
  EXPECT_EQ(empty.getCapacity(), 7U);
}

TEST(CacheObjectTest, KeepsTheWholeOldBufferWhenItGrows) {
  CacheObject cache(4);
  cache.write(0, "abcd", 4);
  cache.resize(2);
  cache.resize(5);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(cache.getBuffer()), 4), "abcd");
}

TEST(FileObjectTest, TheEndOfTheFileDecides) {
  const TemporaryFile file;
  FileObject object(file.path(), FileObject::READ_WRITE);
  EXPECT_EQ(writeFailure(object, 10, 30), "");
  EXPECT_EQ(object.getSize(), 0U);  // only resize changes it
  EXPECT_EQ(file.content().size(), 40U);
  for (const auto& [offset, length, fits] : RANGES) {
    if (length > 64) continue;
    SCOPED_TRACE(testing::Message() << offset << " + " << length);
    const bool seeks = offset < FAR / 2;
    EXPECT_EQ(readFailure(object, offset, length), !seeks                ? "lseek failed"
                                                   : fits || length == 0 ? ""
                                                                         : "read failed");
  }
  EXPECT_EQ(failure([&] { object.resize(FAR); }), "ftruncate failed");
  object.resize(48);  // six chunks of nothing
  EXPECT_EQ(object.getSize(), 48U);
  EXPECT_EQ(file.content(), Bytes(48, 0));

  FileObject readOnly(file.path(), 0);
  EXPECT_EQ(writeFailure(readOnly, 0, 1), "write failed");
  EXPECT_EQ(failure([&] { readOnly.resize(0); }), "ftruncate failed");
  EXPECT_EQ(failure([&] { readOnly.move(0, 1, 1); }), "write failed");
  EXPECT_EQ(failure([] { FileObject("/missing/file", 0); }), "open failed");
}

}  // namespace
}  // namespace RIFF
