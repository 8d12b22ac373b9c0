// Threads that share nothing but the library. Runs under the thread sanitizer, too.

#include <gtest/gtest.h>
#include <velmor_core/velmor_core.h>

#include <array>
#include <string>
#include <thread>
#include <vector>

namespace {

void useEveryFamily(uint32_t thread) {
  const std::string text = "(" + std::to_string(thread) + "+2)*3";
  std::array<uint8_t, VELMOR_CORE_HASH_SHA256_SIZE> digest = {}, again = {};
  velmor_core_hash_sha256(text.data(), text.size(), digest.data());
  velmor_core_uuid_t last = {}, next = {};
  for (int i = 0; i < 300; ++i) {
    velmor_core_init();
    double value = 0;
    EXPECT_TRUE(velmor_core_str_to_f64(text.c_str(), &value) && value == (thread + 2) * 3);
    velmor_core_hash_sha256(text.data(), text.size(), again.data());
    EXPECT_EQ(again, digest);
    velmor_core_uuid_generate_random(&next);
    EXPECT_FALSE(velmor_core_uuid_compare_eq(&last, &next));
    last = next;
    velmor_core_riff_object_t* cache = nullptr;
    velmor_core_riff_open_cache(0, &cache);
    velmor_core_riff_chunk_t* root = velmor_core_riff_object_get_virtual_root_chunk(cache);
    EXPECT_NE(velmor_core_riff_chunk_add_data_chunk(root, thread, text.data(), 5), nullptr);
    velmor_core_riff_close(cache);
    velmor_core_fini();
  }
}

TEST(ThreadsTest, ThreadsOfAllFamiliesDoNotDisturbEachOther) {
  std::vector<std::jthread> threads;
  for (const uint32_t thread : {0U, 1U, 2U, 3U}) threads.emplace_back(useEveryFamily, thread);
}

}  // namespace
