// The C functions of the memory family.

#include <velmor_core/memory.h>

#include "core/platform.h"

uint64_t velmor_core_memory_get_physical_size(void) { return core::getPhysicalMemorySize(); }
