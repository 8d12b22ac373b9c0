#include "progress.h"

#include <unistd.h>

#include <condition_variable>
#include <iostream>
#include <mutex>
#include <string_view>
#include <system_error>

namespace tool {

namespace {

constexpr std::chrono::milliseconds FIRST{1000};
constexpr std::chrono::milliseconds INTERVAL{200};
constexpr std::string_view CLEAR_LINE = "\r\x1b[K";

bool isWatched() { return ::isatty(STDERR_FILENO) == 1; }

void countSeconds(const std::stop_token& stop, const std::string& what) {
  std::mutex mutex;
  std::unique_lock lock(mutex);
  std::condition_variable_any never;
  for (int seconds = 0;; ++seconds) {
    if (seconds > 0) std::cerr << '\r' << what << ": " << seconds << " s" << std::flush;
    never.wait_for(lock, stop, std::chrono::seconds(1), [] { return false; });
    if (!stop.stop_requested()) continue;
    if (seconds > 0) std::cerr << CLEAR_LINE << std::flush;
    return;
  }
}

}  // namespace

Progress::Progress(std::string what, uint64_t total)
    : what(std::move(what)),
      total(total),
      watched(isWatched()),
      next(std::chrono::steady_clock::now() + FIRST) {}

void Progress::show(uint64_t done) {
  const auto now = std::chrono::steady_clock::now();
  if (now < next || total == 0) return;
  next = now + INTERVAL;
  shown = true;
  std::cerr << '\r' << what << ": " << done / (total / 100 + 1) << "%\x1b[K" << std::flush;
}

void Progress::clear() {
  if (shown) std::cerr << CLEAR_LINE << std::flush;
  shown = false;
}

Waiting::Waiting(const std::string& what) {
  if (!isWatched()) return;
  try {
    thread = std::jthread([what](const std::stop_token& stop) { countSeconds(stop, what); });
  } catch (const std::system_error&) {
    // No thread to be had; the work itself needs none.
  }
}

}  // namespace tool
