// The C++ headers without exceptions: built with -fno-exceptions, and run.
#include <velmor_core/velmor_core.hpp>

using namespace velmor_core;

int main() {
  const Library library;
  const Object cache = Object::openCache(64, std::nothrow);
  if (!cache.root().addData("data"_id, "abc", std::nothrow)) return 1;
  if (cache.first().data<std::string>(std::nothrow) != "abc") return 1;
  if (toNumber<double>("4k7", std::nothrow) != 4700 || !Uuid::random(std::nothrow)) return 1;
  return sha256("abc") == sha256(std::string("abc")) ? 0 : 1;
}
