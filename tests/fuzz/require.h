// Ends the process where a promise is broken, so that the fuzzer keeps the input that broke it.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace kestra::fuzz {

inline void require(bool promise, const std::string& what) {
  if (promise) return;
  std::fprintf(stderr, "broken promise: %s\n", what.c_str());
  std::abort();
}

}  // namespace kestra::fuzz
