// Shows at a terminal how much of a long piece of work is done.
#ifndef VELMOR_CORE_TOOLS_APP_PROGRESS_H
#define VELMOR_CORE_TOOLS_APP_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>

namespace tool {

// Shows a line such as "copying song.wav: 45% [####      ] 310 MB/s, 3 s left" on standard error,
// if that is a terminal and the work takes longer than a second; clears it at the end.
class Progress {
 public:
  enum Unit { BYTES, FILES };

  Progress(const std::string& what, uint64_t total, Unit unit = BYTES);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { clear(); }

  // Sets how much of the total is done. Cheap enough to be called for each block.
  void at(uint64_t done) {
    if (watched) show(done);
  }
  // Clears the line before other output. The next at() shows it again.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;

  void show(uint64_t done);
  // Percentage, bar, rate and time left.
  std::string state(uint64_t done, double seconds) const;

  std::string what;
  uint64_t total;
  Unit unit;
  bool watched;
  bool shown = false;
  Clock::time_point start = Clock::now();
  Clock::time_point next;  // when the line is shown next
};

// The same for a single long call, whose progress is not known: "hashing song.wav: 3 s".
class Waiting {
 public:
  explicit Waiting(const std::string& what);

 private:
  std::jthread thread;  // none if standard error is no terminal
};

}  // namespace tool

#endif
