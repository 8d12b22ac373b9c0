// Works on several files at the same time, in worker processes.

#include "app/jobs.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <exception>
#include <iostream>
#include <new>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "app/errors.h"
#include "app/progress.h"
#include "app/signals.h"
#include "app/terminal.h"
#include "app/text.h"

namespace tool {

namespace {

// The exit status of a worker whose output could not be kept. No command has this status.
constexpr int OUTPUT_LOST = 125;

std::size_t numberOfJobs(const Arguments& arguments, std::size_t usual) {
  const auto text = arguments.value(JOBS.name);
  if (!text) return usual;
  std::size_t jobs = 0;
  const char* const end = text->data() + text->size();
  const auto [rest, error] = std::from_chars(text->data(), end, jobs);
  if (error != std::errc() || rest != end || jobs > MAX_WORKERS) {
    throw UsageError(std::string(JOBS.name) + " takes a number from 0 to " +
                     std::to_string(MAX_WORKERS));
  }
  if (jobs == 0) jobs = std::thread::hardware_concurrency();
  return std::clamp<std::size_t>(jobs, 1, MAX_WORKERS);
}

// Runs work for one file, and reports its failure.
int runReported(const FileWork& work, const std::string& file, int failed) {
  try {
    return work(file);
  } catch (const Failure& failure) {
    complain(failure.what());
  }
  return failed;
}

// The same for a worker, which no exception may leave.
int runGuarded(const FileWork& work, const std::string& file, int failed) {
  try {
    return runReported(work, file, failed);
  } catch (const UsageError& error) {
    complain(error.what());
    return WRONG_USE;
  } catch (const std::bad_alloc&) {
    complain(file + ": out of memory");
  } catch (const std::exception& error) {
    complain(file + ": " + error.what());
  }
  return failed;
}

// What a worker has printed: a file without a name, so that nothing of it is left behind, or memory
// where there can be no such file.
class Kept {
 public:
  Kept() : descriptor(open()) {}
  Kept(const Kept&) = delete;
  Kept& operator=(const Kept&) = delete;
  ~Kept() {
    if (isOpen()) ::close(descriptor);
  }

  bool isOpen() const { return descriptor != -1; }
  // From now on, this process writes here what it would write to `stream`.
  void replace(int stream) const { ::dup2(descriptor, stream); }

  // Returns false if the stream takes no more.
  bool copyTo(int stream) const {
    constexpr std::size_t BLOCK = 1 << 16;
    std::vector<char> block(BLOCK);
    off_t offset = 0;
    ssize_t written = 0;
    do {
      const ssize_t count = ::pread(descriptor, block.data(), block.size(), offset);
      if (count <= 0) return count == 0;
      written = ::write(stream, block.data(), static_cast<std::size_t>(count));
      if (written > 0) offset += written;
    } while (written > 0 || errno == EINTR);
    return false;
  }

 private:
  static int open() {
    constexpr mode_t USER_ONLY = 0600;
    const char* folder = std::getenv("TMPDIR");  // NOLINT(concurrency-mt-unsafe): one thread
    const int file = ::open(folder ? folder : "/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, USER_ONLY);
    return file != -1 ? file : ::memfd_create("velmor-core output", MFD_CLOEXEC);
  }

  int descriptor;
};

struct Worker {
  explicit Worker(std::string file) : file(std::move(file)) {}

  std::string file;
  Kept output;
  Kept errors;
  pid_t process = -1;
  std::optional<int> end;  // as waitpid() gives it; none while the worker runs
};

// Whether both outputs are one terminal, file or pipe. Then the order of all lines is kept.
bool outputsAreOne() {
  struct stat output {};
  struct stat errors {};
  return ::fstat(STDOUT_FILENO, &output) == 0 && ::fstat(STDERR_FILENO, &errors) == 0 &&
         output.st_dev == errors.st_dev && output.st_ino == errors.st_ino;
}

class Jobs {
 public:
  Jobs(std::span<const std::string> files, const FileWork& work, int failed)
      : left(files),
        work(work),
        failed(failed),
        progress("working", files.size(), Progress::FILES) {
    std::cout.flush();
    outputIsTerminal();                             // remembers the result for the workers
    static_cast<void>(::signal(SIGCHLD, SIG_DFL));  // or no worker could be waited for
  }

