// Removes the unfinished file, and ends the workers, when a signal ends the program.
#ifndef VELMOR_CORE_TOOLS_APP_SIGNALS_H
#define VELMOR_CORE_TOOLS_APP_SIGNALS_H

#include <sys/types.h>

#include <csignal>
#include <cstddef>
#include <string>

namespace tool {

// Call once, before anything else. From then on, a signal that would end the program first removes
// the unfinished file and ends the workers. The program ends after them. SIGXFSZ no longer ends the
// program: a write past the file size limit of the process fails like any other write.
void handleSignals();

// Names the unfinished file. Hold a SignalsWait while you make the file and while you rename it.
void setUnfinishedFile(const std::string& path);
void clearUnfinishedFile();

// Workers are child processes, at most MAX_WORKERS at a time. Hold a SignalsWait while you make one
// or wait for one that has ended.
constexpr std::size_t MAX_WORKERS = 64;
void addWorker(pid_t worker);
void removeWorker(pid_t worker);
// For a new worker: it has none itself.
void forgetWorkers();

// While an object of this class exists, signals that would end the program wait, except SIGKILL.
class SignalsWait {
 public:
  SignalsWait();
  SignalsWait(const SignalsWait&) = delete;
  SignalsWait& operator=(const SignalsWait&) = delete;
  ~SignalsWait();

 private:
  sigset_t before{};
};

}  // namespace tool

#endif
