// How far a long piece of work has come, for somebody who waits at a terminal.
#ifndef VELMOR_CORE_TOOLS_PROGRESS_H
#define VELMOR_CORE_TOOLS_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>

namespace tool {

// Shows a line such as "copying song.wav: 45%" on standard error, if that is a terminal and the
// work takes longer than a second; takes it away at the end.
class Progress {
 public:
  Progress(const std::string& what, uint64_t total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { clear(); }

  // Tells how much of the total is done; cheap enough to be called for each block.
  void at(uint64_t done) {
    if (watched) show(done);
  }
  // Takes the line away, before other output. It comes back by itself.
  void clear();

 private:
  void show(uint64_t done);

  std::string what;
  uint64_t total;
  bool watched;
  bool shown = false;
  std::chrono::steady_clock::time_point next;  // when the line is due again
};

// The same for a single long call, of which nobody knows how far it is: "hashing song.wav: 3 s".
class Waiting {
 public:
  explicit Waiting(const std::string& what);

 private:
  std::jthread thread;  // none where nobody watches
};

}  // namespace tool

#endif
