// Threads that share nothing but the library. Built with the thread sanitizer, too.

#include <velmor_core/velmor_core.h>

#include <thread>

#include "support/riff_support.h"

namespace {

void useEveryFamily(int thread) {
  const std::string digit = std::to_string(thread);
  const Bytes message(1000, static_cast<uint8_t>(thread));
  Bytes digest(32), again(32);
  velmor_core_hash_sha256(message.data(), message.size(), digest.data());
  velmor_core_uuid_t last = {}, next = {};
  for (int i = 0; i < 300; ++i) {
    velmor_core_init();
    double value = 0;
    EXPECT_TRUE(velmor_core_str_to_f64(("(" + digit + "+2)*3").c_str(), &value));
    EXPECT_EQ(value, (thread + 2) * 3.0);
    velmor_core_hash_sha256(message.data(), message.size(), again.data());
    EXPECT_EQ(again, digest);
    velmor_core_uuid_generate_random(&next);
    EXPECT_FALSE(velmor_core_uuid_compare_eq(&last, &next));
    last = next;
    velmor_core_fini();
  }
  for (const Kind kind : WRITABLE_KINDS) {
    const Store store(kind, "RIFF:g{ a:2 JUNK:40 }");
    for (int i = 0; i < 50; ++i) {
      EXPECT_TRUE(editOf(store.object(), "add g 3")() && editOf(store.object(), "recycle new")());
    }
    EXPECT_EQ(pictureOf(store.object()), "RIFF:g{ a:2 JUNK:40 }");
  }
}

TEST(ThreadsTest, ThreadsOfAllFamiliesDoNotDisturbEachOther) {
  std::vector<std::jthread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(useEveryFamily, i);
}

}  // namespace
