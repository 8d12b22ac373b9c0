// Every allocation and every system call fails in turn, in every kind of edit, on every kind of
// object: the result tells, nothing leaks, and the object can be walked, edited and closed.

#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <set>

#include "support/faults.h"
#include "support/riff_support.h"

namespace {

using faults::Call;
using faults::How;

const char* const TREE = "RIFF:g{ a:2 LIST:l{ JUNK:12 x:3 JUNK:40 y:5 } JUNK:5 z:1 } JUNK:20";

// Made before the first fault.
const Bytes NEW_DATA = dataOf(200);
const Bytes OTHER = bytesOf("JUNK:2 v:3");

struct Scenario {
  const char* name;
  std::function<bool(Chunk* root, Object* other)> run;
};

Chunk* child(Chunk* group, uint32_t index) {
  return velmor_core_riff_chunk_get_child(group, index);
}
Chunk* g(Chunk* root) { return child(root, 0); }
Chunk* l(Chunk* root) { return child(g(root), 1); }

bool recycled(Chunk* chunk) {
  Chunk* handle = chunk;
  const bool done = velmor_core_riff_chunk_recycle(&handle) == VELMOR_CORE_SUCCESS;
  EXPECT_TRUE(done || handle == chunk);
  return done;
}

bool added(Chunk* group, uint32_t size) {
  return velmor_core_riff_chunk_add_data_chunk(group, idOf("new"), NEW_DATA.data(), size) !=
         nullptr;
}

const Scenario SCENARIOS[] = {
    {"get data",
     [](Chunk* r, Object*) {
       uint8_t out[3];
       return velmor_core_riff_chunk_get_data(child(l(r), 1), out, 3, 0) == 0;
     }},
    {"set data",
     [](Chunk* r, Object*) {
       return velmor_core_riff_chunk_set_data(child(l(r), 1), "abc", 3, 0) == 0;
     }},
    {"grow", [](Chunk* r,
                Object*) { return velmor_core_riff_chunk_set_data_size(child(l(r), 1), 70) == 0; }},
    {"cut", [](Chunk* r,
               Object*) { return velmor_core_riff_chunk_set_data_size(child(l(r), 1), 0) == 0; }},
    {"append", [](Chunk* r, Object*) { return added(l(r), 100); }},
    {"append empty", [](Chunk* r, Object*) { return added(l(r), 0); }},
    {"fill exactly", [](Chunk* r, Object*) { return added(l(r), 11); }},
    {"split", [](Chunk* r, Object*) { return added(l(r), 16); }},
    {"grow the trailing free chunk", [](Chunk* r, Object*) { return added(r, 99); }},
    {"add a group",
     [](Chunk* r, Object*) {
       return velmor_core_riff_chunk_add_group_chunk(g(r), idOf("LIST"), idOf("m")) != nullptr;
     }},
    {"copy inside",
     [](Chunk* r, Object*) { return velmor_core_riff_chunk_add_chunk(r, g(r)) != nullptr; }},
    {"copy from another",
     [](Chunk* r, Object* other) {
       return velmor_core_riff_chunk_add_chunk(
                  l(r), velmor_core_riff_object_get_root_chunk(other)) != nullptr;
     }},
    {"pour behind",
     [](Chunk* r, Object* other) {
       return velmor_core_riff_chunk_add_cache(g(r), other) != nullptr;
     }},
    {"pour into free space",
     [](Chunk* r, Object* other) {
       return velmor_core_riff_chunk_add_cache(l(r), other) != nullptr;
     }},
    {"recycle data", [](Chunk* r, Object*) { return recycled(child(g(r), 0)); }},
    {"recycle a group", [](Chunk* r, Object*) { return recycled(g(r)); }},
    {"recycle between free chunks", [](Chunk* r, Object*) { return recycled(child(l(r), 1)); }},
    {"recycle before a free chunk", [](Chunk* r, Object*) { return recycled(l(r)); }},
    {"remove",
     [](Chunk* r, Object*) { return velmor_core_riff_chunk_remove(child(l(r), 1)) == 0; }},
    {"remove a group", [](Chunk* r, Object*) { return velmor_core_riff_chunk_remove(g(r)) == 0; }},
};

// Runs a scenario with the nth call of a kind failing. Returns whether that call came.
bool runWithFault(const Scenario& scenario, Kind kind, Call call, size_t nth, How how) {
  Store store(kind, bytesOf(TREE));
  const Opened other = openBytes(OTHER);
  Chunk* root = velmor_core_riff_object_get_virtual_root_chunk(store.object());
  const Bytes before = store.content();

  faults::arm(call, nth, how);
  const bool done = scenario.run(root, other.get());
  const bool fired = faults::disarm();

  const bool harmless = how == How::SHORT_COUNTS || call == Call::NEW;
  EXPECT_TRUE(done ? !fired || harmless : fired);
  const std::string picture = pictureOf(store.object());
  if (done && how == How::SHORT_COUNTS) {
    EXPECT_EQ(pictureOf(openBytes(store.content()).get()), picture);
  }
  if (!done && call == Call::FTRUNCATE && how == How::FAIL_ONCE) {
    const bool growing = velmor_core_riff_cache_get_size(store.object()) == before.size();
    EXPECT_TRUE(growing);
    EXPECT_EQ(picture, TREE);
  }
  if (!done && (call == Call::NEW || call == Call::REALLOC) && nth == 0) {
    EXPECT_EQ(picture, TREE);
    EXPECT_EQ(store.content(), before);
  }
  // Whatever it is like now, it can be taken apart.
  while (velmor_core_riff_chunk_get_child_count(root) > 0 &&
         velmor_core_riff_chunk_remove(child(root, 0)) == VELMOR_CORE_SUCCESS) {
  }
  return fired;
}

class FaultTest : public testing::TestWithParam<Kind> {};
INSTANTIATE_TEST_SUITE_P(Kinds, FaultTest, ALL_KINDS, testing::PrintToStringParamName());

TEST_P(FaultTest, NoEditBreaksOrLeaksWhateverFails) {
  size_t faultsMet = 0;
  for (const Scenario& scenario : SCENARIOS) {
    for (const Call call : faults::ALL_CALLS) {
      for (const How how :
           {How::FAIL_ONCE, How::FAIL_FROM_HERE_ON, How::RETURN_ZERO, How::SHORT_COUNTS}) {
        SCOPED_TRACE(testing::Message() << scenario.name << ", call " << static_cast<int>(call)
                                        << ", how " << static_cast<int>(how));
        const bool transfer = call == Call::READ || call == Call::WRITE;
        if (!transfer && how > How::FAIL_FROM_HERE_ON) continue;
        bool fired = true;
        for (size_t nth = 0; fired; ++nth) {
          const size_t allocations = faults::liveAllocations();
          const size_t descriptors = faults::openDescriptors();
          fired = runWithFault(scenario, GetParam(), call, nth, how);
          EXPECT_EQ(faults::liveAllocations(), allocations) << nth;
          EXPECT_EQ(faults::openDescriptors(), descriptors) << nth;
          faultsMet += fired ? 1 : 0;
        }
      }
    }
  }
  EXPECT_GT(faultsMet, GetParam() == Kind::FILE ? 500U : 20U);
}

TEST(FaultTest, OpeningFailsCleanlyWhateverFails) {
  const Bytes bytes = bytesOf(TREE);
  const TemporaryFile file(bytes);
  const std::string path = file.path();
  const auto untouched = reinterpret_cast<Object*>(0x1234);
  const std::function<int32_t(Object**)> opens[] = {
      [&](Object** object) { return velmor_core_riff_open_file(path.c_str(), 1, object); },
      [&](Object** object) {
        return velmor_core_riff_open_buffer_ro(bytes.data(), bytes.size(), object);
      },
      [](Object** object) { return velmor_core_riff_open_cache(100, object); }};
  for (const auto& open : opens) {
    for (const Call call : faults::ALL_CALLS) {
      for (const How how : {How::FAIL_ONCE, How::FAIL_FROM_HERE_ON}) {
        bool fired = true;
        for (size_t nth = 0; fired; ++nth) {
          SCOPED_TRACE(testing::Message() << "call " << static_cast<int>(call) << ", " << nth);
          const size_t allocations = faults::liveAllocations();
          const size_t descriptors = faults::openDescriptors();
          Object* object = untouched;
          faults::arm(call, nth, how);
          const int32_t status = open(&object);
          fired = faults::disarm();
          if (status == VELMOR_CORE_SUCCESS) {
            velmor_core_riff_close(object);
          } else {
            EXPECT_TRUE(fired);
            EXPECT_EQ(object, untouched);
          }
          // The first seek tells the size: a file that cannot seek is an empty tree.
          const bool harmless = call == Call::LSEEK && nth == 0;
          EXPECT_EQ(status == VELMOR_CORE_SUCCESS, !fired || harmless);
          EXPECT_EQ(faults::liveAllocations(), allocations);
          EXPECT_EQ(faults::openDescriptors(), descriptors);
        }
      }
    }
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
bool killAtWrite(const Scenario& scenario, const TemporaryFile& file, size_t nth) {
  const pid_t process = fork();
  if (process == 0) {
    const Opened other = openBytes(OTHER);
    Object* object = nullptr;
    velmor_core_riff_open_file(file.path(), VELMOR_CORE_RIFF_READ_WRITE, &object);
    faults::arm(Call::WRITE, nth, How::END_PROCESS);
    scenario.run(velmor_core_riff_object_get_virtual_root_chunk(object), other.get());
    _exit(1);
  }
  int status = 0;
  EXPECT_EQ(waitpid(process, &status, 0), process);
  EXPECT_TRUE(WIFEXITED(status));
  return WEXITSTATUS(status) == 0;
}

// A cut leaves a file that is refused or can be walked and read. Edits that move nothing and keep
// all boundaries of chunks in place leave one that opens, wherever they are cut.
TEST(KilledTest, AFileIsRefusedOrReadWhereverAnEditIsCut) {
  const std::set<std::string> safe = {"set data",
                                      "fill exactly",
                                      "recycle data",
                                      "recycle a group",
                                      "recycle between free chunks",
                                      "recycle before a free chunk"};
  for (const Scenario& scenario : SCENARIOS) {
    bool cut = true;
    for (size_t nth = 0; cut; ++nth) {
      SCOPED_TRACE(testing::Message() << scenario.name << ", cut at write " << nth);
      const TemporaryFile file(bytesOf(TREE));
      cut = killAtWrite(scenario, file, nth);
      const Bytes left = file.content();
      const Opened object = openBytes(left);
      EXPECT_TRUE(object || !safe.count(scenario.name));
      if (!object) continue;
      EXPECT_FALSE(pictureOf(object.get()).empty());
      if (nth == 0 && safe.count(scenario.name)) {
        EXPECT_EQ(left, bytesOf(TREE));
      }
    }
  }
}

}  // namespace
