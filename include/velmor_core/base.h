/** What every header of velmor-core needs: export macro, status codes, fixed-width types.
 *
 *  velmor_core.h has the rules that hold for all functions.
 */
#ifndef VELMOR_CORE_BASE_H
#define VELMOR_CORE_BASE_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/** Marks the functions of the interface. The library exports nothing else. */
#define VELMOR_CORE_API __attribute__((visibility("default")))

/** The results of every function that returns a status. There are no others. */
enum {
  /** The operation was carried out. */
  VELMOR_CORE_SUCCESS = 0,
  /** The operation failed, or does not apply to its argument. */
  VELMOR_CORE_FAILURE = -1,
  /** A handle is null, or of a kind that the operation does not work on. Nothing is changed. */
  VELMOR_CORE_BAD_HANDLE = -200
};

#endif
