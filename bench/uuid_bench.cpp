// Compares UUIDs with libuuid, with Boost.UUID called directly, and with the least that a call has
// to do: ask for random bytes, read the text, write the text.

#include <benchmark/benchmark.h>
#include <sys/random.h>
#include <velmor_core/uuid.h>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cstring>
#include <stdexcept>

#include "compare.h"

#ifdef HAVE_LIBUUID
#include <uuid/uuid.h>
#endif

namespace {

char text[] = "00112233-4455-6677-8899-aabbccddeeff";
char badText[] = "00112233-4455-6677-8899-aabbccddeefg";
char formatted[VELMOR_CORE_UUID_TEXT_SIZE];
velmor_core_uuid_t uuid = {{0x5A, 0xA5}};
velmor_core_uuid_t other = {};

void generate() { velmor_core_uuid_generate_random(&uuid); }
void parse() { velmor_core_uuid_parse(text, &uuid); }
void parseBad() { velmor_core_uuid_parse(badText, &uuid); }
void format() { velmor_core_uuid_unparse(&uuid, formatted); }
void compareLess() { benchmark::DoNotOptimize(velmor_core_uuid_compare_lt(&uuid, &other)); }

void getrandomAlone() { benchmark::DoNotOptimize(getrandom(&uuid, sizeof uuid, 0)); }
void strlenAndCopy() {
  benchmark::DoNotOptimize(std::strlen(text));
  std::memcpy(&uuid, text, sizeof uuid);
}
void copyText() { std::memcpy(formatted, text, sizeof text); }

void parseByBoost(const char* input) {
  try {
    const boost::uuids::uuid parsed = boost::uuids::string_generator()(input);
    std::memcpy(&uuid, &parsed, sizeof uuid);
  } catch (const std::runtime_error&) {
    benchmark::ClobberMemory();
  }
}
void generateByBoost() { benchmark::DoNotOptimize(boost::uuids::random_generator_pure()()); }
void boostParse() { parseByBoost(text); }
void boostParseBad() { parseByBoost(badText); }
void boostFormat() {
  boost::uuids::uuid bytes;
  std::memcpy(&bytes, &uuid, sizeof bytes);
  benchmark::DoNotOptimize(boost::uuids::to_string(bytes));
}

template <typename Work, typename Peer>
void sideBySide(benchmark::State& state, Work work, Peer peer) {
  constexpr int CALLS = 1000;
  const auto repeat = [](auto call) {
    return [call] {
      for (int i = 0; i < CALLS; ++i) {
        call();
        benchmark::ClobberMemory();
      }
    };
  };
  bench::compare(state, CALLS, repeat(work), repeat(peer));
}

BENCHMARK_CAPTURE(sideBySide, generate_vs_getrandom, generate, getrandomAlone)->UseManualTime();
BENCHMARK_CAPTURE(sideBySide, generate_vs_boost, generate, generateByBoost)->UseManualTime();
BENCHMARK_CAPTURE(sideBySide, parse_vs_strlen_and_copy, parse, strlenAndCopy)->UseManualTime();
BENCHMARK_CAPTURE(sideBySide, parse_vs_boost, parse, boostParse)->UseManualTime();
BENCHMARK_CAPTURE(sideBySide, parse_bad_vs_boost, parseBad, boostParseBad)->UseManualTime();
BENCHMARK_CAPTURE(sideBySide, format_vs_copy, format, copyText)->UseManualTime();
BENCHMARK_CAPTURE(sideBySide, format_vs_boost, format, boostFormat)->UseManualTime();

#ifdef HAVE_LIBUUID
void libuuidGenerate() { uuid_generate_random(uuid.bytes); }
void libuuidParse() { benchmark::DoNotOptimize(uuid_parse(text, uuid.bytes)); }
void libuuidParseBad() { benchmark::DoNotOptimize(uuid_parse(badText, uuid.bytes)); }
void libuuidFormat() { uuid_unparse_lower(uuid.bytes, formatted); }
void libuuidCompare() { benchmark::DoNotOptimize(uuid_compare(uuid.bytes, other.bytes) < 0); }

BENCHMARK_CAPTURE(sideBySide, generate_vs_libuuid, generate, libuuidGenerate)->UseManualTime();
BENCHMARK_CAPTURE(sideBySide, parse_vs_libuuid, parse, libuuidParse)->UseManualTime();
BENCHMARK_CAPTURE(sideBySide, parse_bad_vs_libuuid, parseBad, libuuidParseBad)->UseManualTime();
BENCHMARK_CAPTURE(sideBySide, format_vs_libuuid, format, libuuidFormat)->UseManualTime();
BENCHMARK_CAPTURE(sideBySide, compare_vs_libuuid, compareLess, libuuidCompare)->UseManualTime();
#endif

}  // namespace
