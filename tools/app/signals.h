// Removes the unfinished file, and ends the workers, when a signal ends the program.
#ifndef VELMOR_CORE_TOOLS_APP_SIGNALS_H
#define VELMOR_CORE_TOOLS_APP_SIGNALS_H

#include <sys/types.h>

#include <csignal>
#include <cstddef>
#include <string>

namespace tool {

// An ending signal is a signal that by default ends a program, such as SIGINT or SIGTERM. SIGKILL,
// SIGXFSZ, real-time signals and signals that report a fault of the program, such as SIGSEGV, are
// not ending signals.

// Call once, before anything else. From then on, an ending signal first removes the unfinished file
// and ends the workers. The program ends after them. An ending signal that was ignored before stays
// ignored. SIGXFSZ no longer ends the program: a write past the file size limit of the process
// fails like any other write.
void handleSignals();

// Names the unfinished file. Hold a SignalsWait while you make the file and while you rename it.
void setUnfinishedFile(const std::string& path);
void clearUnfinishedFile();

// Workers are child processes, at most MAX_WORKERS at a time. Hold a SignalsWait while you make one
// or wait for one that has ended.
constexpr std::size_t MAX_WORKERS = 64;
void addWorker(pid_t worker);
void removeWorker(pid_t worker);
// To be called in a new worker process, which has no workers of its own.
void forgetWorkers();

// While an object of this class exists, ending signals wait.
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
