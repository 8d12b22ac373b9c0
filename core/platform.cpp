// Asks Linux for the number of processors and the size of the memory.

#include "core/platform.h"

#include <sys/sysinfo.h>
#include <unistd.h>

namespace core {

uint32_t getProcessorCount() {
  const long count = sysconf(_SC_NPROCESSORS_ONLN);
  return count > 1 ? static_cast<uint32_t>(count) : 1;
}

uint64_t getPhysicalMemorySize() {
  struct sysinfo info = {};
  if (sysinfo(&info) != 0) return 0;
  // totalram counts units of mem_unit bytes.
  return static_cast<uint64_t>(info.totalram) * info.mem_unit;
}

}  // namespace core
