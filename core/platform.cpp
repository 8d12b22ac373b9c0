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
  // The kernel counts in units of mem_unit bytes where bytes would not fit its fields.
  return static_cast<uint64_t>(info.totalram) * info.mem_unit;
}

}  // namespace core
