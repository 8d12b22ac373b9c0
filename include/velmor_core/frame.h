/** Start and stop of the library, and its version.
 *
 *  Release.  Four numbers of 16 bits name a release: major, minor, patch and build. Packages and
 *  pkg-config use the first three. Release 1.0.16.0, for example, is velmor-core 1.0.16, and its
 *  packed number is 0x0001000000100000.
 *
 *  Binary interface.  Its number is 0 and does not depend on the release. It is part of the SONAME,
 *  `libvelmor-core.so.0`, and of the version node of every function, `VELMOR_CORE_0`. The installed
 *  file has both numbers in its name: `libvelmor-core.so.0.1.0.16` has interface 0 and is release
 *  1.0.16. While the SONAME stays the same, no function, constant or record layout is changed or
 *  removed. So a program runs with the release that it was linked with, and with every later one
 *  that has the same SONAME. Later releases may add functions. A program that uses a new function
 *  needs a release that has it.
 *
 *  Deprecation.  A function that is to be removed first gets the compiler's `deprecated`
 *  attribute, and its text names the replacement. It keeps working while the SONAME stays the same.
 *  A release that removes it has the next SONAME, `libvelmor-core.so.1`, so that both can be
 *  installed.
 */
#ifndef VELMOR_CORE_FRAME_H
#define VELMOR_CORE_FRAME_H

#include <velmor_core/base.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The first number of the release that these headers belong to. */
#define VELMOR_CORE_VERSION_MAJOR 1
/** The second number: raised when functions are added. */
#define VELMOR_CORE_VERSION_MINOR 0
/** The third number: raised for corrections. */
#define VELMOR_CORE_VERSION_PATCH 16
/** The fourth number: 0 in a release. Whoever distributes a changed build may raise it. */
#define VELMOR_CORE_VERSION_BUILD 0

/** Pack the four numbers of a release into one, for comparisons. Usable in `#if`:
 *
 *    #if VELMOR_CORE_VERSION_NUMBER >= VELMOR_CORE_MAKE_VERSION(1, 1, 0, 0)
 */
#define VELMOR_CORE_MAKE_VERSION(major, minor, patch, build) \
  (0x1000000000000ULL * (major) + 0x100000000ULL * (minor) + 0x10000ULL * (patch) + (build))

/** The packed version of these headers. Usable in `#if`.
 *
 *  The library that is loaded may be another release: ask velmor_core_get_version().
 */
#define VELMOR_CORE_VERSION_NUMBER                                               \
  VELMOR_CORE_MAKE_VERSION(VELMOR_CORE_VERSION_MAJOR, VELMOR_CORE_VERSION_MINOR, \
                           VELMOR_CORE_VERSION_PATCH, VELMOR_CORE_VERSION_BUILD)

/** The version of the library that is loaded. */
typedef struct {
  /** Packed version: 16 bits each for major (the highest), minor, patch and build. */
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
 *  Nothing is released or closed: open objects stay open, and the CPU features stay known. If it is
 *  called more often than velmor_core_init(), the number of users falls below 0. A
 *  velmor_core_init() that raises it to 0 or less detects nothing.
 */
VELMOR_CORE_API void velmor_core_fini(void);

/** The version of the library.
 *
 *  velmor_core_init() is not needed.
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
