// Facts about the machine, asked of the operating system on every call.

#ifndef CORE_PLATFORM_H
#define CORE_PLATFORM_H

#include <cstdint>

namespace core {

// Processors online; 1 when the system does not tell.
uint32_t getProcessorCount();

// Usable main memory in bytes; 0 when the system does not tell.
uint64_t getPhysicalMemorySize();

}  // namespace core

#endif
