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
  /** Text that tells a special build apart: empty here, never null. */
  const char* extra;
} velmor_core_version_t;

/** Count one more user of the library; the first one detects the processor's features.
 *
 *  Detection runs on every call that takes the count from 0 to 1 and finds the same features each
 *  time. The count is changed atomically, but a call that finds it above 0 returns at once, even
 *  while the first one is still detecting: let the first call return before other threads ask
 *  velmor_core_cpu_has_*().
 *
 *  Balance each call with velmor_core_fini().
 */
VELMOR_CORE_API void velmor_core_init(void);

/** Count one user of the library less.
 *
 *  Nothing is released or closed: open objects stay open and the CPU features stay known. The count
 *  is not guarded: one call too many takes it below 0, and the next velmor_core_init() then brings
 *  it back to 0 without detecting anything.
 */
VELMOR_CORE_API void velmor_core_fini(void);

/** The version of the library.
 *
 *  Returns the same pointer to constant data on every call, valid while the library is loaded, also
 *  before velmor_core_init().
 */
VELMOR_CORE_API const velmor_core_version_t* velmor_core_get_version(void);

/** Name the platform's asset manager. On Linux there is none, and the call does nothing.
 *
 *  In:   asset_manager  anything, null too; not looked at
 */
VELMOR_CORE_API void velmor_core_set_asset_manager(void* asset_manager);

#ifdef __cplusplus
}
#endif

#endif
