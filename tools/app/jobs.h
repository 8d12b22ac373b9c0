// Works on several files at the same time.
#ifndef VELMOR_CORE_TOOLS_APP_JOBS_H
#define VELMOR_CORE_TOOLS_APP_JOBS_H

#include <functional>
#include <span>
#include <string>

#include "app/command.h"

namespace tool {

// The option of the commands for FILE...: how many files they work on at the same time. 0 stands
// for the number of processors.
inline constexpr Option JOBS{"--jobs", true, "-j"};

// Works on one file and returns the exit status. Throws Failure.
using FileWork = std::function<int(const std::string& file)>;

// Works on each file. The number of files at the same time is the value of JOBS, or usualJobs
// without this option. A file that fails is reported and counts with the status `failed`. The
// others are still worked on. Returns the highest status. Throws UsageError if the value of JOBS is
// no number or too large.
//
// With several jobs, a worker process works on each file, because a process can have only one
// mapping, one progress line and one unfinished file. If no worker runs and none can be made, this
// process works on the next file itself. Changes that `work` makes to variables of the caller are
// lost if a worker makes them. They are kept if this process works on the file. The output of each
// worker is kept and printed in one piece, in the order of the files. A worker that a signal ends
// counts as a failure.
int forEachFile(const Arguments& arguments, std::span<const std::string> files,
                const FileWork& work, int failed = 1, std::size_t usualJobs = 1);
// The same for all operands.
int forEachFile(const Arguments& arguments, const FileWork& work, int failed = 1);

}  // namespace tool

#endif
