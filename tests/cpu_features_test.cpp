// Feature detection on processors that are described bit by bit.

#include "core/cpu_features.h"

#include <gtest/gtest.h>
#include <velmor_core/cpu.h>

#include <array>
#include <bit>
#include <map>
#include <utility>
#include <vector>

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

using R = CpuidResult;
using F = CpuFeatures;

struct FeatureBit {
  uint32_t leaf, subleaf;
  uint32_t R::*field;
  unsigned bit;
  bool F::*flag;
  bool (*query)();
};

const std::vector<FeatureBit> BITS = {
    {1, 0, &R::edx, 25, &F::sse, velmor_core_cpu_has_sse},
    {1, 0, &R::edx, 26, &F::sse2, velmor_core_cpu_has_sse2},
    {1, 0, &R::ecx, 0, &F::sse3, velmor_core_cpu_has_sse3},
    {1, 0, &R::ecx, 9, &F::ssse3, velmor_core_cpu_has_ssse3},
    {1, 0, &R::ecx, 12, &F::fma3, velmor_core_cpu_has_fma3},
    {1, 0, &R::ecx, 19, &F::sse41, velmor_core_cpu_has_sse41},
    {1, 0, &R::ecx, 20, &F::sse42, velmor_core_cpu_has_sse42},
    {1, 0, &R::ecx, 28, &F::avx, velmor_core_cpu_has_avx},
    {7, 0, &R::ebx, 5, &F::avx2, velmor_core_cpu_has_avx2},
    {7, 0, &R::ebx, 16, &F::avx512f, velmor_core_cpu_has_avx512f},
    {7, 0, &R::ebx, 17, &F::avx512dq, velmor_core_cpu_has_avx512dq},
    {7, 0, &R::ebx, 21, &F::avx512ifma, velmor_core_cpu_has_avx512ifma},
    {7, 0, &R::ebx, 26, &F::avx512pf, velmor_core_cpu_has_avx512pf},
    {7, 0, &R::ebx, 27, &F::avx512er, velmor_core_cpu_has_avx512er},
    {7, 0, &R::ebx, 28, &F::avx512cd, velmor_core_cpu_has_avx512cd},
    {7, 0, &R::ebx, 30, &F::avx512bw, velmor_core_cpu_has_avx512bw},
    {7, 0, &R::ebx, 31, &F::avx512vl, velmor_core_cpu_has_avx512vl},
    {7, 0, &R::edx, 2, &F::avx5124nniw, velmor_core_cpu_has_avx5124nniw},
    {7, 0, &R::edx, 3, &F::avx5124fmaps, velmor_core_cpu_has_avx5124fmaps},
    {7, 0, &R::ecx, 1, &F::avx512vbmi, velmor_core_cpu_has_avx512vbmi},
    {7, 0, &R::ecx, 6, &F::avx512vbmi2, velmor_core_cpu_has_avx512vbmi2},
    {7, 0, &R::ecx, 11, &F::avx512vnni, velmor_core_cpu_has_avx512vnni},
    {7, 0, &R::ecx, 12, &F::avx512bitalg, velmor_core_cpu_has_avx512bitalg},
    {7, 0, &R::ecx, 14, &F::avx512vpopcntdq, velmor_core_cpu_has_avx512vpopcntdq},
    {7, 1, &R::eax, 5, &F::avx512bf16, velmor_core_cpu_has_avx512bf16},
};

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
  for (const uint32_t xcr0 : {0x06, 0x66, 0xA6, 0xC6}) {
    EXPECT_EQ(detectCpuFeatures({}, fullProcessor(7, xcr0)), noZmm) << xcr0;
  }
  for (const uint32_t xcr0 : {0xE2, 0xE4}) {
    EXPECT_EQ(detectCpuFeatures({}, fullProcessor(7, xcr0)), noYmm) << xcr0;
  }
  RecordedProcessor withoutOsxsave = fullProcessor(7, ALL);
  withoutOsxsave.leaves[{1, 0}].ecx &= ~OSXSAVE;
  EXPECT_EQ(detectCpuFeatures({}, withoutOsxsave), noYmm);
}

TEST(CpuFeaturesTest, MissingLeavesLeaveTheirFlagsAsTheyWere) {
  EXPECT_EQ(detectCpuFeatures({}, fullProcessor(0, ALL)), CpuFeatures{});
  EXPECT_EQ(detectCpuFeatures(allDetectable(), fullProcessor(0, 0)), allDetectable());
  const CpuFeatures old = detectCpuFeatures({}, fullProcessor(6, ALL));
  EXPECT_TRUE(old.avx && old.fma3);
  EXPECT_FALSE(old.avx2 || old.avx512f || old.avx512bf16);
  EXPECT_EQ(detectCpuFeatures(allDetectable(), fullProcessor(6, ALL)), allDetectable());
}

}  // namespace
}  // namespace core
