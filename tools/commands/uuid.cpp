// velmor-core uuid

#include <iostream>
#include <velmor_core/uuid.hpp>

#include "app/command.h"
#include "app/errors.h"

namespace tool {

namespace {

using velmor_core::Uuid;

Uuid parse(const std::string& text) {
  const auto uuid = Uuid::parse(text, std::nothrow);
  if (!uuid) throw Failure("\"" + text + "\" is no UUID");
  return *uuid;
}

Uuid generate() {
  const auto uuid = Uuid::random(std::nothrow);
  if (!uuid) throw Failure("the system gives no random bytes");
  return *uuid;
}

std::string_view relation(const Uuid& a, const Uuid& b) {
  if (a == b) return "equal";
  return a < b ? "less" : "greater";
}

int runUuid(const Arguments& arguments) {
  const std::string action = arguments.count() == 0 ? "new" : arguments[0];
  if (action == "new" && arguments.count() <= 1) {
    std::cout << generate().text() << '\n';
  } else if (action == "parse" && arguments.count() == 2) {
    std::cout << parse(arguments[1]).text() << '\n';
  } else if (action == "compare" && arguments.count() == 3) {
    std::cout << relation(parse(arguments[1]), parse(arguments[2])) << '\n';
  } else {
    throw UsageError("uuid takes new, parse TEXT or compare A B");
  }
  return 0;
}

}  // namespace

const Command UUID = {
    .name = "uuid",
    .synopsis = "[new | parse TEXT | compare A B]",
    .summary = "Make, read and compare UUIDs",
    .help = R"(
new           print a random UUID; this is the default
parse TEXT    print the UUID in its usual form; TEXT has 32 hexadecimal digits, with or without
              hyphens, with or without braces
compare A B   print "less", "equal" or "greater": how A compares with B
)",
    .examples = R"(
  velmor-core uuid
  velmor-core uuid parse "{00112233-4455-6677-8899-AABBCCDDEEFF}"
)",
    .minOperands = 0,
    .maxOperands = 3,
    .options = {},
    .run = runUuid,
};

}  // namespace tool
