// Converts any text. The result has to be that of the tests' model: a value, or a rejection.

#include <velmor_core/str_to.h>

#include "strtonum/expression_model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::optional<double> expected = ExpressionModel::evaluate(text);
  double value = 42;
  const bool accepted = velmor_core_str_to_f64(text.c_str(), &value);
  const double wanted = expected.value_or(42);
  const bool same = value == wanted || (std::isnan(value) && std::isnan(wanted));
  if (accepted != expected.has_value() || !same) std::abort();
  return 0;
}
