// The instruction-set extensions that the processor offers, detected with cpuid and xgetbv.

#ifndef CORE_CPU_FEATURES_H
#define CORE_CPU_FEATURES_H

#include <cstdint>

namespace core {

// avx512fp16 is never set: detection does not query its bit. neon belongs to Arm.
struct CpuFeatures {
  bool sse = false;
  bool sse2 = false;
  bool sse3 = false;
  bool ssse3 = false;
  bool sse41 = false;
  bool sse42 = false;
  bool avx = false;
  bool avx2 = false;
  bool avx512f = false;
  bool avx512dq = false;
  bool avx512ifma = false;
  bool avx512pf = false;
  bool avx512er = false;
  bool avx512cd = false;
  bool avx512bw = false;
  bool avx512vl = false;
  bool avx5124nniw = false;
  bool avx5124fmaps = false;
  bool avx512fp16 = false;
  bool avx512vbmi = false;
  bool avx512vbmi2 = false;
  bool avx512vnni = false;
  bool avx512bitalg = false;
  bool avx512vpopcntdq = false;
  bool avx512bf16 = false;
  bool fma3 = false;
  bool neon = false;
};

// All false until the first detection. Only detectCpuFeatures() writes it, with plain stores. So
// other threads may read it only after the first call of velmor_core_init() has returned.
extern CpuFeatures cpuFeatures;

struct CpuidResult {
  uint32_t eax = 0;
  uint32_t ebx = 0;
  uint32_t ecx = 0;
  uint32_t edx = 0;
};

// The two instructions that detection uses. Tests derive simulated processors from this class.
class Processor {
 public:
  virtual ~Processor() = default;
  virtual CpuidResult cpuid(uint32_t leaf, uint32_t subleaf) const = 0;
  // The low half of XCR0: the register states that the operating system saves. Raises an
  // invalid-opcode fault if leaf 1 does not report OSXSAVE.
  virtual uint32_t xgetbv() const = 0;
};

// The processor that runs this code.
const Processor& getThisProcessor();

// Returns `known` with the processor's features in it. If the processor lacks leaf 1, all flags
// stay as they are. If it has leaf 1 but not leaf 7, the flags of leaf 7 stay as they are, with one
// exception: avx2, avx512f, avx512bw and avx512dq are cleared if the system does not save their
// registers.
CpuFeatures detectCpuFeatures(CpuFeatures known, const Processor& processor);

// Detects the features of the processor that runs this code and stores them in cpuFeatures.
void detectCpuFeatures();

}  // namespace core

#endif
