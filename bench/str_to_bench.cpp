// Compares the time of one conversion with strtod, strtoull, muParser, fparser and the evaluator of
// libavutil, which also knows the prefixes. Counts the allocations of our conversion.

#include <benchmark/benchmark.h>
#include <muParser.h>
#include <velmor_core/velmor_core.h>

#include <fparser.hh>

extern "C" {
#include <libavutil/eval.h>
}

#include <cstdlib>
#include <exception>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "compare.h"

namespace {

size_t allocationCount = 0;

using Convert = std::function<double(const std::string&)>;

double toDouble(const std::string& text) {
  double value = 0.0;
  if (!velmor_core_str_to_f64(text.c_str(), &value)) throw std::runtime_error("rejected");
  return value;
}

double toUint64(const std::string& text) {
  uint64_t value = 0;
  if (!velmor_core_str_to_u64(text.c_str(), &value)) throw std::runtime_error("rejected");
  return static_cast<double>(value);
}

double byStrtod(const std::string& text) { return std::strtod(text.c_str(), nullptr); }

double byStrtoull(const std::string& text) {
  return static_cast<double>(std::strtoull(text.c_str(), nullptr, 10));
}

double byLibavutil(const std::string& text) {
  double value = 0.0;
  if (av_expr_parse_and_eval(&value, text.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr,
                             nullptr, nullptr, 0, nullptr) < 0) {
    throw std::runtime_error("rejected");
  }
  return value;
}

double byMuParser(const std::string& text) {
  static mu::Parser parser;
  try {
    parser.SetExpr(text);
    return parser.Eval();
  } catch (const mu::ParserError&) {
    throw std::runtime_error("rejected");
  }
}

double byFparser(const std::string& text) {
  static FunctionParser parser;
  if (parser.Parse(text, "") >= 0) throw std::runtime_error("rejected");
  return parser.Eval(nullptr);
}

void sideBySide(benchmark::State& state, const std::string& text, const Convert& ours,
                const Convert& peer) {
  try {
    peer(text);
  } catch (const std::exception&) {
    state.SkipWithError("the peer rejects this text");
    return;
  }
  const size_t before = allocationCount;
  benchmark::DoNotOptimize(ours(text));
  state.counters["allocations"] = static_cast<double>(allocationCount - before);
  const size_t calls = 1 + 10'000 / text.size();
  const auto repeat = [&](const Convert& convert) {
    return [&] {
      for (size_t i = 0; i < calls; ++i) benchmark::DoNotOptimize(convert(text));
    };
  };
  bench::compare(state, static_cast<double>(calls), repeat(ours), repeat(peer));
}

std::string sum(int terms) {
  std::string text = "1";
  for (int i = 1; i < terms; ++i) text += '+' + std::to_string(i % 10);
  return text;
}

// An expression that all evaluators here accept.
const std::string EXPRESSION =
    "(12.5+3)*4-7/(2+1.25)^2+100*(3-(4+5)*2)/8+(1+2)*(3+4)-(5-6)*7.75+2^3^2-128/16*3+(9.5-1.5)*"
    "(2.25+3.75)-(1000+24)/(4*8)+17*(19-13)/3-0.125*(64+32)+6*(7-(8-9)*(10+11))/12+3.5^2-(45+55)/"
    "20+1.5*6+1-0.5*(3)";

const bool REGISTERED = [] {
  const Convert f64 = toDouble;
  const std::vector<std::pair<std::string, Convert>> evaluators = {
      {"libavutil", byLibavutil}, {"muParser", byMuParser}, {"fparser", byFparser}};
  const auto add = [](const std::string& name, const std::string& text, const Convert& ours,
                      const std::string& peerName, const Convert& peer) {
    benchmark::RegisterBenchmark((name + "/" + peerName).c_str(), sideBySide, text, ours, peer)
        ->UseManualTime();
  };
  for (const std::string text : {"12", "18446744073709551615", "1.5k", "4Ki", "4k7", "-1.5e-3"}) {
    add(text, text, f64, "strtod", byStrtod);
    add(text, text, f64, "libavutil", byLibavutil);
  }
  add("12", "12", toUint64, "strtoull", byStrtoull);
  add("18446744073709551615", "18446744073709551615", toUint64, "strtoull", byStrtoull);
  for (const auto& [name, evaluate] : evaluators) {
    add("(1+2)*3", "(1+2)*3", f64, name, evaluate);
    add("2^3^2", "2^3^2", f64, name, evaluate);
    add("200 characters", EXPRESSION, f64, name, evaluate);
    add("1000 terms", sum(1'000), f64, name, evaluate);
    add("100000 terms", sum(100'000), f64, name, evaluate);
  }
  return true;
}();

}  // namespace

void* operator new(size_t size) {
  ++allocationCount;
  if (void* block = std::malloc(size)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t /*size*/) noexcept { std::free(block); }
