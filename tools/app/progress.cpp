// Shows at a terminal how much of a long piece of work is done.

#include "app/progress.h"

#include <condition_variable>
#include <mutex>
#include <string_view>
#include <system_error>

#include "app/signals.h"
#include "app/terminal.h"
#include "app/text.h"

namespace tool {

namespace {

constexpr std::chrono::milliseconds FIRST{1000};
constexpr std::chrono::milliseconds INTERVAL{200};
void countSeconds(const std::stop_token& stop, const std::string& what) {
  std::mutex mutex;
  // The wait below needs a lock; no other thread takes it.
  std::unique_lock lock(mutex);  // cppcheck-suppress localMutex
  std::condition_variable_any never;
  for (int seconds = 0;; ++seconds) {
    if (seconds > 0) showProgressLine(what + ": " + std::to_string(seconds) + " s");
    never.wait_for(lock, stop, std::chrono::seconds(1), [] { return false; });
    if (!stop.stop_requested()) continue;
    if (seconds > 0) clearProgressLine();
    return;
  }
}

}  // namespace

Progress::Progress(const std::string& what, uint64_t total)
    : what(printable(what)),
      total(total),
      watched(errorsAreSeen()),
      next(std::chrono::steady_clock::now() + FIRST) {}

void Progress::show(uint64_t done) {
  const auto now = std::chrono::steady_clock::now();
  if (now < next || total == 0) return;
  next = now + INTERVAL;
  shown = true;
  showProgressLine(what + ": " + std::to_string(done / (total / 100 + 1)) + "%");
}

void Progress::clear() {
  if (shown) clearProgressLine();
  shown = false;
}

Waiting::Waiting(const std::string& what) {
  if (!errorsAreSeen()) return;
  const SignalsWait wait;  // the new thread inherits this, so signals go to the main thread
  try {
    thread = std::jthread(
        [text = printable(what)](const std::stop_token& stop) { countSeconds(stop, text); });
  } catch (const std::system_error&) {
    // No thread can be made. The work itself needs none.
  }
}

}  // namespace tool
