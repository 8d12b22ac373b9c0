// velmor-core verify

#include <iostream>

#include "command.h"
#include "errors.h"
#include "verifier.h"

namespace tool {

namespace {

void verifyFile(const std::string& file) {
  const Survey survey = surveyFile(file);
  if (survey.finding) throw Failure(file, findingText(*survey.finding));
  std::cout << file << ": sound, " << survey.chunks << (survey.chunks == 1 ? " chunk" : " chunks")
            << '\n';
}

int runVerify(const Arguments& arguments) { return forEach(arguments.all(), verifyFile); }

}  // namespace

const Command VERIFY = {
    .name = "verify",
    .synopsis = "FILE...",
    .summary = "Check that sizes, padding and nesting agree",
    .help = R"(
Follows the headers of each file, also of one that no other command opens, and says where the first
thing is that does not fit: a header or data cut short, a pad byte missing at the end, a chunk that
ends behind its group, a group whose chunks do not end where it does. Nothing behind that place is
looked at, since it cannot be told where the next chunk begins. The data of chunks is not read.
)",
    .minOperands = 1,
    .maxOperands = ANY_NUMBER,
    .options = {},
    .run = runVerify,
};

}  // namespace tool
