// Facts about the machine. Every call asks the operating system again.

#ifndef CORE_PLATFORM_H
#define CORE_PLATFORM_H

#include <cstdint>

namespace core {

// The number of processors online, or 1 if the system does not report it.
uint32_t getProcessorCount();

// The usable main memory in bytes, or 0 if the system does not report it.
uint64_t getPhysicalMemorySize();

}  // namespace core

#endif
