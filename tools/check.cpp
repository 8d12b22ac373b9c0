// velmor-core check and verify

#include <algorithm>
#include <iostream>

#include "command.h"
#include "errors.h"
#include "survey.h"
#include "text.h"

namespace tool {

namespace {

enum Status { CLEAN = 0, DAMAGED = 1, UNREADABLE = 3 };

Status checkFile(const std::string& file) {
  const Survey survey = surveyFile(file, [&](const Finding& finding) {
    complain(file + ": " + (finding.isWarning ? "warning: " : "") + findingText(finding));
  });
  if (survey.damages > 0) return DAMAGED;
  std::cout << printable(file) << ": sound, " << counted(survey.chunks, "chunk");
  if (survey.warnings > 0) std::cout << ", " << counted(survey.warnings, "warning");
  std::cout << '\n';
  return CLEAN;
}

int runCheck(const Arguments& arguments) {
  Status status = CLEAN;
  for (const std::string& file : arguments.all()) {
    try {
      status = std::max(status, checkFile(file));
    } catch (const Failure& failure) {
      complain(failure.what());
      status = UNREADABLE;
    }
  }
  return status;
}

void verifyFile(const std::string& file) {
  std::optional<Finding> first;
  const Survey survey = surveyFile(file, [&](const Finding& finding) {
    if (!first && !finding.isWarning) first = finding;
  });
  if (first) throw Failure(file, findingText(*first));
  std::cout << printable(file) << ": sound, " << counted(survey.chunks, "chunk") << '\n';
}

int runVerify(const Arguments& arguments) { return forEach(arguments.all(), verifyFile); }

}  // namespace

const Command CHECK = {
    .name = "check",
    .synopsis = "FILE...",
    .summary = "Say all that is wrong with files, and where",
    .help = R"(
Follows the headers of each file, also of one that no other command opens, and says what does not
fit: a header or data cut short; sizes that a program left behind when it wrote a stream (0 and
values near 2^31 and 2^32); a chunk that ends behind its group, or a group behind the file; bytes
that belong to no chunk, in a group or behind the last one; a missing pad byte. A pad byte that is
not 0 is a warning: it hurts nobody, and edits by other programs leave such bytes.

Where a chunk ends behind its group it cannot be told which of the two is wrong. The group is
believed and the check goes on behind it, unless the chunk ends with the file. The data of chunks is
not read. Any number of top-level chunks is sound.

Exit status: 0 all files are sound (perhaps with warnings), 1 one is damaged, 3 one cannot be read
or is of a form with other sizes (RF64, RIFX). See "velmor-core repair" for what can be mended.
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = {},
    .run = runCheck,
};

const Command VERIFY = {
    .name = "verify",
    .synopsis = "FILE...",
    .summary = "Say the first thing that is wrong with files: the short form of check",
    .help = R"(
Looks for what "velmor-core check" looks for, says the first of it that is no warning, and knows two
results: exit status 0 for sound files, 1 for all others.
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = {},
    .run = runVerify,
};

}  // namespace tool
