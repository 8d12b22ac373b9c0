// What a signal that ends the program does to an edit.
#ifndef VELMOR_CORE_TOOLS_SIGNALS_H
#define VELMOR_CORE_TOOLS_SIGNALS_H

#include <csignal>
#include <string>

namespace tool {

// Call once, before anything else. From then on a signal that ends the program first removes the
// unfinished file, if there is one. A file that would grow past the limit of the process (SIGXFSZ)
// ends no program: the call fails, and the failure is handled like any other.
void handleSignals();

// Names the unfinished file. Hold SignalsWait while it is made and while it gets its last name.
void setUnfinishedFile(const std::string& path);
void clearUnfinishedFile();

// While one of these exists, signals that would end the program wait; SIGKILL does not.
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
