// One number over everything that a job leaves behind.
// Why: a list of such numbers shows on every machine and compiler that not one dot has changed.
#pragma once

#include <cstdint>
#include <string>

#include "tests/plain/job.h"
#include "tests/support/sandbox.h"

namespace kestra::digests {

/// 64-bit FNV-1a (Fowler, Noll, Vo) of bytes that follow those of which `before` is the value.
inline constexpr std::uint64_t kFnvStart = 0xCBF29CE484222325ULL;
std::uint64_t fnv1a(const std::string& bytes, std::uint64_t before = kFnvStart);

/// The value of many pieces, each preceded by its length in eight bytes, the low one first.
class Digest {
 public:
  void add(const std::string& piece);
  std::string text() const;  ///< 16 hexadecimal digits

 private:
  std::uint64_t value_ = kFnvStart;
};

/// Exit status, standard output, frames by name, counter file, debug images in order (the time in
/// their names left out), side file. Both give the same number for the same job.
std::string digestOf(const plain::Outcome& outcome);
std::string digestOf(const testing_support::Result& result);

}  // namespace kestra::digests
