// velmor-core uuid

#include <velmor_core/uuid.h>

#include <array>
#include <iostream>

#include "command.h"
#include "errors.h"

namespace tool {

namespace {

void print(const velmor_core_uuid_t& uuid) {
  std::array<char, VELMOR_CORE_UUID_TEXT_SIZE> text{};
  velmor_core_uuid_unparse(&uuid, text.data());
  std::cout << text.data() << '\n';
}

velmor_core_uuid_t parse(const std::string& text) {
  velmor_core_uuid_t uuid;
  if (!velmor_core_uuid_parse2(text.data(), text.size(), &uuid)) {
    throw Failure("\"" + text + "\" is no UUID");
  }
  return uuid;
}

void generate() {
  velmor_core_uuid_t uuid;
  velmor_core_uuid_clear(&uuid);
  velmor_core_uuid_generate_random(&uuid);
  // A failing random source leaves the record as it was.
  if (velmor_core_uuid_is_null(&uuid)) throw Failure("the system gives no random bytes");
  print(uuid);
}

std::string_view relation(const velmor_core_uuid_t& a, const velmor_core_uuid_t& b) {
  if (velmor_core_uuid_compare_eq(&a, &b)) return "equal";
  return velmor_core_uuid_compare_lt(&a, &b) ? "less" : "greater";
}

int runUuid(const Arguments& arguments) {
  const std::string action = arguments.count() == 0 ? "new" : arguments[0];
  if (action == "new" && arguments.count() <= 1) {
    generate();
  } else if (action == "parse" && arguments.count() == 2) {
    print(parse(arguments[1]));
  } else if (action == "compare" && arguments.count() == 3) {
    std::cout << relation(parse(arguments[1]), parse(arguments[2])) << '\n';
  } else {
    throw UsageError("uuid wants new, parse TEXT or compare A B");
  }
  return 0;
}

}  // namespace

const Command UUID = {
    .name = "uuid",
    .synopsis = "[new | parse TEXT | compare A B]",
    .summary = "Make, read and compare UUIDs",
    .help = R"(
new           print a random UUID (also without any argument)
parse TEXT    print the UUID that a text stands for in the usual form: TEXT has 32 hexadecimal
              digits, with hyphens or without, in braces or not
compare A B   print "less", "equal" or "greater", as A stands to B
)",
    .minOperands = 0,
    .maxOperands = 3,
    .options = {},
    .run = runUuid,
};

}  // namespace tool
