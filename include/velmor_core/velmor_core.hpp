/** velmor-core for C++17 and later: thin types over the C interface, all of them inline.
 *
 *  This header includes all of them; each can also be included alone.
 *
 *    base.hpp    Error, views of bytes
 *    frame.hpp   Library: init and fini
 *    riff.hpp    Id, Chunk, Object: RIFF chunk trees
 *    str_to.hpp  toNumber: strings to numbers
 *    uuid.hpp    Uuid
 *    hash.hpp    sha256
 *
 *  The functions of cpu.h and memory.h have no C++ form: call them directly. The C header of a
 *  family says what an operation does, what its results mean and how long handles live. These
 *  headers say what C++ adds.
 *
 *  Failures.  An operation that can fail has two forms. The form without std::nothrow throws
 *  velmor_core::Error, whose what() names the reason and whose status() is the status of the C
 *  function. The form with std::nothrow takes it as the last argument. On failure, this form
 *  returns an empty std::optional, Object or Chunk, or the bool false. It throws nothing, except in
 *  Chunk::data(): this fills a container of a type that the caller chooses, and the container may
 *  throw, for example std::bad_alloc. In a condition, all these results of a failure are false:
 *
 *    using namespace velmor_core;
 *    Object wav = Object::openFile("a.wav");                                  // throws on failure
 *    if (auto wav = Object::openFile("a.wav", Mode::ReadOnly, std::nothrow))  // empty on failure
 *
 *  Under -fno-exceptions there are no throwing forms and no Error: using one does not compile.
 *  Nothing else differs, and files compiled with and without exceptions can be linked.
 *
 *  Cost.  Chunk and Object hold a C handle and nothing else. Memory is allocated only for a
 *  returned string or container, for an Error, and in toNumber() for the copy of a long
 *  std::string_view.
 *
 *  Constness.  Chunk and Object are handles: a const one still edits what it points to.
 *
 *  Threads.  As in C: one thread at a time may use an object and its chunks. Any number of threads
 *  may use values and free functions.
 */
#ifndef VELMOR_CORE_VELMOR_CORE_HPP
#define VELMOR_CORE_VELMOR_CORE_HPP

#include <velmor_core/velmor_core.h>

#include <velmor_core/base.hpp>
#include <velmor_core/frame.hpp>
#include <velmor_core/hash.hpp>
#include <velmor_core/riff.hpp>
#include <velmor_core/str_to.hpp>
#include <velmor_core/uuid.hpp>

#endif
