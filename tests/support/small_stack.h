// Runs what must not recurse with its input.

#ifndef TESTS_SUPPORT_SMALL_STACK_H
#define TESTS_SUPPORT_SMALL_STACK_H

#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>

// Runs body on a thread with a small stack, as a caller might.
inline void onSmallStack(std::function<void()> body) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  constexpr size_t STACK = 512 << 10;
#else
  constexpr size_t STACK = 64 << 10;
#endif
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, STACK), 0);
  pthread_t thread = {};
  const auto start = [](void* run) -> void* {
    (*static_cast<std::function<void()>*>(run))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, start, &body), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

#endif
