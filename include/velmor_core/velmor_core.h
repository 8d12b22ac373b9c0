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
 *    str_to.h   strings to numbers
 *
 *  velmor_core.hpp offers the same to C++17 and later, with types that own what they open.
 *
 *  These rules hold for all functions, unless the text of a function says otherwise:
 *
 *  Results.  A function has one kind of result: a status (VELMOR_CORE_SUCCESS and the other
 *  constants of base.h), a bool, a handle that is null on failure, a plain value, or nothing.
 *  No C++ exception leaves the library. Nothing is printed or logged. The value of errno after a
 *  call means nothing.
 *
 *  Out-pointers.  Memory that receives a result is written only on success. On failure it stays as
 *  it was before the call.
 *
 *  Null.  A pointer may be null only where a text says so. Every other pointer must be valid and
 *  not null. The functions do not test this.
 *
 *  Ownership.  Strings and buffers passed in are used during the call only. There is one exception:
 *  a RIFF object uses the buffer that it was opened over until the object is closed. What an open
 *  function returns belongs to the caller until the matching close. Pointers to constant data are
 *  never freed.
 *
 *  Threads.  The library starts no threads and takes no locks. Functions without a handle argument
 *  may run on any number of threads at once. Only one thread at a time may use an object and its
 *  chunks: the caller has to see to that. A function with two handles may use two objects.
 *  Different objects are independent of each other.
 *
 *  Start-up.  Only the queries velmor_core_cpu_has_*() depend on velmor_core_init(). Everything
 *  else works without it.
 *
 *  Strings.  A const char* points to bytes up to a terminating NUL. They are passed on without
 *  conversion. A file name goes to open(2) as it is.
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
