/** Start and stop of the library, and its version. */
#ifndef VELMOR_CORE_FRAME_H
#define VELMOR_CORE_FRAME_H

#include <velmor_core/base.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The version of the library that is loaded. */
typedef struct {
  /** Packed version: four 16-bit numbers, the most significant first (1, 0, 16, 0). */
  uint64_t version;
  /** Name of a special build: empty in this library, never null. */
  const char* extra;
} velmor_core_version_t;

/** Register one user of the library. The first one detects the processor's features.
 *
 *  Detection runs on every call that takes the number of users from 0 to 1. It finds the same
 *  features each time. The number is changed atomically. A call that finds it above 0 returns at
 *  once, even while the first call is still detecting. So let the first call return before other
 *  threads call velmor_core_cpu_has_*().
 *
 *  Unregister with velmor_core_fini(), once for each call.
 */
VELMOR_CORE_API void velmor_core_init(void);

/** Unregister one user of the library.
 *
 *  Nothing is released or closed: open objects stay open, and the CPU features stay known. One call
 *  too many takes the number of users below 0. The next velmor_core_init() then brings it back to 0
 *  and detects nothing.
 */
VELMOR_CORE_API void velmor_core_fini(void);

/** The version of the library.
 *
 *  Works before velmor_core_init(), too.
 *
 *  Returns a pointer to constant data: the same on every call, valid while the library is loaded
 */
VELMOR_CORE_API const velmor_core_version_t* velmor_core_get_version(void);

/** Set the platform's asset manager. On Linux there is none, and the call does nothing.
 *
 *  In:   asset_manager  anything; may be null
 */
VELMOR_CORE_API void velmor_core_set_asset_manager(void* asset_manager);

#ifdef __cplusplus
}
#endif

#endif
