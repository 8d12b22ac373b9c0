// Feature detection on simulated processors.

#include "core/cpu_features.h"

#include <gtest/gtest.h>
#include <velmor_core/cpu.h>
#include <velmor_core/frame.h>

#include <map>
#include <string>
#include <utility>

#include "core/sha256_compress.h"

namespace core {
namespace {

using namespace std::string_literals;

// Answers CPUID from a table. Leaves that are not in the table are 0.
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

// A processor with every bit set. The system saves the registers whose bits are set in `xcr0`.
RecordedProcessor fullProcessor(uint32_t highestLeaf, uint32_t xcr0) {
  RecordedProcessor processor;
  processor.xcr0 = xcr0;
  const CpuidResult all = {ALL, ALL, ALL, ALL};
  processor.leaves = {{{1, 0}, all}, {{7, 0}, all}, {{7, 1}, all}};
  processor.leaves[{0, 0}].eax = highestLeaf;
  return processor;
}

struct FeatureBit {
  uint32_t leaf, subleaf;
  uint32_t CpuidResult::*field;
  unsigned bit;
  bool (*query)();
  const char* name;
};

#define FEATURE(leaf, subleaf, field, bit, name) \
  { leaf, subleaf, &CpuidResult::field, bit, velmor_core_cpu_has_##name, #name }
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

TEST(CpuFeaturesTest, EachFlagHasItsBitAndItsQuery) {
  for (const FeatureBit& feature : BITS) {
    RecordedProcessor processor;
    processor.xcr0 = ALL;
    processor.leaves[{0, 0}].eax = 7;
    processor.leaves[{1, 0}].ecx = OSXSAVE;
    processor.leaves[{feature.leaf, feature.subleaf}].*feature.field |= 1U << feature.bit;
    cpuFeatures = detectCpuFeatures({}, processor);
    for (const FeatureBit& other : BITS) {
      EXPECT_EQ(other.query(), &other == &feature) << feature.leaf << ", bit " << feature.bit;
    }
  }
}

// The names of the features that are missing from the given ones.
std::string missing(const CpuFeatures& features) {
  cpuFeatures = features;
  std::string names;
  for (const FeatureBit& feature : BITS) names += feature.query() ? "" : feature.name + " "s;
  return names;
}

TEST(CpuFeaturesTest, TheSystemHasToSaveTheWideRegisters) {
  const std::string zmm = "avx512f avx512dq avx512bw ", ymm = "fma3 avx avx2 " + zmm;
  const std::multimap<std::string, uint32_t> systems = {{"", 0xE6},  {"", 0xE7},  {zmm, 0x06},
                                                        {zmm, 0x66}, {zmm, 0xA6}, {zmm, 0xC6},
                                                        {ymm, 0xE2}, {ymm, 0xE4}};
  for (const auto& [expected, xcr0] : systems) {
    EXPECT_EQ(missing(detectCpuFeatures({}, fullProcessor(7, xcr0))), expected) << xcr0;
  }
  RecordedProcessor withoutOsxsave = fullProcessor(7, ALL);
  withoutOsxsave.leaves[{1, 0}].ecx &= ~OSXSAVE;
  EXPECT_EQ(missing(detectCpuFeatures({}, withoutOsxsave)), ymm);
}

TEST(CpuFeaturesTest, MissingLeavesLeaveTheirFlagsAsTheyWere) {
  const CpuFeatures all = detectCpuFeatures({}, fullProcessor(32, ALL));
  EXPECT_EQ(missing(detectCpuFeatures(all, fullProcessor(0, 0))), "");
  EXPECT_EQ(missing(detectCpuFeatures(all, fullProcessor(6, ALL))), "");
  std::string inLeaf7;
  for (const FeatureBit& feature : BITS) inLeaf7 += feature.leaf == 7 ? feature.name + " "s : "";
  EXPECT_EQ(missing(detectCpuFeatures({}, fullProcessor(6, ALL))), inLeaf7);
}

TEST(InitTest, DetectsFeaturesWhenTheCountLeavesZeroAndOnlyThen) {
  const auto detects = [] {
    cpuFeatures = {};
    velmor_core_init();
    return cpuFeatures.sse2;
  };
  EXPECT_TRUE(detects());
  EXPECT_FALSE(detects());
  for (int i = 0; i < 3; ++i) velmor_core_fini();  // one too many: -1
  EXPECT_FALSE(detects());
}

TEST(ShaExtensionsTest, NeedThreeFeatures) {
  RecordedProcessor processor;
  processor.leaves = {
      {{0, 0}, {.eax = 7}}, {{1, 0}, {.ecx = 1U << 9 | 1U << 19}}, {{7, 0}, {.ebx = 1U << 29}}};
  EXPECT_TRUE(hasShaExtensions(processor));
  for (const auto& [leaf, without] : std::multimap<uint32_t, CpuidResult>{
           {0, {.eax = 6}}, {1, {.ecx = 1U << 9}}, {1, {.ecx = 1U << 19}}, {7, {}}}) {
    RecordedProcessor lesser = processor;
    lesser.leaves[{leaf, 0}] = without;
    EXPECT_FALSE(hasShaExtensions(lesser)) << leaf;
  }
}

}  // namespace
}  // namespace core
