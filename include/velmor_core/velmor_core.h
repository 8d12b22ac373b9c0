/** velmor-core: general services for audio and media applications.
 *
 *  This header includes the whole interface; each family can also be included alone.
 *
 *    frame.h    init and fini, version
 *    cpu.h      instruction-set features, number of processors
 *    memory.h   size of the physical memory
 *    riff.h     RIFF chunk trees in files, buffers and caches
 *    uuid.h     universally unique identifiers
 *    hash.h     SHA-256 digests
 *    str_to.h   texts to numbers
 *
 *  For C++17 and later velmor_core.hpp lays types over it.
 *
 *  These rules hold for all functions, unless the text of a function says otherwise:
 *
 *  Results.  A function has one kind of result: a status (VELMOR_CORE_SUCCESS and the other
 *  constants of base.h), a bool, a handle that is null on failure, a plain value, or nothing.
 *  No C++ exception leaves the library, nothing is printed or logged, and errno means nothing.
 *
 *  Out-pointers.  Memory that receives a result is written on success alone; on failure it is as it
 *  was before the call.
 *
 *  Null.  A function tests for null pointers where its text says so. Everywhere else a pointer has
 *  to be valid and not null.
 *
 *  Ownership.  Strings and buffers passed in are used during the call only. What an open function
 *  hands out belongs to the caller until the matching close. Pointers to constant data are never
 *  freed.
 *
 *  Threads.  The library starts no threads and takes no locks. Functions without a handle argument
 *  may run on any number of threads at once. An object and everything drawn from it is used by one
 *  thread at a time; different objects are independent of each other.
 *
 *  Start-up.  Only the queries velmor_core_cpu_has_*() depend on velmor_core_init(). Everything
 *  else works without it.
 *
 *  Texts.  A const char* names bytes up to a terminating NUL, passed on without conversion.
 */
#ifndef VELMOR_CORE_VELMOR_CORE_H
#define VELMOR_CORE_VELMOR_CORE_H

#include <velmor_core/base.h>
#include <velmor_core/cpu.h>
#include <velmor_core/frame.h>
#include <velmor_core/hash.h>
#include <velmor_core/memory.h>
#include <velmor_core/riff.h>
#include <velmor_core/str_to.h>
#include <velmor_core/uuid.h>

#endif
