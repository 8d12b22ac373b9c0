// The C functions of the cpu family.

#include <velmor_core/cpu.h>

#include "core/cpu_features.h"
#include "core/platform.h"

bool velmor_core_cpu_has_sse(void) { return core::cpuFeatures.sse; }
bool velmor_core_cpu_has_sse2(void) { return core::cpuFeatures.sse2; }
bool velmor_core_cpu_has_sse3(void) { return core::cpuFeatures.sse3; }
bool velmor_core_cpu_has_ssse3(void) { return core::cpuFeatures.ssse3; }
bool velmor_core_cpu_has_sse41(void) { return core::cpuFeatures.sse41; }
bool velmor_core_cpu_has_sse42(void) { return core::cpuFeatures.sse42; }
bool velmor_core_cpu_has_avx(void) { return core::cpuFeatures.avx; }
bool velmor_core_cpu_has_avx2(void) { return core::cpuFeatures.avx2; }
bool velmor_core_cpu_has_avx512f(void) { return core::cpuFeatures.avx512f; }
bool velmor_core_cpu_has_avx512dq(void) { return core::cpuFeatures.avx512dq; }
bool velmor_core_cpu_has_avx512ifma(void) { return core::cpuFeatures.avx512ifma; }
bool velmor_core_cpu_has_avx512pf(void) { return core::cpuFeatures.avx512pf; }
bool velmor_core_cpu_has_avx512er(void) { return core::cpuFeatures.avx512er; }
bool velmor_core_cpu_has_avx512cd(void) { return core::cpuFeatures.avx512cd; }
bool velmor_core_cpu_has_avx512bw(void) { return core::cpuFeatures.avx512bw; }
bool velmor_core_cpu_has_avx512vl(void) { return core::cpuFeatures.avx512vl; }
bool velmor_core_cpu_has_avx5124nniw(void) { return core::cpuFeatures.avx5124nniw; }
bool velmor_core_cpu_has_avx5124fmaps(void) { return core::cpuFeatures.avx5124fmaps; }
bool velmor_core_cpu_has_avx512fp16(void) { return core::cpuFeatures.avx512fp16; }
bool velmor_core_cpu_has_avx512vbmi(void) { return core::cpuFeatures.avx512vbmi; }
bool velmor_core_cpu_has_avx512vbmi2(void) { return core::cpuFeatures.avx512vbmi2; }
bool velmor_core_cpu_has_avx512vnni(void) { return core::cpuFeatures.avx512vnni; }
bool velmor_core_cpu_has_avx512bitalg(void) { return core::cpuFeatures.avx512bitalg; }
bool velmor_core_cpu_has_avx512vpopcntdq(void) { return core::cpuFeatures.avx512vpopcntdq; }
bool velmor_core_cpu_has_avx512bf16(void) { return core::cpuFeatures.avx512bf16; }
bool velmor_core_cpu_has_fma3(void) { return core::cpuFeatures.fma3; }
bool velmor_core_cpu_has_neon(void) { return core::cpuFeatures.neon; }

uint32_t velmor_core_cpu_get_count(void) { return core::getProcessorCount(); }
