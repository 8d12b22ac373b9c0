// Times a piece of work and its peer in turns, so that noise of the machine affects both. Reports
// the median times per item and their ratio.

#ifndef BENCH_COMPARE_H
#define BENCH_COMPARE_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <vector>

namespace bench {

inline double median(std::vector<double>& times) {
  const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

// The processor time of this thread in nanoseconds, including the kernel's work for it. The time of
// other programs is not in it.
inline double threadTime() {
  timespec now = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

template <typename Work>
double nanoseconds(Work&& work) {
  const double start = threadTime();
  work();
  return threadTime() - start;
}

// Each call of work and of peer handles `items` items. What prepare() does before each call of work
// is not timed. Register the benchmark with UseManualTime().
template <typename Work, typename Peer, typename Prepare>
void compare(benchmark::State& state, double items, Work work, Peer peer, Prepare prepare) {
  std::vector<double> ours;
  std::vector<double> theirs;
  for ([[maybe_unused]] auto iteration : state) {
    prepare();
    ours.push_back(nanoseconds(work));
    theirs.push_back(nanoseconds(peer));
    state.SetIterationTime(ours.back() / 1e9);
  }
  const double our = median(ours) / items;
  const double their = median(theirs) / items;
  state.counters["ns_per_item"] = our;
  state.counters["peer_ns"] = their;
  state.counters["ratio"] = our / their;
}

template <typename Work, typename Peer>
void compare(benchmark::State& state, double items, Work work, Peer peer) {
  compare(state, items, work, peer, [] {});
}

}  // namespace bench

#endif
