// velmor-core check and verify

#include <array>
#include <iostream>

#include "app/command.h"
#include "app/errors.h"
#include "app/jobs.h"
#include "app/text.h"
#include "verdict/survey.h"

namespace tool {

namespace {

constexpr std::array OPTIONS = {JOBS};

enum Status { CLEAN = 0, DAMAGED = 1, UNREADABLE = 3 };

void printSound(const std::string& file, const Survey& survey) {
  std::cout << printable(file) << ": sound, " << counted(survey.chunks, "chunk");
  if (survey.warnings > 0) std::cout << ", " << counted(survey.warnings, "warning");
  std::cout << '\n';
}

Status checkFile(const std::string& file) {
  uint64_t shown = 0;
  const Survey survey = surveyFile(file, [&](const Finding& finding) {
    ++shown;
    complain(file + ": " + (finding.isWarning() ? "warning: " : "") + findingText(finding));
  });
  if (const uint64_t all = survey.damages + survey.warnings; all > shown) {
    complain(file + ": " + counted(all - shown, "more finding"));
  }
  if (survey.damages > 0) return DAMAGED;
  printSound(file, survey);
  return CLEAN;
}

int runCheck(const Arguments& arguments) { return forEachFile(arguments, checkFile, UNREADABLE); }

int verifyFile(const std::string& file) {
  std::optional<Finding> first;
  const Survey survey = surveyFile(file, [&](const Finding& finding) {
    if (!first && !finding.isWarning()) first = finding;
  });
  if (first) throw Failure(file, findingText(*first));
  std::cout << printable(file) << ": sound, " << counted(survey.chunks, "chunk") << '\n';
  return 0;
}

int runVerify(const Arguments& arguments) { return forEachFile(arguments, verifyFile); }

}  // namespace

const Command CHECK = {
    .name = "check",
    .synopsis = "[--jobs N] FILE...",
    .summary = "Report everything that is wrong with files, and where",
    .help = R"(
Reads the headers of each file and reports what is wrong. It also reads files that the editing
commands refuse to open. These findings are damage:

  - The file is no RIFF file: its first chunk is not a RIFF. The message says what it looks like.
  - A header or data is cut short.
  - A size was never written: programs put 0 or a value near 2^31 or 2^32 into a stream's headers.
  - A chunk ends past the end of its group, or a group past the end of the file.
  - Bytes belong to no chunk, in a group or after the last one. ID3v1, ID3v2 and APE tags are named.
  - A pad byte is missing.
  - WAVE: fmt or data is missing, data stands before fmt, fmt has no channels or no rate.
  - AVI: LIST:hdrl or LIST:movi is missing.
  - WebP: the picture or its start is missing, or an animation has no frames.

These findings are warnings, since other programs read such files without trouble:

  - A pad byte is not 0, or an id is not printable.
  - WAVE: the samples are not PCM and fact is missing. The data ends within a block of samples.
  - AVI: an entry of an index (idx1, indx, ix##) points at no chunk of its id. The index is missing.
  - WebP: a flag of VP8X does not agree with the chunks.

The data of chunks is not decoded: a file with damaged audio or pictures may still be "sound" here.
Several RIFF groups, and other chunks at the top level, are allowed.

--jobs N   check N files at the same time; see "velmor-core --help"

Exit status: 0 all files are sound (perhaps with warnings), 1 one is damaged, 3 one cannot be read.
"velmor-core repair --help" says what can be repaired.
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = OPTIONS,
    .run = runCheck,
};

const Command VERIFY = {
    .name = "verify",
    .synopsis = "[--jobs N] FILE...",
    .summary = "Report the first damage in files: the short form of check",
    .help = R"(
Checks each file as "velmor-core check" does, but reports only its first finding that is no warning.
"--jobs N" checks N files at the same time; see "velmor-core --help".
Exit status: 0 if all files are sound, 1 otherwise.
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = OPTIONS,
    .run = runVerify,
};

}  // namespace tool
