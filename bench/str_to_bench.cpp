// Compares the time of one conversion with that of strtod, strtoull, from_chars, muParser, fparser
// and the evaluator of libavutil. from_chars accepts no blanks and no expressions. The evaluator
// also accepts the prefixes. Counts the allocations of our conversion.

#include <benchmark/benchmark.h>
#include <muParser.h>
#include <velmor_core/velmor_core.h>

#include <fparser.hh>

extern "C" {
#include <libavutil/eval.h>
}

#include <charconv>
#include <cstdlib>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>

#include "compare.h"

namespace {

size_t allocationCount = 0;

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

template <typename Value>
double byFromChars(const std::string& text) {
  Value value = 0;
  const char* const end = text.data() + text.size();
  if (std::from_chars(text.data(), end, value).ptr != end) throw std::runtime_error("rejected");
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

template <double (*OURS)(const std::string&), double (*PEER)(const std::string&)>
void sideBySide(benchmark::State& state, const std::string& text) {
  try {
    PEER(text);
  } catch (const std::exception&) {
    state.SkipWithError("the peer rejects this text");
    return;
  }
  const size_t before = allocationCount;
  benchmark::DoNotOptimize(OURS(text));
  state.counters["allocations"] = static_cast<double>(allocationCount - before);
  const size_t calls = 1 + 10'000 / text.size();
  const auto repeat = [&](auto convert) {
    return [&, convert] {
      for (size_t i = 0; i < calls; ++i) benchmark::DoNotOptimize(convert(text));
    };
  };
  bench::compare(state, static_cast<double>(calls), repeat(OURS), repeat(PEER));
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

template <double (*OURS)(const std::string&), double (*PEER)(const std::string&)>
void add(const std::string& name, const std::string& text, const std::string& peerName) {
  benchmark::RegisterBenchmark((name + "/" + peerName).c_str(), sideBySide<OURS, PEER>, text)
      ->UseManualTime();
}

const bool REGISTERED = [] {
  for (const std::string text :
       {"12", "18446744073709551615", "1.5k", "4Ki", "4k7", "-1.5e-3", "3.141592653589793"}) {
    add<toDouble, byStrtod>(text, text, "strtod");
    add<toDouble, byLibavutil>(text, text, "libavutil");
  }
  for (const std::string text : {"12", "18446744073709551615", "-1.5e-3", "3.141592653589793"}) {
    add<toDouble, byFromChars<double>>(text, text, "from_chars");
  }
  for (const std::string text : {"12", "18446744073709551615"}) {
    add<toUint64, byFromChars<uint64_t>>(text, text, "from_chars, integer");
    add<toUint64, byStrtoull>(text, text, "strtoull");
  }
  const std::string texts[][2] = {{"(1+2)*3", "(1+2)*3"},
                                  {"2^3^2", "2^3^2"},
                                  {"200 characters", EXPRESSION},
                                  {"1000 terms", sum(1'000)},
                                  {"100000 terms", sum(100'000)}};
  for (const auto& [name, text] : texts) {
    add<toDouble, byLibavutil>(name, text, "libavutil");
    add<toDouble, byMuParser>(name, text, "muParser");
    add<toDouble, byFparser>(name, text, "fparser");
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
