// Shows at a terminal how much of a long piece of work is done.

#include "app/progress.h"

#include <algorithm>
#include <cmath>
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

std::string bar(double part) {
  constexpr std::size_t WIDTH = 10;
  std::string text(static_cast<std::size_t>(part * WIDTH), '#');
  text.resize(WIDTH, ' ');
  return text;
}

// "310 MB/s", "3.5 MB/s"
std::string rateText(double bytesPerSecond) {
  constexpr double MEGABYTE = 1e6;
  constexpr uint64_t TENTHS = 10;
  const auto tenths = static_cast<uint64_t>(bytesPerSecond / MEGABYTE * TENTHS);
  std::string text = std::to_string(tenths / TENTHS);
  if (tenths < TENTHS * TENTHS) text.append(".").append(std::to_string(tenths % TENTHS));
  return text.append(" MB/s");
}

// "3 s", "2 min 5 s", "1 h 40 min"
std::string durationText(double duration) {
  constexpr uint64_t MINUTE = 60;
  constexpr uint64_t HOUR = 60 * MINUTE;
  const auto seconds = static_cast<uint64_t>(std::llround(duration));
  if (seconds < MINUTE) return std::to_string(seconds) + " s";
  const bool isLong = seconds >= HOUR;
  const uint64_t unit = isLong ? HOUR : MINUTE;
  return std::to_string(seconds / unit)
      .append(isLong ? " h " : " min ")
      .append(std::to_string(seconds % unit / (unit / MINUTE)))
      .append(isLong ? " min" : " s");
}

void countSeconds(const std::stop_token& stop, const std::string& what) {
  std::mutex mutex;
  // The wait below needs a lock; no other thread takes it.
  std::unique_lock lock(mutex);  // cppcheck-suppress localMutex
  std::condition_variable_any never;
  for (int seconds = 0;; ++seconds) {
    if (seconds > 0) showProgressLine(what, ": " + durationText(seconds));
    never.wait_for(lock, stop, std::chrono::seconds(1), [] { return false; });
    if (!stop.stop_requested()) continue;
    if (seconds > 0) clearProgressLine();
    return;
  }
}

}  // namespace

Progress::Progress(const std::string& what, uint64_t total, Unit unit)
    : what(printable(what)),
      total(total),
      unit(unit),
      watched(errorsAreSeen()),
      next(start + FIRST) {}

void Progress::show(uint64_t done) {
  const auto now = Clock::now();
  if (now < next || total == 0) return;
  next = now + INTERVAL;
  shown = true;
  // The total of a file that grows meanwhile may be too small.
  showProgressLine(
      what, state(std::min(done, total), std::chrono::duration<double>(now - start).count()));
}

std::string Progress::state(uint64_t done, double seconds) const {
  constexpr double PERCENT = 100;
  const double part = static_cast<double>(done) / static_cast<double>(total);
  const double rate = static_cast<double>(done) / seconds;
  const double left = static_cast<double>(total - done) / rate;
  std::string text = ": ";
  text.append(std::to_string(static_cast<int>(part * PERCENT)));
  text.append("% [").append(bar(part)).append("] ");
  if (unit == FILES) {
    text.append(grouped(done)).append(" of ").append(counted(total, "file"));
  } else {
    text.append(rateText(rate));
  }
  if (done == 0) return text;
  return text.append(", ").append(durationText(left)).append(" left");
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
