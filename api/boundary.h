// The border between the C interface and the C++ behind it: exceptions stop here.

#ifndef API_BOUNDARY_H
#define API_BOUNDARY_H

#include <concepts>
#include <exception>

namespace api {

// Runs body and returns its result; if body throws, the message is dropped, since the C interface
// has no room for it, and `failure` is returned.
//
// Only std::exception is caught, which is all that the library raises. Catching everything would
// also stop the unwinding with which glibc cancels a thread, and glibc aborts when that happens.
template <typename Result, std::invocable Body>
Result guarded(Result failure, Body body) {
  try {
    return body();
  } catch (const std::exception&) {
    return failure;
  }
}

}  // namespace api

#endif
