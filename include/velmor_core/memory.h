/** Facts about the machine's memory. */
#ifndef VELMOR_CORE_MEMORY_H
#define VELMOR_CORE_MEMORY_H

#include <velmor_core/base.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The size of the physical memory that the system can use, in bytes, as sysinfo(2) reports it.
 *
 *  Nothing is cached: every call asks the operating system.
 *
 *  Returns the size, or 0 if sysinfo(2) fails
 */
VELMOR_CORE_API uint64_t velmor_core_memory_get_physical_size(void);

#ifdef __cplusplus
}
#endif

#endif
