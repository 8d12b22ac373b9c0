// Where exceptions stop: no exception may reach a C caller.

#ifndef API_BOUNDARY_H
#define API_BOUNDARY_H

#include <concepts>
#include <exception>

namespace api {

// Runs body and returns its result. If body throws, returns `failure`; the message is dropped,
// since the C interface has no place for it.
//
// Only std::exception is caught, because the library throws nothing else. Catching everything would
// be wrong: glibc cancels a thread by unwinding its stack, and aborts the process if the unwinding
// is caught.
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
