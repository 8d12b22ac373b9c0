// velmor-core cpu and version

#include <velmor_core/cpu.h>
#include <velmor_core/memory.h>

#include <array>
#include <iostream>
#include <string>
#include <velmor_core/frame.hpp>

#include "app/command.h"

namespace tool {

namespace {

struct Feature {
  const char* name;
  bool (*present)();
};

constexpr std::array FEATURES = {
    Feature{"sse", velmor_core_cpu_has_sse},
    Feature{"sse2", velmor_core_cpu_has_sse2},
    Feature{"sse3", velmor_core_cpu_has_sse3},
    Feature{"ssse3", velmor_core_cpu_has_ssse3},
    Feature{"sse41", velmor_core_cpu_has_sse41},
    Feature{"sse42", velmor_core_cpu_has_sse42},
    Feature{"avx", velmor_core_cpu_has_avx},
    Feature{"avx2", velmor_core_cpu_has_avx2},
    Feature{"avx512f", velmor_core_cpu_has_avx512f},
    Feature{"avx512dq", velmor_core_cpu_has_avx512dq},
    Feature{"avx512ifma", velmor_core_cpu_has_avx512ifma},
    Feature{"avx512pf", velmor_core_cpu_has_avx512pf},
    Feature{"avx512er", velmor_core_cpu_has_avx512er},
    Feature{"avx512cd", velmor_core_cpu_has_avx512cd},
    Feature{"avx512bw", velmor_core_cpu_has_avx512bw},
    Feature{"avx512vl", velmor_core_cpu_has_avx512vl},
    Feature{"avx5124nniw", velmor_core_cpu_has_avx5124nniw},
    Feature{"avx5124fmaps", velmor_core_cpu_has_avx5124fmaps},
    Feature{"avx512fp16", velmor_core_cpu_has_avx512fp16},
    Feature{"avx512vbmi", velmor_core_cpu_has_avx512vbmi},
    Feature{"avx512vbmi2", velmor_core_cpu_has_avx512vbmi2},
    Feature{"avx512vnni", velmor_core_cpu_has_avx512vnni},
    Feature{"avx512bitalg", velmor_core_cpu_has_avx512bitalg},
    Feature{"avx512vpopcntdq", velmor_core_cpu_has_avx512vpopcntdq},
    Feature{"avx512bf16", velmor_core_cpu_has_avx512bf16},
    Feature{"fma3", velmor_core_cpu_has_fma3},
    Feature{"neon", velmor_core_cpu_has_neon},
};

int runCpu(const Arguments& /*arguments*/) {
  const velmor_core::Library library;
  std::cout << "processors: " << velmor_core_cpu_get_count() << '\n'
            << "memory:     " << velmor_core_memory_get_physical_size() << " bytes\n"
            << "features:  ";
  for (const Feature& feature : FEATURES) {
    if (feature.present()) std::cout << ' ' << feature.name;
  }
  std::cout << '\n';
  return 0;
}

int runVersion(const Arguments& /*arguments*/) {
  std::cout << versionText();
  return 0;
}

}  // namespace

// Four numbers of 16 bits; the last one is left out if it is 0.
std::string versionText() {
  const velmor_core_version_t& packed = *velmor_core_get_version();
  std::string text = "velmor-core";
  char separator = ' ';
  for (int shift = 48; shift >= 0; shift -= 16) {
    const uint64_t number = packed.version >> shift & 0xFFFF;
    if (shift == 0 && number == 0) break;
    text += separator + std::to_string(number);
    separator = '.';
  }
  return text + packed.extra + "\n";
}

const Command CPU = {
    .name = "cpu",
    .synopsis = "",
    .summary = "Show facts about the processors and the memory",
    .help = R"(
Prints the number of processors online, the size of the physical memory and the instruction-set
features. Use avx512 features other than F, DQ and BW only if avx512f is listed too.
)",
    .examples = R"(
  velmor-core cpu
)",
    .minOperands = 0,
    .maxOperands = 0,
    .options = {},
    .run = runCpu,
};

const Command VERSION = {
    .name = "version",
    .synopsis = "",
    .summary = "Show the version of the library",
    .help = "",
    .examples = R"(
  velmor-core version
)",
    .minOperands = 0,
    .maxOperands = 0,
    .options = {},
    .run = runVersion,
};

}  // namespace tool
