// Every allocation and every system call fails in turn, in every kind of edit, on every kind of
// object: the result tells, nothing leaks, and the object can be walked, edited and closed.

#include <dirent.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/allocations.h"
#include "support/riff_support.h"

namespace {

using faults::Call;
using faults::How;

const char* const TREE =
    "RIFF:g{ a:2 LIST:m{ b:1 } LIST:l{ JUNK:12 x:3 JUNK:40 y:5 } JUNK:5 z:1 } JUNK:20";

struct Scenario {
  const char* edit;
  bool safe;  // moves nothing and keeps all boundaries of chunks in place
};
const Scenario SCENARIOS[] = {
    // Of free space "add" takes none twice, then all of a chunk, then a part, and lets one grow.
    {"get x 3", true},    {"set x 3", true},     {"size x 70", false}, {"size x 0", false},
    {"add l 100", false}, {"add l 0", false},    {"add l 11", true},   {"add l 16", false},
    {"add / 99", false},  {"free l 100", false}, {"group g", false},   {"copy g /", false},
    {"pour g", false},    {"pour l", false},     {"recycle a", true},  {"recycle m", true},
    {"recycle g", true},  {"recycle x", true},   {"recycle l", true},  {"remove x", false},
    {"remove g", false},
};

size_t countOpenDescriptors() {
  size_t count = 0;
  DIR* folder = opendir("/proc/self/fd");
  while (readdir(folder)) ++count;
  closedir(folder);
  return count;
}

// Runs attempt(call, nth, how) with each call failing in each way until the nth does not come. Each
// time all memory and descriptors have to be given back. Returns the number of faults met.
size_t forAllFaults(const std::function<bool(Call, size_t, How)>& attempt) {
  size_t met = 0;
  for (const Call call : faults::ALL_CALLS) {
    for (const How how :
         {How::FAIL_ONCE, How::FAIL_FROM_HERE_ON, How::RETURN_ZERO, How::SHORT_COUNTS}) {
      const bool transfer = call == Call::READ || call == Call::WRITE;
      if (!transfer && how > How::FAIL_FROM_HERE_ON) continue;
      bool fired = true;
      for (size_t nth = 0; fired; ++nth) {
        SCOPED_TRACE(testing::Message() << "call " << static_cast<int>(call) << ", how "
                                        << static_cast<int>(how) << ", " << nth);
        const int64_t allocations = countLiveAllocations();
        const size_t descriptors = countOpenDescriptors();
        fired = attempt(call, nth, how);
        EXPECT_EQ(countLiveAllocations(), allocations);
        EXPECT_EQ(countOpenDescriptors(), descriptors);
        met += fired ? 1 : 0;
      }
    }
  }
  return met;
}

#if defined(__SANITIZE_ADDRESS__)
constexpr bool POOLED = false;  // each chunk has memory of its own, taken late
#else
constexpr bool POOLED = true;
#endif

// Runs an edit with the nth call of a kind failing. Returns whether that call came.
bool editWithFault(const Scenario& scenario, const std::string& tree, Kind kind, Call call,
                   size_t nth, How how) {
  const Store store(kind, tree);
  const Bytes poured = bytesOf("JUNK:0 v:0 v:0 v:0 v:0");
  const Opened other = openBytes(poured);
  const Bytes before = store.content();
  const auto edit = editOf(store.object(), scenario.edit, other.get());

  faults::arm(call, nth, how);
  const bool done = edit();
  const bool fired = faults::disarm();

  const bool harmless = how == How::SHORT_COUNTS || call == Call::NEW;
  EXPECT_TRUE(done ? !fired || harmless : fired);
  const std::string picture = pictureOf(store.object());
  if (done && how == How::SHORT_COUNTS) {
    EXPECT_EQ(pictureOf(openBytes(store.content()).get()), picture);
  }
  if (!done && call == Call::FTRUNCATE && how == How::FAIL_ONCE) {
    EXPECT_EQ(velmor_core_riff_cache_get_size(store.object()), before.size());
    EXPECT_EQ(picture, tree);
  }
  // Memory is taken before the first change of the tree, and of bytes if no chunk comes with
  // others.
  if (POOLED && !done && (call == Call::NEW || call == Call::REALLOC)) {
    EXPECT_EQ(picture, tree);
    const std::string_view verb = scenario.edit;
    const bool many = verb.starts_with("copy") || verb.starts_with("pour");
    EXPECT_TRUE(many || store.content() == before);
  }
  // Whatever it is like now, it can be taken apart.
  for (bool removed = true; removed;) {
    Chunk* first = velmor_core_riff_object_get_root_chunk(store.object());
    removed = first && velmor_core_riff_chunk_remove(first) == VELMOR_CORE_SUCCESS;
  }
  return fired;
}

TEST(FaultTest, NoEditBreaksOrLeaksWhateverFails) {
  if (!LimitedMemory::isInForce()) GTEST_SKIP() << "memory cannot be made to run out";
  std::string tree = TREE;
  size_t metInMemory = 0;
  for (const Kind kind :
       {Kind::FILE, Kind::CACHE, Kind::BUFFER, Kind::BUFFER, Kind::BUFFER, Kind::BUFFER,
        Kind::BUFFER, Kind::BUFFER, Kind::BUFFER, Kind::BUFFER, Kind::BUFFER, Kind::BUFFER}) {
    size_t met = 0;
    for (const Scenario& scenario : SCENARIOS) {
      SCOPED_TRACE(testing::Message() << scenario.edit << " of kind " << static_cast<int>(kind));
      met += forAllFaults([&](Call call, size_t nth, How how) {
        return editWithFault(scenario, tree, kind, call, nth, how);
      });
    }
    if (kind == Kind::FILE) {
      EXPECT_GT(met, 500U);
    } else {
      metInMemory += met;
    }
    // The memory of nodes runs out at another one.
    for (int i = tree == TREE ? 48 : 3; i > 0; --i) tree = "p:0 " + tree;
  }
  EXPECT_GT(metInMemory, 120U);
}

TEST(FaultTest, OpeningFailsCleanlyWhateverFails) {
  const Bytes bytes = bytesOf(TREE);
  const TemporaryFile file(bytes);
  const auto untouched = reinterpret_cast<Object*>(0x1234);
  const std::function<int32_t(Object**)> opens[] = {
      [&](Object** object) { return velmor_core_riff_open_file(file.path(), 1, object); },
      [&](Object** object) {
        return velmor_core_riff_open_buffer_ro(bytes.data(), bytes.size(), object);
      },
      [](Object** object) { return velmor_core_riff_open_cache(100, object); },
      [](Object** object) {  // no object without a name
        velmor_core_uuid_t uuid = {};
        velmor_core_uuid_generate_random(&uuid);
        return velmor_core_uuid_is_null(&uuid) ? -1 : velmor_core_riff_open_cache(0, object);
      }};
  for (const auto& open : opens) {
    forAllFaults([&](Call call, size_t nth, How how) {
      Object* object = untouched;
      faults::arm(call, nth, how);
      const int32_t status = open(&object);
      const bool fired = faults::disarm();
      // The first seek tells the size: a file that cannot seek is an empty tree.
      const bool harmless = how == How::SHORT_COUNTS || (call == Call::LSEEK && nth == 0);
      EXPECT_EQ(status == VELMOR_CORE_SUCCESS, !fired || harmless);
      if (status == VELMOR_CORE_SUCCESS) {
        velmor_core_riff_close(object);
      } else {
        EXPECT_EQ(object, untouched);
      }
      return fired;
    });
  }
}

TEST(PlatformFaultTest, WhatTheSystemDoesNotTellHasADefault) {
  faults::arm(Call::SYSCONF, 0, How::FAIL_ONCE);
  EXPECT_EQ(velmor_core_cpu_get_count(), 1U);
  faults::arm(Call::SYSINFO, 0, How::FAIL_ONCE);
  EXPECT_EQ(velmor_core_memory_get_physical_size(), 0U);
  EXPECT_TRUE(faults::disarm());
}

// Runs an edit of a file in a process that ends at its nth write. Returns whether it came to that.
bool killAtWrite(const char* command, const TemporaryFile& file, size_t nth) {
  const pid_t process = fork();
  if (process == 0) {
    const Bytes poured = bytesOf("JUNK:0 v:0 v:0 v:0 v:0");
    const Opened other = openBytes(poured);
    Object* object = nullptr;
    velmor_core_riff_open_file(file.path(), VELMOR_CORE_RIFF_READ_WRITE, &object);
    const auto edit = editOf(object, command, other.get());
    faults::arm(Call::WRITE, nth, How::END_PROCESS);
    edit();
    _exit(1);
  }
  int status = 0;
  EXPECT_EQ(waitpid(process, &status, 0), process);
  EXPECT_TRUE(WIFEXITED(status));
  return WEXITSTATUS(status) == 0;
}

// A cut leaves a file that is refused or can be walked and read; after safe edits it opens,
// wherever they are cut.
TEST(KilledTest, AFileIsRefusedOrReadWhereverAnEditIsCut) {
  for (const auto& [edit, safe] : SCENARIOS) {
    bool cut = true;
    for (size_t nth = 0; cut; ++nth) {
      SCOPED_TRACE(testing::Message() << edit << ", cut at write " << nth);
      const TemporaryFile file(bytesOf(TREE));
      cut = killAtWrite(edit, file, nth);
      const Bytes left = file.content();
      const Opened object = openBytes(left);
      EXPECT_TRUE(object || !safe);
      if (!object) continue;
      EXPECT_FALSE(pictureOf(object.get()).empty());
      if (nth == 0 && safe) {
        EXPECT_EQ(left, bytesOf(TREE));
      }
    }
  }
}

}  // namespace
