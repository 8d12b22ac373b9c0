// Removes the unfinished file, and ends the workers, when a signal ends the program.

#include "app/signals.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

#include "app/errors.h"

namespace tool {

namespace {

// The ending signals, as signals.h describes them.
constexpr std::array ENDING = {SIGHUP,  SIGINT,    SIGQUIT, SIGPIPE, SIGALRM, SIGTERM, SIGUSR1,
                               SIGUSR2, SIGVTALRM, SIGPROF, SIGXCPU, SIGIO,   SIGPWR,  SIGSTKFLT};

// The signal handler reads them. They are changed only while ending signals are blocked.
std::array<char, PATH_MAX> unfinishedFile;
std::array<pid_t, MAX_WORKERS> workers;  // 0: none

sigset_t endingSignals() {
  sigset_t set;
  ::sigemptyset(&set);
  for (const int signal : ENDING) ::sigaddset(&set, signal);
  return set;
}

// Handles an ending signal. The system restores the signal's default action before it calls this
// handler (SA_RESETHAND). The signal that is raised here waits until the handler returns. Then the
// default action ends the program.
void removeAndEnd(int signal) {
  if (unfinishedFile[0] != '\0') ::unlink(unfinishedFile.data());
  for (const pid_t worker : workers) {
    if (worker != 0) ::kill(worker, signal);
  }
  for (const pid_t worker : workers) {
    if (worker != 0) ::waitpid(worker, nullptr, 0);
  }
  static_cast<void>(::raise(signal));
}

}  // namespace

void handleSignals() {
  struct sigaction action {};
  action.sa_mask = endingSignals();
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  action.sa_handler = removeAndEnd;
  for (const int signal : ENDING) {
    struct sigaction inherited {};
    ::sigaction(signal, nullptr, &inherited);
    // Signals that were ignored from the start, such as SIGHUP under nohup, stay ignored.
    if (inherited.sa_handler == SIG_DFL) ::sigaction(signal, &action, nullptr);
  }
  action.sa_handler = SIG_IGN;
  ::sigaction(SIGXFSZ, &action, nullptr);
}

void setUnfinishedFile(const std::string& path) {
  if (path.size() >= unfinishedFile.size()) throw Failure(path, std::strerror(ENAMETOOLONG));
  path.copy(unfinishedFile.data(), path.size());
  unfinishedFile[path.size()] = '\0';
}

void clearUnfinishedFile() { unfinishedFile[0] = '\0'; }

void addWorker(pid_t worker) { *std::ranges::find(workers, 0) = worker; }

void removeWorker(pid_t worker) { std::ranges::replace(workers, worker, 0); }

void forgetWorkers() { workers.fill(0); }

SignalsWait::SignalsWait() {
  const sigset_t set = endingSignals();
  ::pthread_sigmask(SIG_BLOCK, &set, &before);
}

SignalsWait::~SignalsWait() { ::pthread_sigmask(SIG_SETMASK, &before, nullptr); }

}  // namespace tool
