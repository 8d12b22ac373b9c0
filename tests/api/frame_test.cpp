// Init count, version and platform facts through the C interface.

#include <gtest/gtest.h>
#include <sys/sysinfo.h>
#include <unistd.h>
#include <velmor_core/velmor_core.h>

namespace {

TEST(VersionTest, IsOneConstantRecord) {
  const velmor_core_version_t* version = velmor_core_get_version();
  EXPECT_EQ(version->version, 0x0001000000100000U);
  EXPECT_STREQ(version->extra, "");
  EXPECT_EQ(velmor_core_get_version(), version);
}

// Every x86-64 processor has SSE2. ctest runs each test in a process of its own, so the flags are
// those of a freshly loaded library.
TEST(InitTest, DetectsFeaturesForGood) {
  EXPECT_FALSE(velmor_core_cpu_has_sse2());
  velmor_core_init();
  EXPECT_TRUE(velmor_core_cpu_has_sse2());
  EXPECT_FALSE(velmor_core_cpu_has_neon() || velmor_core_cpu_has_avx512fp16());
  velmor_core_fini();
  EXPECT_TRUE(velmor_core_cpu_has_sse2());
}

TEST(PlatformTest, TellsWhatTheSystemTells) {
  EXPECT_EQ(velmor_core_cpu_get_count(), sysconf(_SC_NPROCESSORS_ONLN));
  struct sysinfo info = {};
  ASSERT_EQ(sysinfo(&info), 0);
  EXPECT_EQ(velmor_core_memory_get_physical_size(), uint64_t{info.totalram} * info.mem_unit);
}

}  // namespace
