#include "progress.h"

#include <unistd.h>

#include <iostream>

namespace tool {

namespace {

constexpr std::chrono::milliseconds FIRST{1000};
constexpr std::chrono::milliseconds INTERVAL{200};

}  // namespace

Progress::Progress(std::string what, uint64_t total)
    : what(std::move(what)),
      total(total),
      watched(::isatty(STDERR_FILENO) == 1),
      next(std::chrono::steady_clock::now() + FIRST) {}

void Progress::show(uint64_t done) {
  const auto now = std::chrono::steady_clock::now();
  if (now < next || total == 0) return;
  next = now + INTERVAL;
  shown = true;
  std::cerr << '\r' << what << ": " << done / (total / 100 + 1) << "%\x1b[K" << std::flush;
}

void Progress::clear() {
  if (shown) std::cerr << "\r\x1b[K" << std::flush;
  shown = false;
}

}  // namespace tool
