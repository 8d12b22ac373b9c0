// Feature detection on processors that are described bit by bit.

#include "core/cpu_features.h"

#include <gtest/gtest.h>
#include <velmor_core/cpu.h>
#include <velmor_core/frame.h>

#include <array>
#include <bit>
#include <map>
#include <thread>
#include <utility>

#include "core/sha256_compress.h"

namespace core {

bool operator==(const CpuFeatures& a, const CpuFeatures& b) {
  using Flags = std::array<uint8_t, sizeof(CpuFeatures)>;
  return std::bit_cast<Flags>(a) == std::bit_cast<Flags>(b);
}

namespace {

// Answers from a table; leaves that are not in it read as zero.
class RecordedProcessor : public Processor {
 public:
  CpuidResult cpuid(uint32_t leaf, uint32_t subleaf) const override {
    const auto found = leaves.find({leaf, subleaf});
    return found == leaves.end() ? CpuidResult{} : found->second;
  }
  uint32_t xgetbv() const override {
    EXPECT_TRUE((cpuid(1, 0).ecx >> 27) & 1U) << "xgetbv faults without OSXSAVE";
    return xcr0;
  }
  std::map<std::pair<uint32_t, uint32_t>, CpuidResult> leaves;
  uint32_t xcr0 = 0;
};

constexpr uint32_t OSXSAVE = 1U << 27;
constexpr uint32_t ALL = 0xFFFF'FFFF;

// A processor with every bit of every leaf set, under a system that saves `xcr0`.
RecordedProcessor fullProcessor(uint32_t highestLeaf, uint32_t xcr0) {
  RecordedProcessor processor;
  processor.xcr0 = xcr0;
  processor.leaves[{0, 0}].eax = highestLeaf;
  processor.leaves[{1, 0}] = {ALL, ALL, ALL, ALL};
  processor.leaves[{7, 0}] = {ALL, ALL, ALL, ALL};
  processor.leaves[{7, 1}] = {ALL, ALL, ALL, ALL};
  return processor;
}

struct FeatureBit {
  uint32_t leaf, subleaf;
  uint32_t CpuidResult::*field;
  unsigned bit;
  bool CpuFeatures::*flag;
  bool (*query)();
};

#define FEATURE(leaf, subleaf, field, bit, name) \
  { leaf, subleaf, &CpuidResult::field, bit, &CpuFeatures::name, velmor_core_cpu_has_##name }
const FeatureBit BITS[] = {
    FEATURE(1, 0, edx, 25, sse),          FEATURE(1, 0, edx, 26, sse2),
    FEATURE(1, 0, ecx, 0, sse3),          FEATURE(1, 0, ecx, 9, ssse3),
    FEATURE(1, 0, ecx, 12, fma3),         FEATURE(1, 0, ecx, 19, sse41),
    FEATURE(1, 0, ecx, 20, sse42),        FEATURE(1, 0, ecx, 28, avx),
    FEATURE(7, 0, ebx, 5, avx2),          FEATURE(7, 0, ebx, 16, avx512f),
    FEATURE(7, 0, ebx, 17, avx512dq),     FEATURE(7, 0, ebx, 21, avx512ifma),
    FEATURE(7, 0, ebx, 26, avx512pf),     FEATURE(7, 0, ebx, 27, avx512er),
    FEATURE(7, 0, ebx, 28, avx512cd),     FEATURE(7, 0, ebx, 30, avx512bw),
    FEATURE(7, 0, ebx, 31, avx512vl),     FEATURE(7, 0, edx, 2, avx5124nniw),
    FEATURE(7, 0, edx, 3, avx5124fmaps),  FEATURE(7, 0, ecx, 1, avx512vbmi),
    FEATURE(7, 0, ecx, 6, avx512vbmi2),   FEATURE(7, 0, ecx, 11, avx512vnni),
    FEATURE(7, 0, ecx, 12, avx512bitalg), FEATURE(7, 0, ecx, 14, avx512vpopcntdq),
    FEATURE(7, 1, eax, 5, avx512bf16)};

CpuFeatures allDetectable() {
  CpuFeatures all;
  for (const FeatureBit& feature : BITS) all.*feature.flag = true;
  return all;
}

TEST(CpuFeaturesTest, EachFlagHasItsBitAndItsQuery) {
  for (const FeatureBit& feature : BITS) {
    RecordedProcessor processor;
    processor.xcr0 = ALL;
    processor.leaves[{0, 0}].eax = 7;
    processor.leaves[{1, 0}].ecx = OSXSAVE;
    processor.leaves[{feature.leaf, feature.subleaf}].*feature.field |= 1U << feature.bit;
    CpuFeatures expected;
    expected.*feature.flag = true;
    EXPECT_EQ(detectCpuFeatures({}, processor), expected)
        << "leaf " << feature.leaf << " bit " << feature.bit;
    cpuFeatures = expected;
    for (const FeatureBit& other : BITS) EXPECT_EQ(other.query(), &other == &feature);
  }
}

TEST(CpuFeaturesTest, SystemSupportDecidesOnTheWideRegisters) {
  const CpuFeatures all = allDetectable();
  CpuFeatures noZmm = all;
  noZmm.avx512f = noZmm.avx512bw = noZmm.avx512dq = false;
  CpuFeatures noYmm = noZmm;
  noYmm.avx = noYmm.avx2 = noYmm.fma3 = false;
  EXPECT_EQ(detectCpuFeatures({}, fullProcessor(7, 0xE6)), all);
  EXPECT_EQ(detectCpuFeatures({}, fullProcessor(32, 0xE7)), all);
  for (const uint32_t xcr0 : {0x06U, 0x66U, 0xA6U, 0xC6U}) {
    EXPECT_EQ(detectCpuFeatures({}, fullProcessor(7, xcr0)), noZmm) << xcr0;
  }
  for (const uint32_t xcr0 : {0xE2U, 0xE4U}) {
    EXPECT_EQ(detectCpuFeatures({}, fullProcessor(7, xcr0)), noYmm) << xcr0;
  }
  RecordedProcessor withoutOsxsave = fullProcessor(7, ALL);
  withoutOsxsave.leaves[{1, 0}].ecx &= ~OSXSAVE;
  EXPECT_EQ(detectCpuFeatures({}, withoutOsxsave), noYmm);
}

TEST(CpuFeaturesTest, MissingLeavesLeaveTheirFlagsAsTheyWere) {
  EXPECT_EQ(detectCpuFeatures(allDetectable(), fullProcessor(0, 0)), allDetectable());
  const CpuFeatures old = detectCpuFeatures({}, fullProcessor(6, ALL));
  EXPECT_TRUE(old.avx && old.fma3);
  EXPECT_FALSE(old.avx2 || old.avx512f || old.avx512bf16);
  EXPECT_EQ(detectCpuFeatures(allDetectable(), fullProcessor(6, ALL)), allDetectable());
}

TEST(InitTest, DetectsFeaturesWhenTheCountLeavesZeroAndOnlyThen) {
  const auto detects = [] {
    cpuFeatures = {};
    velmor_core_init();
    return cpuFeatures.sse2;
  };
  EXPECT_TRUE(detects());
  EXPECT_FALSE(detects());
  const auto use = [] {
    for (int i = 0; i < 5'000'000; ++i) velmor_core_init();
    for (int i = 0; i < 5'000'000; ++i) velmor_core_fini();
  };
  std::thread other(use);
  use();
  other.join();
  velmor_core_fini();
  velmor_core_fini();
  EXPECT_TRUE(detects()) << "calls have been lost";
  velmor_core_fini();
  velmor_core_fini();  // one too many: -1
  EXPECT_FALSE(detects());
}

TEST(ShaExtensionsTest, NeedThreeFeatures) {
  EXPECT_TRUE(hasShaExtensions(fullProcessor(7, 0)));
  EXPECT_FALSE(hasShaExtensions(fullProcessor(6, 0)));
  RecordedProcessor processor = fullProcessor(7, 0);
  for (auto [field, bit] : {std::pair(&processor.leaves[{1, 0}].ecx, 9),
                            {&processor.leaves[{1, 0}].ecx, 19},
                            {&processor.leaves[{7, 0}].ebx, 29}}) {
    *field = ~(1U << bit);
    EXPECT_FALSE(hasShaExtensions(processor)) << bit;
    *field = 1U << 9 | 1U << 19 | 1U << 29;
    EXPECT_TRUE(hasShaExtensions(processor)) << bit;
  }
}

}  // namespace
}  // namespace core
