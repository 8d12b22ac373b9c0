/** Start and stop of the library, as a value: see frame.h. */
#ifndef VELMOR_CORE_FRAME_HPP
#define VELMOR_CORE_FRAME_HPP

#include <velmor_core/base.hpp>
#ifndef VELMOR_CORE_CPP_TOO_OLD
#include <velmor_core/frame.h>

namespace velmor_core {

/** A registered user of the library, from construction to destruction. Construct one before you use
 *  the queries of cpu.h. Nothing else needs it. Cannot fail.
 */
class Library {
 public:
  /** Registers a user; the first one detects the features of the processor. */
  Library() noexcept { velmor_core_init(); }
  /** Unregisters the user. Open objects stay open, and the features stay known. */
  ~Library() { velmor_core_fini(); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
};

}  // namespace velmor_core

#endif  // C++17
#endif
