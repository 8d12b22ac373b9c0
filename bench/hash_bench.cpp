// Compares SHA-256 of a buffer with nettle and with each interface of OpenSSL 3.

#include <benchmark/benchmark.h>
#include <velmor_core/hash.h>

#include <cstddef>
#include <vector>

#include "compare.h"

#ifdef HAVE_OPENSSL
#define OPENSSL_SUPPRESS_DEPRECATED  // the low-level interface is deprecated, but the fastest
#include <openssl/evp.h>
#include <openssl/sha.h>
#endif
#ifdef HAVE_NETTLE
#include <nettle/sha2.h>
#endif

namespace {

void velmorCore(const uint8_t* data, size_t size, uint8_t* digest) {
  velmor_core_hash_sha256(data, size, digest);
}

#ifdef HAVE_OPENSSL
void opensslLowLevel(const uint8_t* data, size_t size, uint8_t* digest) {
  SHA256_CTX context;
  SHA256_Init(&context);
  SHA256_Update(&context, data, size);
  SHA256_Final(digest, &context);
}

void opensslSha256(const uint8_t* data, size_t size, uint8_t* digest) {
  SHA256(data, size, digest);
}

void opensslEvpOneShot(const uint8_t* data, size_t size, uint8_t* digest) {
  EVP_Digest(data, size, digest, nullptr, EVP_sha256(), nullptr);
}

// Looks the algorithm up and allocates the context only once.
void opensslEvpPrefetched(const uint8_t* data, size_t size, uint8_t* digest) {
  static EVP_MD* const sha256 = EVP_MD_fetch(nullptr, "SHA256", nullptr);
  static EVP_MD_CTX* const context = EVP_MD_CTX_new();
  EVP_DigestInit_ex2(context, sha256, nullptr);
  EVP_DigestUpdate(context, data, size);
  EVP_DigestFinal_ex(context, digest, nullptr);
}
#endif

#ifdef HAVE_NETTLE
void nettle(const uint8_t* data, size_t size, uint8_t* digest) {
  sha256_ctx context;
  sha256_init(&context);
  sha256_update(&context, size, data);
  sha256_digest(&context, SHA256_DIGEST_SIZE, digest);
}
#endif

template <void (*PEER)(const uint8_t*, size_t, uint8_t*)>
void sideBySide(benchmark::State& state) {
  const auto size = static_cast<size_t>(state.range(0));
  const std::vector<uint8_t> data(size, 0x5A);
  uint8_t digest[VELMOR_CORE_HASH_SHA256_SIZE];
  const size_t calls = 1 + 20'000 / (size + 64);
  const auto repeat = [&](auto hash) {
    return [&, hash] {
      for (size_t i = 0; i < calls; ++i) {
        hash(data.data(), size, digest);
        benchmark::DoNotOptimize(digest);
      }
    };
  };
  bench::compare(state, static_cast<double>(calls), repeat(velmorCore), repeat(PEER));
}

void sizes(benchmark::internal::Benchmark* family) {
  family->UseManualTime();
  for (const int64_t size : {0, 55, 63, 64, 100, 1024, 64 * 1024, 512 * 1024 * 1024}) {
    family->Arg(size);
  }
}

#ifdef HAVE_OPENSSL
BENCHMARK(sideBySide<opensslLowLevel>)->Apply(sizes);
BENCHMARK(sideBySide<opensslSha256>)->Apply(sizes);
BENCHMARK(sideBySide<opensslEvpOneShot>)->Apply(sizes);
BENCHMARK(sideBySide<opensslEvpPrefetched>)->Apply(sizes);
#endif
#ifdef HAVE_NETTLE
BENCHMARK(sideBySide<nettle>)->Apply(sizes);
#endif

}  // namespace
