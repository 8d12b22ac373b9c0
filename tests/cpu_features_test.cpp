// Feature detection on processors that are described bit by bit.

#include "core/cpu_features.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <map>
#include <string>
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

CpuFeatures allDetectable() {
  CpuFeatures all;
  for (bool CpuFeatures::*flag : {&CpuFeatures::sse,
                                  &CpuFeatures::sse2,
                                  &CpuFeatures::sse3,
                                  &CpuFeatures::ssse3,
                                  &CpuFeatures::sse41,
                                  &CpuFeatures::sse42,
                                  &CpuFeatures::avx,
                                  &CpuFeatures::avx2,
                                  &CpuFeatures::avx512f,
                                  &CpuFeatures::avx512dq,
                                  &CpuFeatures::avx512ifma,
                                  &CpuFeatures::avx512pf,
                                  &CpuFeatures::avx512er,
                                  &CpuFeatures::avx512cd,
                                  &CpuFeatures::avx512bw,
                                  &CpuFeatures::avx512vl,
                                  &CpuFeatures::avx5124nniw,
                                  &CpuFeatures::avx5124fmaps,
                                  &CpuFeatures::avx512vbmi,
                                  &CpuFeatures::avx512vbmi2,
                                  &CpuFeatures::avx512vnni,
                                  &CpuFeatures::avx512bitalg,
                                  &CpuFeatures::avx512vpopcntdq,
                                  &CpuFeatures::avx512bf16,
                                  &CpuFeatures::fma3}) {
    all.*flag = true;
  }
  return all;
}

struct FeatureBit {
  uint32_t leaf, subleaf;
  uint32_t CpuidResult::*field;
  unsigned bit;
  bool CpuFeatures::*flag;
};

TEST(CpuFeaturesTest, EachFlagHasItsBit) {
  using R = CpuidResult;
  using F = CpuFeatures;
  const std::vector<FeatureBit> bits = {
      {1, 0, &R::edx, 25, &F::sse},          {1, 0, &R::edx, 26, &F::sse2},
      {1, 0, &R::ecx, 0, &F::sse3},          {1, 0, &R::ecx, 9, &F::ssse3},
      {1, 0, &R::ecx, 12, &F::fma3},         {1, 0, &R::ecx, 19, &F::sse41},
      {1, 0, &R::ecx, 20, &F::sse42},        {1, 0, &R::ecx, 28, &F::avx},
      {7, 0, &R::ebx, 5, &F::avx2},          {7, 0, &R::ebx, 16, &F::avx512f},
      {7, 0, &R::ebx, 17, &F::avx512dq},     {7, 0, &R::ebx, 21, &F::avx512ifma},
      {7, 0, &R::ebx, 26, &F::avx512pf},     {7, 0, &R::ebx, 27, &F::avx512er},
      {7, 0, &R::ebx, 28, &F::avx512cd},     {7, 0, &R::ebx, 30, &F::avx512bw},
      {7, 0, &R::ebx, 31, &F::avx512vl},     {7, 0, &R::edx, 2, &F::avx5124nniw},
      {7, 0, &R::edx, 3, &F::avx5124fmaps},  {7, 0, &R::ecx, 1, &F::avx512vbmi},
      {7, 0, &R::ecx, 6, &F::avx512vbmi2},   {7, 0, &R::ecx, 11, &F::avx512vnni},
      {7, 0, &R::ecx, 12, &F::avx512bitalg}, {7, 0, &R::ecx, 14, &F::avx512vpopcntdq},
      {7, 1, &R::eax, 5, &F::avx512bf16},
  };
  for (const FeatureBit& feature : bits) {
    SCOPED_TRACE(testing::Message() << "leaf " << feature.leaf << " bit " << feature.bit);
    RecordedProcessor processor;
    processor.xcr0 = ALL;
    processor.leaves[{0, 0}].eax = 7;
    processor.leaves[{1, 0}].ecx = OSXSAVE;
    processor.leaves[{feature.leaf, feature.subleaf}].*feature.field |= 1U << feature.bit;
    CpuFeatures expected;
    expected.*feature.flag = true;
    EXPECT_EQ(detectCpuFeatures({}, processor), expected);
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
  EXPECT_EQ(detectCpuFeatures({}, fullProcessor(7, 0x06)), noZmm);
  EXPECT_EQ(detectCpuFeatures({}, fullProcessor(7, 0xC6)), noZmm);
  EXPECT_EQ(detectCpuFeatures({}, fullProcessor(7, 0xE2)), noYmm);
  EXPECT_EQ(detectCpuFeatures({}, fullProcessor(7, 0xE4)), noYmm);

  RecordedProcessor withoutOsxsave = fullProcessor(7, ALL);
  withoutOsxsave.leaves[{1, 0}].ecx &= ~OSXSAVE;
  EXPECT_EQ(detectCpuFeatures({}, withoutOsxsave), noYmm);
}

TEST(CpuFeaturesTest, MissingLeavesLeaveTheirFlagsAsTheyWere) {
  EXPECT_EQ(detectCpuFeatures({}, fullProcessor(0, ALL)), CpuFeatures{});
  EXPECT_EQ(detectCpuFeatures(allDetectable(), fullProcessor(0, ALL)), allDetectable());
  const CpuFeatures old = detectCpuFeatures({}, fullProcessor(6, ALL));
  EXPECT_TRUE(old.avx && old.fma3);
  EXPECT_FALSE(old.avx2 || old.avx512f || old.avx512bf16);
  EXPECT_EQ(detectCpuFeatures(allDetectable(), fullProcessor(6, ALL)), allDetectable());
}

}  // namespace
}  // namespace core
