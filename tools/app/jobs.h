// Works on several files at the same time.
#ifndef VELMOR_CORE_TOOLS_APP_JOBS_H
#define VELMOR_CORE_TOOLS_APP_JOBS_H

#include <functional>
#include <span>
#include <string>

#include "app/command.h"

namespace tool {

// The option of the commands that work on FILE...: how many files at the same time. Without it, a
// command has its own number, and 0 stands for the number of processors.
inline constexpr Option JOBS{"--jobs", true, "-j"};

// Works on one file and returns the exit status. Throws Failure.
using FileWork = std::function<int(const std::string& file)>;

// Works on each file, on several at the same time if the arguments have JOBS, or if usualJobs,
// which holds without it, is more than 1. A file that fails is reported, with the status `failed`,
// and the others are still worked on. Returns the highest status. Throws UsageError for JOBS
// without a number.
//
// With several jobs, each file gets a process of its own, a worker: mappings, progress and the
// unfinished file exist once in a process. What a worker prints is kept, and appears whole and in
// the order of the files. So `work` cannot change variables of the caller. A worker that a signal
// ends counts as a failure.
int forEachFile(const Arguments& arguments, std::span<const std::string> files,
                const FileWork& work, int failed = 1, std::size_t usualJobs = 1);
// The same for all operands.
int forEachFile(const Arguments& arguments, const FileWork& work, int failed = 1);

}  // namespace tool

#endif
