// Compares UUIDs with libuuid, with Boost.UUID called directly, and with the random source alone.

#include <benchmark/benchmark.h>
#include <sys/random.h>
#include <velmor_core/uuid.h>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cstring>
#include <stdexcept>

#ifdef HAVE_LIBUUID
#include <uuid/uuid.h>
#endif

namespace {

constexpr char TEXT[] = "00112233-4455-6677-8899-aabbccddeeff";
constexpr char BAD_TEXT[] = "00112233-4455-6677-8899-aabbccddeefg";

void generateGetrandomAlone(benchmark::State& state) {
  uint8_t bytes[16];
  for (auto _ : state) {
    benchmark::DoNotOptimize(getrandom(bytes, sizeof bytes, 0));
    benchmark::ClobberMemory();
  }
}

void generateVelmorCore(benchmark::State& state) {
  velmor_core_uuid_t uuid;
  for (auto _ : state) {
    velmor_core_uuid_generate_random(&uuid);
    benchmark::ClobberMemory();
  }
}

void generateBoost(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(boost::uuids::random_generator_pure()());
}

void parseVelmorCore(benchmark::State& state, const char* text) {
  velmor_core_uuid_t uuid;
  for (auto _ : state) {
    benchmark::DoNotOptimize(velmor_core_uuid_parse(text, &uuid));
    benchmark::ClobberMemory();
  }
}

void parseBoost(benchmark::State& state, const char* text) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    try {
      benchmark::DoNotOptimize(boost::uuids::string_generator()(text));
    } catch (const std::runtime_error&) {
      benchmark::ClobberMemory();
    }
  }
}

void formatVelmorCore(benchmark::State& state) {
  velmor_core_uuid_t uuid;
  velmor_core_uuid_generate_random(&uuid);
  char text[VELMOR_CORE_UUID_TEXT_SIZE];
  for (auto _ : state) {
    velmor_core_uuid_unparse(&uuid, text);
    benchmark::ClobberMemory();
  }
}

void formatBoost(benchmark::State& state) {
  boost::uuids::uuid uuid = boost::uuids::random_generator_pure()();
  for (auto _ : state) {
    benchmark::DoNotOptimize(uuid);
    benchmark::DoNotOptimize(boost::uuids::to_string(uuid));
  }
}

void compareVelmorCore(benchmark::State& state) {
  velmor_core_uuid_t a = {};
  velmor_core_uuid_t b = {};
  b.bytes[15] = 1;
  for (auto _ : state) benchmark::DoNotOptimize(velmor_core_uuid_compare_lt(&a, &b));
}

BENCHMARK(generateGetrandomAlone);
BENCHMARK(generateVelmorCore);
BENCHMARK(generateBoost);
BENCHMARK_CAPTURE(parseVelmorCore, good, TEXT);
BENCHMARK_CAPTURE(parseBoost, good, TEXT);
BENCHMARK_CAPTURE(parseVelmorCore, bad, BAD_TEXT);
BENCHMARK_CAPTURE(parseBoost, bad, BAD_TEXT);
BENCHMARK(formatVelmorCore);
BENCHMARK(formatBoost);
BENCHMARK(compareVelmorCore);

#ifdef HAVE_LIBUUID
void generateLibuuid(benchmark::State& state) {
  uuid_t uuid;
  for (auto _ : state) {
    uuid_generate_random(uuid);
    benchmark::ClobberMemory();
  }
}

void parseLibuuid(benchmark::State& state, const char* text) {
  uuid_t uuid;
  for (auto _ : state) {
    benchmark::DoNotOptimize(uuid_parse(text, uuid));
    benchmark::ClobberMemory();
  }
}

void formatLibuuid(benchmark::State& state) {
  uuid_t uuid;
  uuid_generate_random(uuid);
  char text[UUID_STR_LEN];
  for (auto _ : state) {
    uuid_unparse_lower(uuid, text);
    benchmark::ClobberMemory();
  }
}

void compareLibuuid(benchmark::State& state) {
  uuid_t a = {};
  uuid_t b = {};
  b[15] = 1;
  for (auto _ : state) benchmark::DoNotOptimize(uuid_compare(a, b) < 0);
}

BENCHMARK(generateLibuuid);
BENCHMARK_CAPTURE(parseLibuuid, good, TEXT);
BENCHMARK_CAPTURE(parseLibuuid, bad, BAD_TEXT);
BENCHMARK(formatLibuuid);
BENCHMARK(compareLibuuid);
#endif

}  // namespace
