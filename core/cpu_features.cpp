// Detects the processor's features. The bits are those of the CPUID and XGETBV instructions in the
// processor vendors' manuals.

#include "core/cpu_features.h"

#include <cpuid.h>

namespace core {

CpuFeatures cpuFeatures;

namespace {

constexpr uint32_t YMM_STATE = 0x06;  // XCR0: SSE and AVX registers
constexpr uint32_t ZMM_STATE = 0xE6;  // XCR0: these, opmask and both ZMM states

constexpr bool bit(uint32_t value, unsigned index) { return ((value >> index) & 1U) != 0; }

void readLeaf1(CpuFeatures& features, const CpuidResult& leaf) {
  features.sse = bit(leaf.edx, 25);
  features.sse2 = bit(leaf.edx, 26);
  features.sse3 = bit(leaf.ecx, 0);
  features.ssse3 = bit(leaf.ecx, 9);
  features.fma3 = bit(leaf.ecx, 12);
  features.sse41 = bit(leaf.ecx, 19);
  features.sse42 = bit(leaf.ecx, 20);
  features.avx = bit(leaf.ecx, 28);
}

void readLeaf7(CpuFeatures& features, const CpuidResult& leaf, const CpuidResult& subleaf1) {
  features.avx2 = bit(leaf.ebx, 5);
  features.avx512f = bit(leaf.ebx, 16);
  features.avx512dq = bit(leaf.ebx, 17);
  features.avx512ifma = bit(leaf.ebx, 21);
  features.avx512pf = bit(leaf.ebx, 26);
  features.avx512er = bit(leaf.ebx, 27);
  features.avx512cd = bit(leaf.ebx, 28);
  features.avx512bw = bit(leaf.ebx, 30);
  features.avx512vl = bit(leaf.ebx, 31);
  features.avx512vbmi = bit(leaf.ecx, 1);
  features.avx512vbmi2 = bit(leaf.ecx, 6);
  features.avx512vnni = bit(leaf.ecx, 11);
  features.avx512bitalg = bit(leaf.ecx, 12);
  features.avx512vpopcntdq = bit(leaf.ecx, 14);
  features.avx5124nniw = bit(leaf.edx, 2);
  features.avx5124fmaps = bit(leaf.edx, 3);
  features.avx512bf16 = bit(subleaf1.eax, 5);
}

// Clears the features whose registers the operating system does not save on a task switch. Of the
// AVX-512 flags, only avx512f, avx512bw and avx512dq are cleared. The others stay as the processor
// reports them: none of them can be used without avx512f.
void applySystemSupport(CpuFeatures& features, bool ymm, bool zmm) {
  if (!ymm) {
    features.avx = false;
    features.avx2 = false;
    features.fma3 = false;
  }
  if (!ymm || !zmm) {
    features.avx512f = false;
    features.avx512bw = false;
    features.avx512dq = false;
  }
}

class ThisProcessor final : public Processor {
 public:
  CpuidResult cpuid(uint32_t leaf, uint32_t subleaf) const override {
    CpuidResult result;
    __cpuid_count(leaf, subleaf, result.eax, result.ebx, result.ecx, result.edx);
    return result;
  }
  // Inline assembly, because the compiler's intrinsic would need a target attribute for XSAVE.
  // Volatile, so that the compiler does not run it before the check of OSXSAVE: without OSXSAVE it
  // raises a fault.
  uint32_t xgetbv() const override {
    uint32_t low = 0;
    uint32_t high = 0;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
  }
};

}  // namespace

CpuFeatures detectCpuFeatures(CpuFeatures known, const Processor& processor) {
  const uint32_t highestLeaf = processor.cpuid(0, 0).eax;
  if (highestLeaf == 0) return known;

  const CpuidResult leaf1 = processor.cpuid(1, 0);
  readLeaf1(known, leaf1);
  const bool osxsave = bit(leaf1.ecx, 27);
  const uint32_t savedState = osxsave ? processor.xgetbv() : 0;
  if (highestLeaf >= 7) {
    const CpuidResult leaf7 = processor.cpuid(7, 0);
    readLeaf7(known, leaf7, processor.cpuid(7, 1));
  }
  applySystemSupport(known, (savedState & YMM_STATE) == YMM_STATE,
                     (savedState & ZMM_STATE) == ZMM_STATE);
  return known;
}

const Processor& getThisProcessor() {
  static const ThisProcessor processor;
  return processor;
}

void detectCpuFeatures() { cpuFeatures = detectCpuFeatures(cpuFeatures, getThisProcessor()); }

}  // namespace core
