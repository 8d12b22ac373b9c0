// The C functions of the frame: the count of registered users, and the version.

#include <velmor_core/frame.h>

#include <atomic>

#include "core/cpu_features.h"

namespace {

constexpr velmor_core_version_t VERSION = {VELMOR_CORE_VERSION_NUMBER, ""};

std::atomic<int64_t> initCount = 0;

}  // namespace

void velmor_core_init(void) {
  if (initCount.fetch_add(1) == 0) core::detectCpuFeatures();
}

void velmor_core_fini(void) { initCount.fetch_sub(1); }

const velmor_core_version_t* velmor_core_get_version(void) { return &VERSION; }

void velmor_core_set_asset_manager(void* /*asset_manager*/) {}
