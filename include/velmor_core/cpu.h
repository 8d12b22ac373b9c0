/** Facts about the processors: their instruction-set features, and how many there are.
 *
 *  The first velmor_core_init() detects the features with the cpuid instruction (Intel 64 and IA-32
 *  Architectures Software Developer's Manual, volume 2, CPUID). Before that, the queries
 *  velmor_core_cpu_has_*() return false. After it, they return what it detected, even after the
 *  last velmor_core_fini(). A query loads one byte.
 *
 *  The queries for AVX, AVX2, FMA3 and AVX-512 F, DQ and BW return true only if the operating
 *  system also saves the wide registers. If they return true, the feature can be used. The other
 *  AVX-512 queries do not look at the operating system. Use their features only if
 *  velmor_core_cpu_has_avx512f() is true as well.
 */
#ifndef VELMOR_CORE_CPU_H
#define VELMOR_CORE_CPU_H

#include <velmor_core/base.h>

#ifdef __cplusplus
extern "C" {
#endif

/** SSE. */
VELMOR_CORE_API bool velmor_core_cpu_has_sse(void);

/** SSE2. */
VELMOR_CORE_API bool velmor_core_cpu_has_sse2(void);

/** SSE3. */
VELMOR_CORE_API bool velmor_core_cpu_has_sse3(void);

/** Supplemental SSE3. */
VELMOR_CORE_API bool velmor_core_cpu_has_ssse3(void);

/** SSE4.1. */
VELMOR_CORE_API bool velmor_core_cpu_has_sse41(void);

/** SSE4.2. */
VELMOR_CORE_API bool velmor_core_cpu_has_sse42(void);

/** AVX; false unless the operating system saves the YMM registers. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx(void);

/** AVX2; false unless the operating system saves the YMM registers. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx2(void);

/** AVX-512 Foundation; false unless the operating system saves the ZMM registers. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512f(void);

/** AVX-512 Doubleword and Quadword; false unless the operating system saves the ZMM registers. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512dq(void);

/** AVX-512 Integer Fused Multiply-Add. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512ifma(void);

/** AVX-512 Prefetch. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512pf(void);

/** AVX-512 Exponential and Reciprocal. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512er(void);

/** AVX-512 Conflict Detection. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512cd(void);

/** AVX-512 Byte and Word; false unless the operating system saves the ZMM registers. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512bw(void);

/** AVX-512 Vector Length. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512vl(void);

/** AVX-512 Neural Network Instructions, word variable precision. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx5124nniw(void);

/** AVX-512 Fused Multiply-Accumulate, packed single precision. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx5124fmaps(void);

/** AVX-512 FP16; not detected by this version, always false. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512fp16(void);

/** AVX-512 Vector Byte Manipulation. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512vbmi(void);

/** AVX-512 Vector Byte Manipulation 2. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512vbmi2(void);

/** AVX-512 Vector Neural Network Instructions. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512vnni(void);

/** AVX-512 Bit Algorithms. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512bitalg(void);

/** AVX-512 Vector Population Count. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512vpopcntdq(void);

/** AVX-512 BFloat16. */
VELMOR_CORE_API bool velmor_core_cpu_has_avx512bf16(void);

/** FMA3; false unless the operating system saves the YMM registers. */
VELMOR_CORE_API bool velmor_core_cpu_has_fma3(void);

/** Arm Neon; always false on x86-64. */
VELMOR_CORE_API bool velmor_core_cpu_has_neon(void);

/** The number of processors online, at least 1.
 *
 *  Nothing is cached: every call asks the operating system. If the system does not know the number,
 *  the result is 1.
 */
VELMOR_CORE_API uint32_t velmor_core_cpu_get_count(void);

#ifdef __cplusplus
}
#endif

#endif
