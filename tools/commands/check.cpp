// velmor-core check and verify

#include <array>
#include <iostream>

#include "app/command.h"
#include "app/errors.h"
#include "app/jobs.h"
#include "app/json.h"
#include "app/text.h"
#include "chunks/input.h"
#include "verdict/survey.h"

namespace tool {

namespace {

constexpr Option QUIET{"--quiet", false, "-q"};
constexpr std::array OPTIONS = {QUIET, JSON, JOBS};
constexpr std::array VERIFY_OPTIONS = {JOBS};

enum Status { CLEAN = 0, DAMAGED = 1, UNREADABLE = 3 };

void printSound(const std::string& file, const Survey& survey) {
  std::cout << printable(file) << ": sound, " << counted(survey.chunks, "chunk");
  if (survey.warnings > 0) std::cout << ", " << counted(survey.warnings, "warning");
  std::cout << '\n';
}

Status statusOf(const Survey& survey) { return survey.damages > 0 ? DAMAGED : CLEAN; }

Status reportAll(const std::string& operand) {
  const std::string file = inputName(operand);
  uint64_t shown = 0;
  const Survey survey = surveyFile(operand, [&](const Finding& finding) {
    ++shown;
    complain(file, finding);
  });
  complainOfMore(file, survey.damages + survey.warnings - shown);
  if (survey.damages == 0) printSound(file, survey);
  return statusOf(survey);
}

Status reportFirst(const std::string& operand) {
  const std::string file = inputName(operand);
  std::optional<Finding> first;
  const Survey survey = surveyFile(operand, [&](const Finding& finding) {
    if (!first && !finding.isWarning()) first = finding;
  });
  if (first) {
    complain(file + ": " + findingText(*first));
  } else {
    std::cout << printable(file) << ": sound, " << counted(survey.chunks, "chunk") << '\n';
  }
  return statusOf(survey);
}

std::string findingJson(const Finding& finding) {
  std::string json = "{\"offset\":";
  json.append(std::to_string(finding.offset)).append(",\"severity\":");
  if (finding.isWarning()) {
    json += "\"warning\"";
  } else {
    json.append("\"damage\",\"repairable\":").append(finding.isDoubtful() ? "false" : "true");
  }
  return json.append(",\"text\":").append(quoted(finding.what)).append("}");
}

Status printFindings(const std::string& file) {
  std::string findings;
  const Survey survey = surveyFile(file, [&](const Finding& finding) {
    findings.append(findings.empty() ? "" : ",").append(findingJson(finding));
  });
  std::cout << jsonStart("check", file) << ",\"size\":" << survey.fileSize
            << ",\"chunks\":" << survey.chunks << ",\"damages\":" << survey.damages
            << ",\"warnings\":" << survey.warnings << ",\"findings\":[" << findings << "]}\n";
  return statusOf(survey);
}

int runCheck(const Arguments& arguments) {
  const bool quiet = arguments.has(QUIET.name);
  const bool json = arguments.has(JSON.name);
  if (quiet && json) throw UsageError("--quiet and --json exclude each other");
  return forEachFile(arguments, json ? printFindings : quiet ? reportFirst : reportAll, UNREADABLE);
}

int runVerify(const Arguments& arguments) { return forEachFile(arguments, reportFirst, DAMAGED); }

}  // namespace

const Command CHECK = {
    .name = "check",
    .synopsis = "[--quiet | --json] [--jobs N] FILE...",
    .summary = "Report everything that is wrong with files, and where",
    .help = R"(
Reads the headers of each file and reports what is wrong. It also reads files that the editing
commands refuse to open. These findings are damage:

  - The file is no RIFF file: its first chunk is not a RIFF. The message says what it looks like.
  - A header or data is cut short.
  - A size was never filled in. Until programs know a size, they write 0, or about 2^31 or 2^32.
  - A chunk ends past the end of its group, or a group past the end of the file.
  - Bytes belong to no chunk: inside a group, or after the last chunk of the file. If those after
    the last chunk are ID3v1, ID3v2 or APE tags, the message says so.
  - A pad byte is missing.
  - WAVE: fmt or data is missing, data stands before fmt, fmt has no channels or no rate.
    bext ends before its time reference.
  - AVI: LIST:hdrl or LIST:movi is missing.
  - WebP: the picture or its start is missing, or an animation has no frames.

These findings are warnings, since other programs read such files without trouble:

  - A pad byte is not 0, or an id is not printable.
  - WAVE: the samples are not PCM and fact is missing. The data ends within a block of samples.
    bext is shorter than its fixed fields.
  - AVI: an entry of an index (idx1, indx, ix##) points at no chunk of its id. The index is missing.
  - WebP: a flag of VP8X does not agree with the chunks.

The data of chunks is not decoded: a file with damaged audio or pictures may still be "sound" here.
Several RIFF groups, and other chunks at the top level, are allowed.

RF64, BW64 and RIFX files are checked too; 64-bit sizes come from the chunk ds64.

FILE "-" is standard input. A pipe is read once, and only headers, small data and indexes are kept
in memory, at most 64 MiB of data. An index beyond that is not checked. If a chunk of a pipe has a
wrong size, the headers after it may not have been kept. Index entries that point at them are then
reported, even correct ones.

-q, --quiet   print one line for each file: its first damage, or that it is sound; no warnings
--jobs N      check N files at the same time; see "velmor-core --help"
--json        print one JSON object for each file that can be read, each on a line of its own:
                {"version":1,"command":"check","file":"a.wav","size":8124,"chunks":7,"damages":1,
                 "warnings":1,"findings":[{"offset":36,"severity":"damage","repairable":true,
                 "text":"..."},{"offset":51,"severity":"warning","text":"..."}]}
              All findings are counted; of very many, only the first are in the list.

Exit status: 0 all files are sound (perhaps with warnings), 1 one is damaged, 3 one cannot be read.
"velmor-core repair --help" says what can be repaired.
)",
    .examples = R"(
  velmor-core check song.wav
  velmor-core check --quiet --jobs 0 *.wav *.avi
  velmor-core check --json song.wav >findings.json
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = OPTIONS,
    .run = runCheck,
};

const Command VERIFY = {
    .name = "verify",
    .synopsis = "[--jobs N] FILE...",
    .summary = "Report the first damage in files: the same as check --quiet",
    .help = R"(
Prints the same as "velmor-core check --quiet": one line for each file.
"--jobs N" checks N files at the same time; see "velmor-core --help".
Exit status: 0 if all files are sound, 1 otherwise, also if a file cannot be read.
)",
    .examples = R"(
  velmor-core verify *.wav
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = VERIFY_OPTIONS,
    .run = runVerify,
};

}  // namespace tool
