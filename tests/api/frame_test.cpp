// Init count, version and platform facts through the C interface.

#include <gtest/gtest.h>
#include <velmor_core/velmor_core.h>

namespace {

TEST(VersionTest, IsOneConstantRecord) {
  const velmor_core_version_t* version = velmor_core_get_version();
  EXPECT_EQ(version->version, 0x0001000000100000U);
  EXPECT_STREQ(version->extra, "");
  EXPECT_EQ(velmor_core_get_version(), version);
}

// Every x86-64 processor has SSE2. ctest runs each test in its own process, so the library has
// just been loaded.
TEST(InitTest, FeaturesAreKnownFromTheFirstInitOn) {
  EXPECT_FALSE(velmor_core_cpu_has_sse2());
  velmor_core_init();
  velmor_core_fini();
  EXPECT_TRUE(velmor_core_cpu_has_sse2());
  EXPECT_FALSE(velmor_core_cpu_has_neon() || velmor_core_cpu_has_avx512fp16());
}

TEST(PlatformTest, FactsArePlausible) {
  EXPECT_GT(velmor_core_memory_get_physical_size(), 64U << 20);
  EXPECT_GE(velmor_core_cpu_get_count(), 1U);
}

}  // namespace
