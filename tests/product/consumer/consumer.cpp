// Uses the C++ headers without exceptions.
#include <cstdio>
#include <velmor_core/velmor_core.hpp>

using namespace velmor_core;

int main() {
  const Library library;
  const Object cache = Object::openCache(64, std::nothrow);
  if (!cache.root().addData("data"_id, "abc", std::nothrow)) return 1;
  if (cache.first().data<std::string>(std::nothrow) != "abc") return 1;
  if (toNumber<double>("4k7", std::nothrow) != 4700 || !Uuid::random(std::nothrow)) return 1;
  if (sha256("abc") != sha256(std::string("abc"))) return 1;
  std::printf("%s %u, version %#llx\n", cache.first().id().text().c_str(),
              cache.root().find("data").dataSize(),
              static_cast<unsigned long long>(velmor_core_get_version()->version));
  return 0;
}