  // `jobs` is the number of workers that run at the same time.
  int run(std::size_t jobs) {
    // The maximum number of workers whose output is not yet printed. They may run or have ended.
    // The maximum is larger than the number that can run at the same time, so that many other files
    // can be worked on while the first one takes long. It is limited because each of these workers
    // has two open descriptors.
    constexpr std::size_t MAX_UNPRINTED = 2 * MAX_WORKERS;
    while (!left.empty() || !workers.empty()) {
      const bool mayStart = !left.empty() && running < jobs && workers.size() < MAX_UNPRINTED;
      if (mayStart && start(left.front())) {
        left = left.subspan(1);
      } else if (running > 0) {
        awaitOne();
        printEnded();
      } else {  // no worker runs, and none can be made: this process works on the file
        worst = std::max(worst, runReported(work, left.front(), failed));
        left = left.subspan(1);
      }
    }
    if (outputFailed) std::cout.setstate(std::ios::badbit);
    return worst;
  }

 private:
  bool start(const std::string& file) {
    Worker& worker = workers.emplace_back(file);
    if (worker.output.isOpen() && worker.errors.isOpen()) {
      const pid_t parent = ::getpid();
      const SignalsWait wait;
      worker.process = ::fork();
      if (worker.process == 0) becomeWorker(worker, parent);
      if (worker.process > 0) addWorker(worker.process);
    }
    const pid_t process = worker.process;
    if (process == 0) {
      workers.clear();         // closes their descriptors
      std::exit(endOf(file));  // NOLINT(concurrency-mt-unsafe): one thread
    }
    if (process == -1) {
      workers.pop_back();
      return false;
    }
    ++running;
    return true;
  }

  void becomeWorker(const Worker& worker, pid_t parent) const {
    forgetWorkers();
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);  // even SIGKILL of the parent leaves no worker behind
    if (::getppid() != parent) static_cast<void>(::raise(SIGTERM));
    worker.output.replace(STDOUT_FILENO);
    (outputIsOne ? worker.output : worker.errors).replace(STDERR_FILENO);
    forgetProgressLine();
  }

  int endOf(const std::string& file) const {
    const int status = runGuarded(work, file, failed);
    return std::cout.flush() && std::cerr ? status : OUTPUT_LOST;
  }

  void awaitOne() {
    siginfo_t info{};
    // If a signal interrupts the call, the loop in run() calls this function again.
    if (::waitid(P_ALL, 0, &info, WEXITED | WNOWAIT) == -1) return;
    const SignalsWait wait;
    int end = 0;
    ::waitpid(info.si_pid, &end, 0);
    // Other children may have been there before this program was executed.
    const auto worker = std::ranges::find(workers, info.si_pid, &Worker::process);
    if (worker == workers.end()) return;
    removeWorker(worker->process);
    worker->process = -1;  // the system may give the id to another worker
    worker->end = end;
    --running;
    ++done;
  }

  void printEnded() {
    if (workers.front().end) progress.clear();
    for (; !workers.empty() && workers.front().end; workers.pop_front()) {
      const Worker& worker = workers.front();
      // Does not use std::cout. After a failed write its error state would stay set, and workers
      // that are forked later would inherit it.
      if (!worker.output.copyTo(STDOUT_FILENO)) outputFailed = true;
      worker.errors.copyTo(STDERR_FILENO);
      worst = std::max(worst, statusOf(worker));
    }
    progress.at(done);
  }

  int statusOf(const Worker& worker) const {
    if (WIFEXITED(*worker.end)) {
      const int status = WEXITSTATUS(*worker.end);
      if (status != OUTPUT_LOST) return status;
      complain(worker.file + ": its output was lost, because there is no room to store it");
    } else {
      const int signal = WTERMSIG(*worker.end);
      complain(worker.file + ": its worker was ended by signal " + std::to_string(signal) + " (" +
               ::strsignal(signal) + ")");  // NOLINT(concurrency-mt-unsafe): one thread
    }
    return failed;
  }

  std::span<const std::string> left;
  const FileWork& work;
  int failed;
  bool outputIsOne = outputsAreOne();
  std::deque<Worker> workers;  // in the order of the files, until their output is printed
  std::size_t running = 0;
  std::size_t done = 0;
  int worst = 0;
  bool outputFailed = false;
  Progress progress;
};

}  // namespace

int forEachFile(const Arguments& arguments, std::span<const std::string> files,
                const FileWork& work, int failed, std::size_t usualJobs) {
  const std::size_t jobs = numberOfJobs(arguments, usualJobs);
  // Only one process can read standard input.
  const bool sharesInput = std::ranges::count(files, "-") > 1;
  if (jobs > 1 && files.size() > 1 && !sharesInput) return Jobs(files, work, failed).run(jobs);
  int worst = 0;
  for (const std::string& file : files) {
    worst = std::max(worst, runReported(work, file, failed));
  }
  return worst;
}

int forEachFile(const Arguments& arguments, const FileWork& work, int failed) {
  return forEachFile(arguments, arguments.all(), work, failed);
}

}  // namespace tool
